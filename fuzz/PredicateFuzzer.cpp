#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "platform/MetadataPredicate.h"

// Any input must be answered without crashing. What is accepted must write
// itself back in a form that reads as the same predicate and decides the same
// way about an item.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view format(reinterpret_cast<const char*>(data), size);
    const auto predicate = platform::MetadataPredicate::predicateWithFormat(format);
    if (!predicate) return 0;
    static const std::map<std::string, std::string> item = {
        {"kMDItemCFBundleIdentifier", "com.example.App"},
        {"kMDItemPath", "/Applications/Example App.app"},
        {"kMDItemFSName", "Example App.app"},
        {"kMDItemDisplayName", "Example App"},
        {"kMDItemContentType", "com.apple.application-bundle"},
    };
    const bool decision = predicate->evaluateWithObject(item);
    const std::string text = predicate->predicateFormat();
    const auto again = platform::MetadataPredicate::predicateWithFormat(text);
    if (!again || again->predicateFormat() != text) __builtin_trap();
    if (again->evaluateWithObject(item) != decision) __builtin_trap();
    return 0;
}
