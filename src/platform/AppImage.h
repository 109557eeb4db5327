#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform {

// An AppImage: one executable file, an ELF program followed by a squashfs
// image holding the application. Anyone may have made the file, so it is
// only ever read: never run, mounted or unpacked to disk. The ELF part is
// read by hand with every value checked against the file's size; the image
// through the squashfs library, shifted to where it starts, within limits of
// entries, bytes and time. Whatever cannot be read yields nothing.
class AppImage {
public:
    enum class IconType { Unknown, Png, Svg };

    // What the image says about the application; each part may be missing.
    struct Identity {
        // The desktop entry in the image's root: its name ("foo.desktop")
        // and its bytes, not parsed here. Both empty when the root has none,
        // or more than one (the image does not say which application it is,
        // and a guess could name another one's files).
        std::string desktopFileName;
        std::string desktopFile;
        // `.DirIcon`; empty when there is none or it is too large.
        std::vector<std::uint8_t> icon;
        IconType iconType = IconType::Unknown;
        // The `<id>` of the AppStream component in usr/share/metainfo; only
        // reverse-DNS characters (letters, digits, '.', '-', '_').
        std::string appStreamId;
    };

    struct Limits {
        std::size_t maxDesktopFileBytes = 64 * 1024;
        std::size_t maxIconBytes = 512 * 1024;
        std::size_t maxMetainfoBytes = 64 * 1024;
        // Directory entries looked at, all folders together.
        std::size_t maxDirectoryEntries = 500;
        // Links followed while resolving one name.
        int maxLinkHops = 8;
        // Bytes read from the file, compressed, all tables and files together.
        std::uint64_t maxBytesRead = 16 * 1024 * 1024;
        std::chrono::milliseconds deadline{2000};
    };

    // A regular file (never through a link, never waiting on a FIFO) that
    // starts with an ELF header and has the type-2 mark "AI\x02" at bytes 8-10.
    static bool isAppImage(const std::string& path);

    // Where the squashfs image of a type-2 AppImage starts: the end of the ELF part (the larger of
    // the end of the section header table and the end of the last section
    // stored in the file), 32- or 64-bit, either byte order, provided "hsqs"
    // is found there. nullopt when any value points outside the file.
    static std::optional<std::uint64_t> imageOffset(const std::string& path);

    // The identity read from the image of a type-2 AppImage; nullopt when the
    // file is none or its image cannot be read (a compression this library
    // lacks, damage, a limit reached before the root was listed).
    static std::optional<Identity> readIdentity(const std::string& path, const Limits& limits);
    static std::optional<Identity> readIdentity(const std::string& path) {
        return readIdentity(path, Limits{});
    }
};

}  // namespace platform
