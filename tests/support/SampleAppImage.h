#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

// Sample AppImages made at run time with no network: a minimal ELF program
// written byte by byte (header, one section with contents, one that takes no
// room in the file, the section table) followed by a squashfs image made by
// `mksquashfs` from a folder.
namespace testsupport {

struct ElfShape {
    bool is64 = true;
    bool bigEndian = false;
    // The section's contents after the section table instead of before it.
    bool sectionLast = false;
    // Byte 10: the AppImage type.
    char type = 2;
};

// Where the fields a test corrupts lie.
struct ElfLayout {
    std::size_t tableOffsetField;  // e_shoff
    std::size_t offsetWidth;
    std::size_t sectionSizeField;  // sh_size of the section with contents
};

inline void putElfValue(std::string& bytes, std::size_t at, std::uint64_t value, std::size_t width,
                        bool bigEndian) {
    for (std::size_t i = 0; i < width; ++i) {
        const std::size_t index = bigEndian ? at + width - 1 - i : at + i;
        bytes[index] = static_cast<char>((value >> (8 * i)) & 0xff);
    }
}

inline ElfLayout elfLayout(const ElfShape& shape) {
    const std::size_t header = shape.is64 ? 64 : 52;
    const std::size_t entry = shape.is64 ? 64 : 40;
    const std::size_t table = shape.sectionLast ? header : header + 200;
    return {shape.is64 ? 0x28u : 0x20u, shape.is64 ? 8u : 4u,
            table + entry + (shape.is64 ? 0x20u : 0x14u)};
}

inline std::string sampleElf(const ElfShape& shape) {
    const bool big = shape.bigEndian;
    const std::size_t header = shape.is64 ? 64 : 52;
    const std::size_t entry = shape.is64 ? 64 : 40;
    const std::size_t contents = 200;
    const std::size_t section = shape.sectionLast ? header + 3 * entry : header;
    const std::size_t table = shape.sectionLast ? header : header + contents;
    std::string bytes(header + contents + 3 * entry, '\0');
    bytes.replace(0, 4, "\x7f" "ELF");
    bytes[4] = shape.is64 ? 2 : 1;
    bytes[5] = big ? 2 : 1;
    bytes[6] = 1;
    bytes[8] = 'A';
    bytes[9] = 'I';
    bytes[10] = shape.type;
    putElfValue(bytes, 16, 2, 2, big);   // an executable
    putElfValue(bytes, 18, 62, 2, big);  // x86-64
    putElfValue(bytes, 20, 1, 4, big);
    const auto put = [&](std::size_t at64, std::size_t at32, std::uint64_t value, std::size_t w64,
                         std::size_t w32) {
        putElfValue(bytes, shape.is64 ? at64 : at32, value, shape.is64 ? w64 : w32, big);
    };
    put(0x28, 0x20, table, 8, 4);     // e_shoff
    put(0x34, 0x28, header, 2, 2);    // e_ehsize
    put(0x3a, 0x2e, entry, 2, 2);     // e_shentsize
    put(0x3c, 0x30, 3, 2, 2);         // e_shnum
    bytes.replace(section, contents, std::string(contents, 'x'));
    // Entry 0 stays the null section; 1 holds the contents; 2 takes no room
    // in the file whatever its offset and size say.
    const std::size_t progbits = table + entry;
    const std::size_t nobits = table + 2 * entry;
    const std::size_t offsetAt = shape.is64 ? 0x18 : 0x10;
    const std::size_t sizeAt = shape.is64 ? 0x20 : 0x14;
    const std::size_t width = shape.is64 ? 8 : 4;
    putElfValue(bytes, progbits + 4, 1, 4, big);
    putElfValue(bytes, progbits + offsetAt, section, width, big);
    putElfValue(bytes, progbits + sizeAt, contents, width, big);
    putElfValue(bytes, nobits + 4, 8, 4, big);
    putElfValue(bytes, nobits + offsetAt, 0x7fff0000, width, big);
    putElfValue(bytes, nobits + sizeAt, 0x7fff0000, width, big);
    return bytes;
}

inline bool haveMksquashfs() {
    return std::system("command -v mksquashfs >/dev/null 2>&1") == 0;
}

inline std::string shellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// Makes `image` from `folder` with the compressor named; `extra` goes to
// mksquashfs as it is.
inline bool makeSquashfs(const std::string& folder, const std::string& image,
                         const std::string& compressor, const std::string& extra = {}) {
    const std::string command = "mksquashfs " + shellQuoted(folder) + " " + shellQuoted(image) +
                                " -comp " + compressor +
                                " -noappend -all-root -quiet -no-progress -processors 1 " + extra +
                                " >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;
}

// Writes `elf` followed by the bytes of the file `image` to `path`.
inline bool writeAppImage(const std::string& path, const std::string& elf,
                          const std::string& image) {
    std::ifstream in(image, std::ios::binary);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << elf << in.rdbuf();
    return in.good() && out.good();
}

}  // namespace testsupport
