#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/TrashInfo.h"

// Any bytes must be answered without crashing; what is accepted is a path
// with no NUL, whose name (when it has one) is a single folder entry.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto info =
        platform::TrashInfo::parse(std::string_view(reinterpret_cast<const char*>(data), size));
    if (!info) return 0;
    if (info->path.empty() || info->path.find('\0') != std::string::npos) __builtin_trap();
    const auto name = info->originalName();
    if (name &&
        (name->empty() || name->find('/') != std::string::npos || *name == "." || *name == "..")) {
        __builtin_trap();
    }
    return 0;
}
