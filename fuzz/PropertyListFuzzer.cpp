#include <cstddef>
#include <cstdint>

#include "platform/PropertyList.h"

// Any input must be answered without crashing; whatever is accepted and can
// be written must be written and read back.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto value = platform::PropertyList::parse(data, size);
    if (!value || size > (std::size_t{1} << 20) || !platform::PropertyList::isSerializable(*value))
        return 0;
    const std::vector<std::uint8_t> binary = platform::PropertyList::toBinary(*value);
    if (binary.empty() || !platform::PropertyList::parse(binary.data(), binary.size()))
        __builtin_trap();
    const std::string xml = platform::PropertyList::toXml(*value);
    if (xml.empty() || !platform::PropertyList::parse(xml)) __builtin_trap();
    return 0;
}
