#include <cstddef>
#include <cstdint>
#include <string>

#include "ui/Color.h"

// Any string either parses to components in 0...1 (each is at most "FF"
// over 255) or raises the parser's one documented exception, and the cached
// path answers the same colour as the uncached one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string hex(reinterpret_cast<const char*>(data), size);
    try {
        const Color color = Color::colorWithHexStringNotCacheable(hex);
        for (double component : {color.red(), color.green(), color.blue(), color.alpha()}) {
            if (!(component >= 0.0 && component <= 1.0)) __builtin_trap();
        }
        const auto cached = Color::colorWithHexString(hex);
        if (!cached || !(*cached == color)) __builtin_trap();
    } catch (const InvalidColorValueException& e) {
        if (std::string(e.name()) != "Invalid color value") __builtin_trap();
    }
    return 0;
}
