#include "ui/LocalizedFormatter.h"

#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <unicode/plurrule.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <charconv>
#include <optional>

#include "platform/Utf8.h"

struct LocalizedFormatter::Impl {
    icu::Locale locale;
    std::unique_ptr<icu::PluralRules> rules;
    std::optional<icu::number::LocalizedNumberFormatter> numbers;
};

namespace {

constexpr std::size_t kMaxWidth = 1024;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Reads a run of decimal digits, saturating; nullopt when there is none.
std::optional<std::size_t> readNumber(std::string_view s, std::size_t& i) {
    if (i >= s.size() || !isDigit(s[i])) return std::nullopt;
    std::size_t value = 0;
    for (; i < s.size() && isDigit(s[i]); ++i) {
        value = value > 100000 ? value : value * 10 + static_cast<std::size_t>(s[i] - '0');
    }
    return value;
}

std::int64_t integerOf(const FormatArgument& argument) {
    if (const auto* number = std::get_if<std::int64_t>(&argument)) return *number;
    const std::string& text = std::get<std::string>(argument);
    std::int64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

std::size_t displayLength(std::string_view s) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < s.size(); ++count) platform::Utf8::decode(s, i);
    return count;
}

// What the directive at one "%" asks for.
struct Directive {
    std::optional<std::size_t> position;  // from 1
    bool leftAlign = false;
    std::size_t width = 0;
    std::string length;  // "", "h", "hh", "l", "ll", "q", "z", "t", "j"
    char conversion = 0;
    std::string variable;  // for %#@name@
    std::size_t end = 0;   // index after the directive
};

// Parses the directive whose "%" is at s[start]; nullopt when it is not one
// we know (the caller then writes it as it stands).
std::optional<Directive> parseDirective(std::string_view s, std::size_t start) {
    Directive d;
    std::size_t i = start + 1;
    {
        std::size_t j = i;
        const auto n = readNumber(s, j);
        if (n && j < s.size() && s[j] == '$' && *n > 0) {
            d.position = *n;
            i = j + 1;
        }
    }
    if (s.substr(i, 2) == "#@") {
        const std::size_t nameStart = i + 2;
        std::size_t j = nameStart;
        while (j < s.size() && j - nameStart < 64 &&
               (isDigit(s[j]) || (s[j] >= 'a' && s[j] <= 'z') || (s[j] >= 'A' && s[j] <= 'Z') ||
                s[j] == '_')) {
            ++j;
        }
        if (j == nameStart || j >= s.size() || s[j] != '@') return std::nullopt;
        d.variable = std::string(s.substr(nameStart, j - nameStart));
        d.end = j + 1;
        return d;
    }
    for (; i < s.size(); ++i) {
        const char c = s[i];
        if (c == '-')
            d.leftAlign = true;
        else if (c != '+' && c != ' ' && c != '0' && c != '#' && c != '\'')
            break;
    }
    if (const auto width = readNumber(s, i)) d.width = std::min(*width, kMaxWidth);
    if (i < s.size() && s[i] == '.') {
        ++i;
        readNumber(s, i);
    }
    for (const char* modifier : {"hh", "ll", "h", "l", "q", "z", "t", "j"}) {
        const std::string_view m(modifier);
        if (s.substr(i, m.size()) == m) {
            d.length = modifier;
            i += m.size();
            break;
        }
    }
    if (i >= s.size()) return std::nullopt;
    d.conversion = s[i];
    if (d.conversion != '@' && d.conversion != 'd' && d.conversion != 'i' && d.conversion != 'u' &&
        d.conversion != '%') {
        return std::nullopt;
    }
    d.end = i + 1;
    return d;
}

}  // namespace

LocalizedFormatter::LocalizedFormatter(const std::string& localeName)
    : m_sLocaleName(localeName), m_pImpl(std::make_unique<Impl>()) {
    m_pImpl->locale = icu::Locale::createCanonical(localeName.c_str());
    UErrorCode status = U_ZERO_ERROR;
    m_pImpl->rules.reset(icu::PluralRules::forLocale(m_pImpl->locale, status));
    if (U_FAILURE(status)) m_pImpl->rules.reset();
    m_pImpl->numbers = icu::number::NumberFormatter::withLocale(m_pImpl->locale);
}

LocalizedFormatter::~LocalizedFormatter() = default;
LocalizedFormatter::LocalizedFormatter(LocalizedFormatter&&) noexcept = default;
LocalizedFormatter& LocalizedFormatter::operator=(LocalizedFormatter&&) noexcept = default;

std::string LocalizedFormatter::localizedNumber(std::int64_t value) const {
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString text = m_pImpl->numbers->formatInt(value, status).toString(status);
    if (U_FAILURE(status)) return std::to_string(value);
    std::string out;
    return text.toUTF8String(out);
}

std::string LocalizedFormatter::localizedUnsignedNumber(std::uint64_t value) const {
    const std::string digits = std::to_string(value);
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString text =
        m_pImpl->numbers->formatDecimal(icu::StringPiece(digits.c_str()), status).toString(status);
    if (U_FAILURE(status)) return digits;
    std::string out;
    return text.toUTF8String(out);
}

std::string LocalizedFormatter::pluralCategory(std::int64_t value) const {
    if (!m_pImpl->rules) return "other";
    std::string out;
    return m_pImpl->rules->select(static_cast<double>(value)).toUTF8String(out);
}

namespace {

struct FormatContext {
    const LocalizedFormatter& formatter;
    std::span<const FormatArgument> arguments;
    const StringsTable::StringsDictEntry* plurals;
};

void render(const FormatContext& context, std::string_view format,
            std::optional<std::size_t> ownArgument, std::size_t& nextArgument, int depth,
            std::string& out) {
    std::size_t i = 0;
    while (i < format.size() && out.size() < LocalizedFormatter::kMaxOutputSize) {
        const std::size_t percent = format.find('%', i);
        out.append(format.substr(i, percent == std::string_view::npos ? format.npos : percent - i));
        if (percent == std::string_view::npos) break;
        const auto directive = parseDirective(format, percent);
        if (!directive) {
            out += '%';
            i = percent + 1;
            continue;
        }
        i = directive->end;
        if (directive->conversion == '%') {
            out += '%';
            continue;
        }
        std::optional<std::size_t> index;
        if (directive->position)
            index = *directive->position - 1;
        else if (ownArgument)
            index = ownArgument;
        else
            index = nextArgument++;
        const FormatArgument* argument =
            *index < context.arguments.size() ? &context.arguments[*index] : nullptr;

        if (!directive->variable.empty()) {
            if (!argument || !context.plurals || depth >= LocalizedFormatter::kMaxNesting) continue;
            const auto variable = context.plurals->variables.find(directive->variable);
            if (variable == context.plurals->variables.end()) continue;
            const auto& forms = variable->second.forms;
            const std::int64_t value = integerOf(*argument);
            auto form = value == 0 ? forms.find("zero") : forms.end();
            if (form == forms.end()) form = forms.find(context.formatter.pluralCategory(value));
            if (form == forms.end()) form = forms.find("other");
            if (form == forms.end()) continue;
            render(context, form->second, index, nextArgument, depth + 1, out);
            continue;
        }
        if (!argument) continue;

        std::string text;
        if (const auto* string = std::get_if<std::string>(argument)) {
            text = *string;
        } else {
            const std::int64_t value = std::get<std::int64_t>(*argument);
            const std::string& length = directive->length;
            const bool wide = length == "l" || length == "ll" || length == "q" || length == "z" ||
                              length == "t" || length == "j";
            if (directive->conversion == 'u') {
                text = context.formatter.localizedUnsignedNumber(
                    wide             ? static_cast<std::uint64_t>(value)
                    : length == "h"  ? static_cast<std::uint16_t>(value)
                    : length == "hh" ? static_cast<std::uint8_t>(value)
                                     : static_cast<std::uint32_t>(value));
            } else if (directive->conversion == '@') {
                text = context.formatter.localizedNumber(value);
            } else {
                text = context.formatter.localizedNumber(
                    wide             ? value
                    : length == "h"  ? static_cast<std::int16_t>(value)
                    : length == "hh" ? static_cast<std::int8_t>(value)
                                     : static_cast<std::int32_t>(value));
            }
        }
        const std::size_t shown = displayLength(text);
        const std::string padding(shown < directive->width ? directive->width - shown : 0, ' ');
        out += directive->leftAlign ? text + padding : padding + text;
    }
}

}  // namespace

std::string LocalizedFormatter::localizedStringWithFormat(
    std::string_view format, std::span<const FormatArgument> arguments,
    const StringsTable::StringsDictEntry* plurals) const {
    std::string out;
    std::size_t nextArgument = 0;
    render(FormatContext{*this, arguments, plurals}, format, std::nullopt, nextArgument, 0, out);
    return out;
}
