#include "platform/DesktopEntry.h"

#include <cstdint>

#include "platform/FileSystem.h"
#include "platform/Utf8.h"

namespace platform {

namespace {

constexpr std::string_view kMainGroup = "Desktop Entry";
constexpr std::string_view kBlanks = " \t";

std::string_view withoutLeadingBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos ? std::string_view{} : text.substr(first);
}

std::string_view withoutTrailingBlanks(std::string_view text) {
    const auto last = text.find_last_not_of(kBlanks);
    return last == std::string_view::npos ? std::string_view{} : text.substr(0, last + 1);
}

bool isAsciiAlnum(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// Non-empty, and only ASCII letters, digits and the characters of `extra`.
bool isAllOf(std::string_view text, std::string_view extra) {
    if (text.empty()) return false;
    for (const char c : text) {
        if (!isAsciiAlnum(c) && extra.find(c) == std::string_view::npos) return false;
    }
    return true;
}

// lang_COUNTRY.ENCODING@MODIFIER as "lang_COUNTRY@MODIFIER": the encoding
// takes no part in matching. nullopt for anything not of that form.
struct Locale {
    std::string language;
    std::string country;
    std::string modifier;
};

std::optional<Locale> parseLocale(std::string_view text) {
    Locale locale;
    std::string_view encoding;
    const auto at = text.find('@');
    if (at != std::string_view::npos) {
        locale.modifier = std::string(text.substr(at + 1));
        if (!isAllOf(locale.modifier, "-_")) return std::nullopt;
        text = text.substr(0, at);
    }
    const auto dot = text.find('.');
    if (dot != std::string_view::npos) {
        encoding = text.substr(dot + 1);
        if (!isAllOf(encoding, "-_")) return std::nullopt;
        text = text.substr(0, dot);
    }
    const auto underscore = text.find('_');
    if (underscore != std::string_view::npos) {
        locale.country = std::string(text.substr(underscore + 1));
        if (!isAllOf(locale.country, "")) return std::nullopt;
        text = text.substr(0, underscore);
    }
    if (!isAllOf(text, "")) return std::nullopt;
    locale.language = std::string(text);
    return locale;
}

std::string keyWithLocale(std::string_view key, const std::string& localeName) {
    return std::string(key) + "[" + localeName + "]";
}

// "Key" or "Key[locale]" as the map stores it; nullopt for a key the format
// does not allow (keys are ASCII letters, digits and "-").
std::optional<std::string> storedKey(std::string_view key) {
    const auto bracket = key.find('[');
    if (bracket == std::string_view::npos) {
        if (!isAllOf(key, "-")) return std::nullopt;
        return std::string(key);
    }
    const auto name = key.substr(0, bracket);
    if (!isAllOf(name, "-") || key.back() != ']') return std::nullopt;
    const auto locale = parseLocale(key.substr(bracket + 1, key.size() - bracket - 2));
    if (!locale) return std::nullopt;
    std::string localeName = locale->language;
    if (!locale->country.empty()) localeName += "_" + locale->country;
    if (!locale->modifier.empty()) localeName += "@" + locale->modifier;
    return keyWithLocale(name, localeName);
}

// A group header's name: printable ASCII or UTF-8, no brackets.
std::optional<std::string_view> groupName(std::string_view line) {
    line = withoutTrailingBlanks(line);
    if (line.size() < 3 || line.front() != '[' || line.back() != ']') return std::nullopt;
    const auto name = line.substr(1, line.size() - 2);
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f || c == '[' || c == ']') return std::nullopt;
    }
    return name;
}

// Undoes \s \n \t \r and \\ at text[index]; other pairs stay as written
// (Exec and lists give some of them their own meaning).
void appendEscape(std::string& out, std::string_view text, std::size_t& index) {
    if (index + 1 >= text.size()) {
        out += text[index++];
        return;
    }
    switch (text[index + 1]) {
        case 's':
            out += ' ';
            break;
        case 'n':
            out += '\n';
            break;
        case 't':
            out += '\t';
            break;
        case 'r':
            out += '\r';
            break;
        case '\\':
            out += '\\';
            break;
        default:
            out.append(text.substr(index, 2));
            break;
    }
    index += 2;
}

std::string unescaped(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] == '\\') {
            appendEscape(out, text, i);
        } else {
            out += text[i++];
        }
    }
    return out;
}

// Outside quotes these would mean something to a shell, so an Exec line must
// quote them; control characters are refused with them.
bool isReservedOutsideQuotes(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f ||
           std::string_view("\"'\\><~|&;$*?#()`").find(c) != std::string_view::npos;
}

// %f %F %u %U name the files or URLs opened, %i %c %k the entry's icon, name
// and location; %d %D %n %N %v %m are deprecated and expand to nothing.
bool isFieldCode(char c) {
    return std::string_view("fFuUickdDnNvm").find(c) != std::string_view::npos;
}

// One argument after its quotes were undone, with its field codes expanded
// to nothing; nullopt for an unknown code or a "%" at the end.
std::optional<std::string> withoutFieldCodes(std::string_view argument) {
    std::string out;
    for (std::size_t i = 0; i < argument.size(); ++i) {
        if (argument[i] != '%') {
            out += argument[i];
            continue;
        }
        if (i + 1 >= argument.size()) return std::nullopt;
        const char code = argument[++i];
        if (code == '%') {
            out += '%';
        } else if (!isFieldCode(code)) {
            return std::nullopt;
        }
    }
    return out;
}

}  // namespace

std::optional<DesktopEntry> DesktopEntry::parse(std::string_view text) {
    if (text.size() > kMaxFileSize) return std::nullopt;
    enum class Where { Outside, Main, Other } where = Where::Outside;
    bool sawMainGroup = false;
    DesktopEntry entry;
    while (!text.empty()) {
        const auto end = text.find('\n');
        auto line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        line = withoutLeadingBlanks(line);
        if (line.empty() || line.front() == '#') continue;
        if (line.front() == '[') {
            // A second "[Desktop Entry]" is ignored like a second key (below);
            // so is everything under a header that is not one, lest its lines
            // be taken for the group above it.
            const auto name = groupName(line);
            const bool isMain = name && *name == kMainGroup && !sawMainGroup;
            sawMainGroup = sawMainGroup || isMain;
            where = isMain ? Where::Main : Where::Other;
            continue;
        }
        if (where != Where::Main) continue;
        const auto equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        const auto key = storedKey(withoutTrailingBlanks(line.substr(0, equals)));
        if (!key) continue;
        const auto value = withoutTrailingBlanks(withoutLeadingBlanks(line.substr(equals + 1)));
        std::optional<std::string> kept;
        if (Utf8::isValid(value) && value.find('\0') == std::string_view::npos) {
            kept = std::string(value);
        }
        // The first of two equal keys wins: a line appended to an entry cannot
        // change the name or program it already declared.
        entry.m_arrValues.emplace(std::move(*key), std::move(kept));
    }
    if (!sawMainGroup) return std::nullopt;
    return entry;
}

std::optional<DesktopEntry> DesktopEntry::read(const std::string& path) {
    const auto text = readWholeFile(path, kMaxFileSize, Links::Refuse);
    if (!text) return std::nullopt;
    return parse(*text);
}

std::optional<std::string_view> DesktopEntry::rawValue(std::string_view key,
                                                       std::string_view localeName) const {
    std::vector<std::string> candidates;
    const auto locale = parseLocale(localeName);
    if (locale) {
        const auto& language = locale->language;
        const auto& country = locale->country;
        const auto& modifier = locale->modifier;
        if (!country.empty() && !modifier.empty()) {
            candidates.push_back(keyWithLocale(key, language + "_" + country + "@" + modifier));
        }
        if (!country.empty()) candidates.push_back(keyWithLocale(key, language + "_" + country));
        if (!modifier.empty()) candidates.push_back(keyWithLocale(key, language + "@" + modifier));
        candidates.push_back(keyWithLocale(key, language));
    }
    candidates.emplace_back(key);
    for (const auto& candidate : candidates) {
        const auto found = m_arrValues.find(candidate);
        if (found != m_arrValues.end() && found->second) return std::string_view(*found->second);
    }
    return std::nullopt;
}

std::optional<std::string> DesktopEntry::value(std::string_view key,
                                               std::string_view locale) const {
    const auto raw = rawValue(key, locale);
    if (!raw) return std::nullopt;
    return unescaped(*raw);
}

std::optional<std::vector<std::string>> DesktopEntry::list(std::string_view key,
                                                           std::string_view locale) const {
    const auto raw = rawValue(key, locale);
    if (!raw) return std::nullopt;
    std::vector<std::string> items;
    std::string item;
    bool itemOpen = false;
    for (std::size_t i = 0; i < raw->size();) {
        const char c = (*raw)[i];
        if (c == ';') {
            items.push_back(std::move(item));
            item.clear();
            itemOpen = false;
            ++i;
            continue;
        }
        itemOpen = true;
        if (c == '\\' && i + 1 < raw->size() && (*raw)[i + 1] == ';') {
            item += ';';
            i += 2;
        } else if (c == '\\') {
            appendEscape(item, *raw, i);
        } else {
            item += c;
            ++i;
        }
    }
    if (itemOpen) items.push_back(std::move(item));
    return items;
}

std::optional<bool> DesktopEntry::boolean(std::string_view key) const {
    const auto raw = rawValue(key, {});
    if (raw == "true") return true;
    if (raw == "false") return false;
    return std::nullopt;
}

std::optional<std::vector<std::string>> DesktopEntry::execArguments() const {
    const auto commandLine = value("Exec");
    if (!commandLine) return std::nullopt;
    return splitCommandLine(*commandLine);
}

std::string DesktopEntry::execProgram() const {
    const auto arguments = execArguments();
    return arguments ? arguments->front() : std::string();
}

std::optional<std::vector<std::string>> DesktopEntry::splitCommandLine(std::string_view line) {
    std::vector<std::string> arguments;
    std::size_t i = 0;
    for (;;) {
        while (i < line.size() && line[i] == ' ') ++i;
        if (i == line.size()) break;
        std::string argument;
        if (line[i] == '"') {
            // Quoted whole: inside, only \" \` \$ and \\ are escapes, and a
            // bare ` or $ is as wrong as any other escape.
            bool closed = false;
            for (++i; i < line.size() && !closed;) {
                const char c = line[i];
                if (c == '"') {
                    closed = true;
                    ++i;
                } else if (c == '\\') {
                    if (i + 1 >= line.size()) return std::nullopt;
                    const char escaped = line[i + 1];
                    if (std::string_view("\"`$\\").find(escaped) == std::string_view::npos) {
                        return std::nullopt;
                    }
                    argument += escaped;
                    i += 2;
                } else if (c == '`' || c == '$') {
                    return std::nullopt;
                } else {
                    argument += c;
                    ++i;
                }
            }
            if (!closed || (i < line.size() && line[i] != ' ')) return std::nullopt;
        } else {
            for (; i < line.size() && line[i] != ' '; ++i) {
                if (isReservedOutsideQuotes(line[i])) return std::nullopt;
                argument += line[i];
            }
        }
        // A field code standing alone is an argument only when files are
        // passed; nothing is passed here.
        if (argument.size() == 2 && argument[0] == '%' && isFieldCode(argument[1])) continue;
        auto expanded = withoutFieldCodes(argument);
        if (!expanded) return std::nullopt;
        arguments.push_back(std::move(*expanded));
    }
    if (arguments.empty() || arguments.front().empty() ||
        arguments.front().find('=') != std::string::npos) {
        return std::nullopt;
    }
    return arguments;
}

}  // namespace platform
