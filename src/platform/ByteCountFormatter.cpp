#include "platform/ByteCountFormatter.h"

namespace ByteCountFormatter {

namespace {

struct Unit {
    const char* name;
    std::uint64_t bytesPerStep;  // bytes per last shown digit
    int decimals;
};

// Exabytes are the last unit: the largest 64-bit count is 9.22 EB.
constexpr Unit kUnits[] = {
    {"KB", 1000ULL, 0},        {"MB", 100000ULL, 1},         {"GB", 10000000ULL, 2},
    {"TB", 10000000000ULL, 2}, {"PB", 10000000000000ULL, 2}, {"EB", 10000000000000000ULL, 2},
};

}  // namespace

std::string stringFromByteCount(std::int64_t bytes) {
    if (bytes == 0) return "Zero KB";
    const std::string sign = bytes < 0 ? "-" : "";
    // Unsigned negation so that the most negative count does not overflow.
    const std::uint64_t magnitude =
        bytes < 0 ? 0 - static_cast<std::uint64_t>(bytes) : static_cast<std::uint64_t>(bytes);
    if (magnitude < 1000) {
        return sign + std::to_string(magnitude) + (magnitude == 1 ? " byte" : " bytes");
    }

    constexpr std::size_t kUnitCount = sizeof(kUnits) / sizeof(kUnits[0]);
    for (std::size_t i = 0;; ++i) {
        const Unit& unit = kUnits[i];
        const std::uint64_t scale = unit.decimals == 0 ? 1 : unit.decimals == 1 ? 10 : 100;
        // Rounded half up in whole integers, so no binary fraction can tip a
        // boundary such as 1 049 999 / 1 050 000 bytes the wrong way.
        const std::uint64_t remainder = magnitude % unit.bytesPerStep;
        const std::uint64_t shown =
            magnitude / unit.bytesPerStep + (remainder * 2 >= unit.bytesPerStep ? 1 : 0);
        if (shown >= 1000 * scale && i + 1 < kUnitCount) continue;

        std::string text = sign + std::to_string(shown / scale);
        std::string fraction;
        if (unit.decimals > 0) {
            fraction = std::to_string(shown % scale);
            fraction.insert(0, static_cast<std::size_t>(unit.decimals) - fraction.size(), '0');
        }
        while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
        if (!fraction.empty()) text += "." + fraction;
        return text + " " + unit.name;
    }
}

}  // namespace ByteCountFormatter
