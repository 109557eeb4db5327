#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/AppImage.h"

namespace {

// The reader takes a path, so each input becomes a file of its own for the
// length of the call: libFuzzer ends without running destructors, so nothing
// may stay behind once a run is over.
struct InputFile {
    std::string path = "/tmp/sweepwell-appimage-fuzz-XXXXXX";
    InputFile(const std::uint8_t* data, std::size_t size) {
        const int fd = ::mkstemp(path.data());
        if (fd < 0 || (size > 0 && ::write(fd, data, size) != static_cast<ssize_t>(size)))
            std::abort();
        ::close(fd);
    }
    ~InputFile() { ::unlink(path.c_str()); }
};

bool allowedIdCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '-' || c == '_';
}

}  // namespace

// Any file must be answered without crashing and within the limits; whatever
// is answered keeps them: an image offset inside the file, parts no larger than
// allowed, a desktop entry name that is a name, an id of plain characters.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const InputFile file(data, size);

    platform::AppImage::Limits limits;
    limits.deadline = std::chrono::milliseconds(500);
    const auto offset = platform::AppImage::imageOffset(file.path);
    if (offset && *offset + 4 > size) __builtin_trap();
    const auto identity = platform::AppImage::readIdentity(file.path, limits);
    if (!identity) return 0;
    if (!offset || !platform::AppImage::isAppImage(file.path)) __builtin_trap();
    if (identity->desktopFile.size() > limits.maxDesktopFileBytes ||
        identity->icon.size() > limits.maxIconBytes)
        __builtin_trap();
    const std::string& name = identity->desktopFileName;
    if (!name.empty() && (name.find('/') != std::string::npos || name.size() <= 8 ||
                          name.compare(name.size() - 8, 8, ".desktop") != 0))
        __builtin_trap();
    if (!std::all_of(identity->appStreamId.begin(), identity->appStreamId.end(),
                     allowedIdCharacter))
        __builtin_trap();
    return 0;
}
