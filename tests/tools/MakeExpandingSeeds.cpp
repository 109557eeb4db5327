// make_expanding_seeds <folder>: writes the three expanding shapes (a plain
// array, an Info.plist, an exclude command) as fuzzing seeds, each small
// (5,000 references to 16 KiB) but describing 80 MiB, above the readers'
// byte budget. fuzz/corpus/PropertyList and fuzz/corpus/CommandFile hold
// their output.
#include <cstdio>
#include <fstream>
#include <string>

#include "support/ExpandingPropertyLists.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_expanding_seeds <folder>\n");
        return 2;
    }
    namespace expanding = testsupport::expanding;
    const expanding::Size size{5000, 16 * 1024};
    const struct {
        const char* name;
        std::vector<std::uint8_t> bytes;
    } seeds[] = {
        {"expanding-array.bin", expanding::plainArray(size)},
        {"expanding-info.bin", expanding::infoPlist(size)},
        {"expanding-command.archive", expanding::commandArchive(size)},
    };
    for (const auto& seed : seeds) {
        std::ofstream out(std::string(argv[1]) + "/" + seed.name, std::ios::binary);
        out.write(reinterpret_cast<const char*>(seed.bytes.data()),
                  static_cast<std::streamsize>(seed.bytes.size()));
        if (!out) return 1;
    }
    return 0;
}
