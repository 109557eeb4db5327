#include "platform/ByteCountFormatter.h"

#include <unicode/formattedvalue.h>
#include <unicode/locid.h>
#include <unicode/measunit.h>
#include <unicode/numberformatter.h>
#include <unicode/rbnf.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <optional>

namespace platform::ByteCountFormatter {

namespace {

struct Unit {
    const char* name;            // the English name
    const char* identifier;      // ICU's
    std::uint64_t bytesPerStep;  // bytes per last shown digit
    int decimals;
};

// Exabytes are the last unit: the largest 64-bit count is 9.22 EB.
constexpr Unit kUnits[] = {
    {"KB", "kilobyte", 1000ULL, 0},           {"MB", "megabyte", 100000ULL, 1},
    {"GB", "gigabyte", 10000000ULL, 2},       {"TB", "terabyte", 10000000000ULL, 2},
    {"PB", "petabyte", 10000000000000ULL, 2}, {"EB", "exabyte", 10000000000000000ULL, 2},
};
constexpr std::size_t kUnitCount = sizeof(kUnits) / sizeof(kUnits[0]);

// What is written, before any language comes in.
struct Amount {
    enum class Kind { Zero, Bytes, Units } kind = Kind::Zero;
    bool isNegative = false;
    std::uint64_t bytes = 0;  // for Kind::Bytes
    const Unit* unit = nullptr;
    std::string number;  // for Kind::Units: "1.23", "72.5", "2" (no sign)
};

Amount measure(std::int64_t bytes) {
    Amount amount;
    if (bytes == 0) return amount;
    amount.isNegative = bytes < 0;
    // Unsigned negation so that the most negative count does not overflow.
    const std::uint64_t magnitude =
        bytes < 0 ? 0 - static_cast<std::uint64_t>(bytes) : static_cast<std::uint64_t>(bytes);
    if (magnitude < 1000) {
        amount.kind = Amount::Kind::Bytes;
        amount.bytes = magnitude;
        return amount;
    }
    amount.kind = Amount::Kind::Units;
    for (std::size_t i = 0;; ++i) {
        const Unit& unit = kUnits[i];
        const std::uint64_t scale = unit.decimals == 0 ? 1 : unit.decimals == 1 ? 10 : 100;
        // Rounded half up in whole integers, so no binary fraction can tip a
        // boundary such as 1 049 999 / 1 050 000 bytes the wrong way.
        const std::uint64_t remainder = magnitude % unit.bytesPerStep;
        const std::uint64_t shown =
            magnitude / unit.bytesPerStep + (remainder * 2 >= unit.bytesPerStep ? 1 : 0);
        if (shown >= 1000 * scale && i + 1 < kUnitCount) continue;

        std::string fraction;
        if (unit.decimals > 0) {
            fraction = std::to_string(shown % scale);
            fraction.insert(0, static_cast<std::size_t>(unit.decimals) - fraction.size(), '0');
        }
        while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
        amount.unit = &unit;
        amount.number = std::to_string(shown / scale);
        if (!fraction.empty()) amount.number += "." + fraction;
        return amount;
    }
}

std::string englishText(const Amount& amount) {
    const std::string sign = amount.isNegative ? "-" : "";
    switch (amount.kind) {
        case Amount::Kind::Zero:
            return "Zero KB";
        case Amount::Kind::Bytes:
            return sign + std::to_string(amount.bytes) + (amount.bytes == 1 ? " byte" : " bytes");
        case Amount::Kind::Units:
            break;
    }
    return sign + amount.number + " " + amount.unit->name;
}

std::string utf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

// "de_DE.UTF-8@euro" and "pt-BR" as ICU takes them.
icu::Locale localeFor(const std::string& name) {
    std::string id = name.substr(0, name.find_first_of(".@"));
    std::replace(id.begin(), id.end(), '-', '_');
    return icu::Locale(id.c_str());
}

// The language's word for zero, as it stands alone ("null", "zéro", "ноль");
// nullopt where it is not written in letters of a cased script (ideographs,
// Hangul), which read badly beside a unit in Latin letters.
std::optional<icu::UnicodeString> zeroWord(const icu::Locale& locale) {
    UErrorCode status = U_ZERO_ERROR;
    icu::RuleBasedNumberFormat spellout(icu::URBNF_SPELLOUT, locale, status);
    spellout.setContext(UDISPCTX_CAPITALIZATION_FOR_STANDALONE, status);
    icu::UnicodeString word;
    spellout.format(static_cast<int32_t>(0), word);
    if (U_FAILURE(status) || word.isEmpty()) return std::nullopt;
    bool hasCased = false;
    for (int32_t i = 0; i < word.length(); i = word.moveIndex32(i, 1)) {
        const UChar32 c = word.char32At(i);
        if (!u_isalpha(c)) return std::nullopt;
        hasCased = hasCased || u_hasBinaryProperty(c, UCHAR_CASED);
    }
    if (!hasCased) return std::nullopt;
    return word;
}

std::optional<std::string> localizedText(const Amount& amount, const icu::Locale& locale) {
    UErrorCode status = U_ZERO_ERROR;
    icu::MeasureUnit unit;
    UNumberUnitWidth width = UNUM_UNIT_WIDTH_SHORT;
    std::string number = amount.isNegative ? "-" : "";
    switch (amount.kind) {
        case Amount::Kind::Zero:
            unit = icu::MeasureUnit::getKilobyte();
            number = "0";
            break;
        case Amount::Kind::Bytes:
            // "532 bytes", "532 octets", "532 байта": the full name, which
            // also agrees with the number.
            unit = icu::MeasureUnit::getByte();
            width = UNUM_UNIT_WIDTH_FULL_NAME;
            number += std::to_string(amount.bytes);
            break;
        case Amount::Kind::Units:
            unit = icu::MeasureUnit::forIdentifier(amount.unit->identifier, status);
            number += amount.number;
            break;
    }
    const icu::number::LocalizedNumberFormatter formatter =
        icu::number::NumberFormatter::withLocale(locale).unit(unit).unitWidth(width);
    // The number is already rounded; it goes in as decimal text so that
    // nothing is rounded again through a binary fraction.
    const icu::number::FormattedNumber formatted = formatter.formatDecimal(
        icu::StringPiece(number.data(), static_cast<int32_t>(number.size())), status);
    icu::UnicodeString text = formatted.toString(status);
    if (U_FAILURE(status) || text.isEmpty()) return std::nullopt;

    if (amount.kind == Amount::Kind::Zero) {
        if (const auto word = zeroWord(locale)) {
            icu::ConstrainedFieldPosition position;
            position.constrainField(UFIELD_CATEGORY_NUMBER, UNUM_INTEGER_FIELD);
            if (formatted.nextPosition(position, status) && U_SUCCESS(status)) {
                text.replace(position.getStart(), position.getLimit() - position.getStart(), *word);
            }
        }
    }
    return utf8(text);
}

}  // namespace

std::string stringFromByteCount(std::int64_t bytes) {
    return englishText(measure(bytes));
}

std::string stringFromByteCount(std::int64_t bytes, const std::string& localeName) {
    const Amount amount = measure(bytes);
    const icu::Locale locale = localeFor(localeName);
    const std::string language = locale.getLanguage();
    if (localeName.empty() || language == "en") return englishText(amount);
    // ICU without its data, or a unit it cannot name: the English text
    // rather than none.
    return localizedText(amount, locale).value_or(englishText(amount));
}

}  // namespace platform::ByteCountFormatter
