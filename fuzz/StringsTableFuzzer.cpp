#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ui/LocalizedFormatter.h"
#include "ui/StringsTable.h"

// Localisation tables and the formats in them come from the bundle's
// resources: every reader and the format engine must answer any input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    static const LocalizedFormatter english("en");
    static const LocalizedFormatter russian("ru");
    const std::vector<FormatArgument> arguments{std::string("Photon"), std::int64_t{0},
                                                std::int64_t{21}, std::string("12 MB"),
                                                std::int64_t{1}};

    if (const auto strings = StringsTable::parseStrings(bytes)) {
        for (const auto& [key, value] : *strings) {
            english.localizedStringWithFormat(value, arguments);
        }
    }
    if (const auto dict = StringsTable::parseStringsDict(bytes)) {
        for (const auto& [key, entry] : *dict) {
            for (const auto* formatter : {&english, &russian}) {
                const std::string text =
                    formatter->localizedStringWithFormat(entry.formatKey, arguments, &entry);
                if (text.size() > LocalizedFormatter::kMaxOutputSize + 64 * 1024) __builtin_trap();
            }
        }
    }
    // The input as a format string of its own.
    const std::string text = russian.localizedStringWithFormat(bytes, arguments);
    if (text.size() > LocalizedFormatter::kMaxOutputSize + 64 * 1024) __builtin_trap();
    return 0;
}
