#include "ui/StringsTable.h"

#include "platform/FileSystem.h"
#include "platform/PropertyList.h"
#include "platform/Utf8.h"

namespace StringsTable {

namespace {

// The text of the file as UTF-8, by its byte-order mark.
std::string decodeText(std::string_view bytes) {
    if (bytes.starts_with("\xEF\xBB\xBF")) return platform::Utf8::sanitized(bytes.substr(3));
    const bool little = bytes.starts_with("\xFF\xFE");
    if (!little && !bytes.starts_with("\xFE\xFF")) return platform::Utf8::sanitized(bytes);
    std::u16string units;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
        const auto a = static_cast<unsigned char>(bytes[i]);
        const auto b = static_cast<unsigned char>(bytes[i + 1]);
        units += static_cast<char16_t>(little ? (b << 8 | a) : (a << 8 | b));
    }
    return platform::Utf8::fromUtf16(units);
}

bool isPropertyListData(std::string_view bytes) {
    if (bytes.substr(0, 6) == "bplist") return true;
    std::size_t i = 0;
    while (i < bytes.size() &&
           (bytes[i] == ' ' || bytes[i] == '\t' || bytes[i] == '\r' || bytes[i] == '\n'))
        ++i;
    const std::string_view rest = bytes.substr(i);
    return rest.substr(0, 5) == "<?xml" || rest.substr(0, 9) == "<!DOCTYPE" ||
           rest.substr(0, 6) == "<plist";
}

// The old-style property-list dictionary of a .strings file.
class StringsParser {
public:
    explicit StringsParser(std::string_view text) : m_sText(text) {}

    std::optional<Strings> parse() {
        Strings strings;
        skipSpace();
        const bool braced = peek('{');
        if (braced) ++m_nPos;
        for (;;) {
            if (!skipSpace()) return std::nullopt;
            if (m_nPos >= m_sText.size()) break;
            if (braced && peek('}')) break;
            auto key = readString();
            if (!key || !skipSpace()) return std::nullopt;
            std::string value = *key;
            if (peek('=')) {
                ++m_nPos;
                if (!skipSpace()) return std::nullopt;
                auto read = readString();
                if (!read || !skipSpace()) return std::nullopt;
                value = std::move(*read);
            }
            if (!peek(';')) return std::nullopt;
            ++m_nPos;
            strings[std::move(*key)] = std::move(value);
        }
        if (braced) {
            if (!peek('}')) return std::nullopt;
            ++m_nPos;
            if (!skipSpace() || m_nPos != m_sText.size()) return std::nullopt;
        }
        return strings;
    }

private:
    bool peek(char c) const { return m_nPos < m_sText.size() && m_sText[m_nPos] == c; }

    // Skips blanks and comments; false on a comment that never ends.
    bool skipSpace() {
        while (m_nPos < m_sText.size()) {
            const char c = m_sText[m_nPos];
            if (c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v') {
                ++m_nPos;
            } else if (m_sText.substr(m_nPos, 2) == "//") {
                const std::size_t end = m_sText.find('\n', m_nPos);
                m_nPos = end == std::string_view::npos ? m_sText.size() : end + 1;
            } else if (m_sText.substr(m_nPos, 2) == "/*") {
                const std::size_t end = m_sText.find("*/", m_nPos + 2);
                if (end == std::string_view::npos) return false;
                m_nPos = end + 2;
            } else {
                break;
            }
        }
        return true;
    }

    static bool isUnquotedChar(char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '$' || c == '+' || c == '/' || c == ':' || c == '.' || c == '-';
    }

    std::optional<std::string> readString() {
        if (peek('"') || peek('\'')) return readQuoted(m_sText[m_nPos++]);
        const std::size_t start = m_nPos;
        while (m_nPos < m_sText.size() && isUnquotedChar(m_sText[m_nPos])) {
            if (m_sText.substr(m_nPos, 2) == "//" || m_sText.substr(m_nPos, 2) == "/*") break;
            ++m_nPos;
        }
        if (m_nPos == start) return std::nullopt;
        return std::string(m_sText.substr(start, m_nPos - start));
    }

    std::optional<std::string> readQuoted(char quote) {
        std::string out;
        char16_t pendingHigh = 0;  // a \U high surrogate waiting for its low half
        const auto flushPending = [&] {
            if (pendingHigh) platform::Utf8::append(out, platform::Utf8::kReplacementCharacter);
            pendingHigh = 0;
        };
        while (m_nPos < m_sText.size()) {
            const char c = m_sText[m_nPos++];
            if (c == quote) {
                flushPending();
                return out;
            }
            if (c != '\\') {
                flushPending();
                out += c;
                continue;
            }
            if (m_nPos >= m_sText.size()) return std::nullopt;
            const char e = m_sText[m_nPos++];
            if (e == 'U' || e == 'u') {
                char16_t unit = 0;
                std::size_t digits = 0;
                for (; digits < 4 && m_nPos < m_sText.size(); ++digits, ++m_nPos) {
                    const char h = m_sText[m_nPos];
                    int v = -1;
                    if (h >= '0' && h <= '9')
                        v = h - '0';
                    else if (h >= 'a' && h <= 'f')
                        v = h - 'a' + 10;
                    else if (h >= 'A' && h <= 'F')
                        v = h - 'A' + 10;
                    if (v < 0) break;
                    unit = static_cast<char16_t>(unit * 16 + v);
                }
                if (digits == 0) {
                    flushPending();
                    out += e;
                } else if (unit >= 0xD800 && unit <= 0xDBFF) {
                    flushPending();
                    pendingHigh = unit;
                } else if (unit >= 0xDC00 && unit <= 0xDFFF && pendingHigh) {
                    platform::Utf8::append(out, 0x10000 + ((char32_t(pendingHigh) - 0xD800) << 10) +
                                                    (char32_t(unit) - 0xDC00));
                    pendingHigh = 0;
                } else {
                    flushPending();
                    platform::Utf8::append(out, unit);  // a lone low surrogate becomes U+FFFD
                }
                continue;
            }
            flushPending();
            if (e >= '0' && e <= '7') {
                unsigned value = static_cast<unsigned>(e - '0');
                for (int n = 1; n < 3 && m_nPos < m_sText.size() && m_sText[m_nPos] >= '0' &&
                                m_sText[m_nPos] <= '7';
                     ++n) {
                    value = value * 8 + static_cast<unsigned>(m_sText[m_nPos++] - '0');
                }
                platform::Utf8::append(out, static_cast<char32_t>(value & 0xFF));
                continue;
            }
            switch (e) {
                case 'a':
                    out += '\a';
                    break;
                case 'b':
                    out += '\b';
                    break;
                case 'f':
                    out += '\f';
                    break;
                case 'n':
                    out += '\n';
                    break;
                case 'r':
                    out += '\r';
                    break;
                case 't':
                    out += '\t';
                    break;
                case 'v':
                    out += '\v';
                    break;
                default:
                    out += e;
                    break;  // \" \' \\ and anything else
            }
        }
        return std::nullopt;  // the string never ends
    }

    std::string_view m_sText;
    std::size_t m_nPos = 0;
};

}  // namespace

std::optional<Strings> parseStrings(std::string_view bytes) {
    if (bytes.size() > kMaxFileSize) return std::nullopt;
    if (isPropertyListData(bytes)) {
        const auto plist = platform::PropertyList::parse(bytes);
        if (!plist || !plist->asDictionary()) return std::nullopt;
        Strings strings;
        for (const auto& [key, value] : *plist->asDictionary()) {
            if (!value.asString()) return std::nullopt;
            strings[key] = *value.asString();
        }
        return strings;
    }
    const std::string text = decodeText(bytes);
    return StringsParser(text).parse();
}

std::optional<StringsDict> parseStringsDict(std::string_view bytes) {
    if (bytes.size() > kMaxFileSize) return std::nullopt;
    const auto plist = platform::PropertyList::parse(bytes);
    if (!plist || !plist->asDictionary()) return std::nullopt;
    static const char* const kCategories[] = {"zero", "one", "two", "few", "many", "other"};
    StringsDict dict;
    for (const auto& [key, value] : *plist->asDictionary()) {
        const platform::PlistValue* format = value.objectForKey("NSStringLocalizedFormatKey");
        if (!format || !format->asString()) continue;
        StringsDictEntry entry;
        entry.formatKey = *format->asString();
        for (const auto& [name, definition] : *value.asDictionary()) {
            const platform::PlistValue* type = definition.objectForKey("NSStringFormatSpecTypeKey");
            if (!type || !type->asString() || *type->asString() != "NSStringPluralRuleType") {
                continue;
            }
            PluralVariable variable;
            if (const platform::PlistValue* valueType =
                    definition.objectForKey("NSStringFormatValueTypeKey")) {
                if (valueType->asString()) variable.valueType = *valueType->asString();
            }
            for (const char* category : kCategories) {
                const platform::PlistValue* form = definition.objectForKey(category);
                if (form && form->asString()) variable.forms[category] = *form->asString();
            }
            entry.variables[name] = std::move(variable);
        }
        dict[key] = std::move(entry);
    }
    return dict;
}

std::optional<Strings> readStringsFile(const std::string& path) {
    const auto bytes = platform::readWholeFile(path, kMaxFileSize);
    return bytes ? parseStrings(*bytes) : std::nullopt;
}

std::optional<StringsDict> readStringsDictFile(const std::string& path) {
    const auto bytes = platform::readWholeFile(path, kMaxFileSize);
    return bytes ? parseStringsDict(*bytes) : std::nullopt;
}

}  // namespace StringsTable
