#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

// Sample AppImages made at run time with no network: a minimal ELF program
// written byte by byte (header, one section with contents, one that takes no
// room in the file, the section table) followed by a squashfs image made by
// `mksquashfs` from a folder.
namespace testsupport {

struct ElfShape {
    bool is64 = true;
    bool bigEndian = false;
    bool sectionLast = false;  // the section's contents after the table
    char type = 2;             // byte 10: the AppImage type
};

inline void putElfValue(std::string& bytes, std::size_t at, std::uint64_t value, std::size_t width,
                        bool bigEndian) {
    for (std::size_t i = 0; i < width; ++i)
        bytes[bigEndian ? at + width - 1 - i : at + i] = static_cast<char>(value >> (8 * i));
}

inline std::string sampleElf(const ElfShape& shape) {
    const std::size_t header = shape.is64 ? 64 : 52, entry = shape.is64 ? 64 : 40;
    const std::size_t table = shape.sectionLast ? header : header + 200;
    const std::size_t section = shape.sectionLast ? header + 3 * entry : header;
    std::string bytes(header + 200 + 3 * entry, '\0');
    bytes.replace(0, 11,
                  std::string("\x7f"
                              "ELF\0\0\1\0AI",
                              10) +
                      shape.type);
    bytes[4] = shape.is64 ? 2 : 1;
    bytes[5] = shape.bigEndian ? 2 : 1;
    bytes.replace(section, 200, std::string(200, 'x'));
    const auto put = [&](std::size_t at, std::uint64_t value, std::size_t width) {
        putElfValue(bytes, at, value, width, shape.bigEndian);
    };
    const std::size_t word = shape.is64 ? 8 : 4;
    put(16, 2, 2);  // an executable for x86-64
    put(18, 62, 2);
    put(shape.is64 ? 0x28 : 0x20, table, word);  // e_shoff
    put(shape.is64 ? 0x3a : 0x2e, entry, 2);     // e_shentsize
    put(shape.is64 ? 0x3c : 0x30, 3, 2);         // e_shnum
    // Entry 0 is the null section, 1 holds the contents, 2 takes no room in
    // the file whatever its offset and size say.
    const std::size_t offsetAt = shape.is64 ? 0x18 : 0x10, sizeAt = shape.is64 ? 0x20 : 0x14;
    put(table + entry + 4, 1, 4);
    put(table + entry + offsetAt, section, word);
    put(table + entry + sizeAt, 200, word);
    put(table + 2 * entry + 4, 8, 4);
    put(table + 2 * entry + offsetAt, 0x7fff0000, word);
    put(table + 2 * entry + sizeAt, 0x7fff0000, word);
    return bytes;
}

inline bool haveMksquashfs() {
    return std::system("command -v mksquashfs >/dev/null 2>&1") == 0;
}

// Writes `elf` followed by a squashfs image of `folder` (paths without a
// quote) made with the compressor named to `path`; `extra` goes to mksquashfs.
inline bool makeAppImage(const std::string& folder, const std::string& path, const std::string& elf,
                         const std::string& compressor, const std::string& extra = {}) {
    const std::string image = path + ".squashfs";
    std::ofstream(path, std::ios::binary | std::ios::trunc) << elf;
    const std::string command = "mksquashfs '" + folder + "' '" + image + "' -comp " + compressor +
                                " -noappend -all-root -quiet -no-progress -processors 1 " + extra +
                                " >/dev/null 2>&1 && cat '" + image + "' >>'" + path + "'";
    const bool made =
        (folder + path).find('\'') == std::string::npos && std::system(command.c_str()) == 0;
    std::remove(image.c_str());
    return made;
}

}  // namespace testsupport
