#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/MountTable.h"

// A volume's label becomes a mount point's name, so any table must be read
// without crashing, and every mount point read is an absolute path with no
// NUL and no line break left in it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto points =
        platform::MountTable::parse(std::string_view(reinterpret_cast<const char*>(data), size));
    for (const auto& point : points) {
        if (point.path.empty() || point.path.front() != '/' ||
            point.path.find('\0') != std::string::npos || point.type.empty()) {
            __builtin_trap();
        }
    }
    return 0;
}
