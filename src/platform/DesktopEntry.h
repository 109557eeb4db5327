#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// The "[Desktop Entry]" group of a freedesktop.org desktop entry (a launcher,
// or the entry inside an AppImage), read as data and nothing more. Whoever
// wrote the file may be hostile, so the reader keeps to the format's rules:
// a line it does not understand is skipped, a value that is not UTF-8 is
// absent, and an Exec line quoted against the rules has no program at all
// rather than a guessed one.
class DesktopEntry {
public:
    // Real entries are a few KiB; translations of a large one stay far below.
    static constexpr std::size_t kMaxFileSize = 64 * 1024;

    // nullopt for a text over kMaxFileSize or without a "[Desktop Entry]" group.
    static std::optional<DesktopEntry> parse(std::string_view text);
    // Reads a regular file of at most kMaxFileSize bytes, never through a
    // link; nullopt when it is anything else or cannot be read. Whether its
    // owner may name programs for the user is the caller's question.
    static std::optional<DesktopEntry> read(const std::string& path);

    // The value of `key` with its escapes (\s \n \t \r \\) undone, in the
    // POSIX locale `locale` (lang_COUNTRY.ENCODING@MODIFIER, any part but lang
    // optional): Key[lang_COUNTRY@MODIFIER], Key[lang_COUNTRY],
    // Key[lang@MODIFIER], Key[lang], then Key, the encoding ignored on both
    // sides. An empty or malformed locale asks for the plain Key.
    std::optional<std::string> value(std::string_view key, std::string_view locale = {}) const;
    // A ";"-separated list ("\;" is a semicolon inside an item); a final ";"
    // ends the last item rather than starting an empty one.
    std::optional<std::vector<std::string>> list(std::string_view key,
                                                 std::string_view locale = {}) const;
    // "true" or "false"; nullopt for anything else.
    std::optional<bool> boolean(std::string_view key) const;

    // The keys the agent uses; an empty string stands for an absent key.
    std::string type() const { return valueOrEmpty("Type"); }
    std::string name(std::string_view locale = {}) const { return valueOrEmpty("Name", locale); }
    std::string icon(std::string_view locale = {}) const { return valueOrEmpty("Icon", locale); }
    std::string tryExec() const { return valueOrEmpty("TryExec"); }
    std::string startupWMClass() const { return valueOrEmpty("StartupWMClass"); }
    std::string appImageName() const { return valueOrEmpty("X-AppImage-Name"); }
    std::string execLocation() const { return valueOrEmpty("X-ExecLocation"); }
    std::string flatpak() const { return valueOrEmpty("X-Flatpak"); }
    // Absent or not a boolean reads as false.
    bool noDisplay() const { return boolean("NoDisplay").value_or(false); }
    bool hidden() const { return boolean("Hidden").value_or(false); }

    // Exec split into the program and its arguments, with the quoting undone
    // and the field codes (%f %F %u %U %i %c %k and the deprecated ones) left
    // out: a code that is a whole argument removes it, one inside an argument
    // expands to nothing, "%%" is "%". nullopt when Exec is absent, empty,
    // quoted against the rules (a quote left open or inside a word, a reserved
    // character outside quotes, an unknown escape or an unescaped "$" or "`"
    // inside them), holds an unknown field code, or names a program with "=".
    std::optional<std::vector<std::string>> execArguments() const;
    // The first of execArguments(); empty when there is none.
    std::string execProgram() const;

    // The same split for any command line, as it stands after the value's
    // own escapes were undone.
    static std::optional<std::vector<std::string>> splitCommandLine(std::string_view commandLine);

private:
    std::optional<std::string_view> rawValue(std::string_view key, std::string_view locale) const;
    std::string valueOrEmpty(std::string_view key, std::string_view locale = {}) const {
        return value(key, locale).value_or(std::string());
    }

    // "Key" or "Key[lang_COUNTRY@MODIFIER]" (encoding dropped) to the value
    // as written; nullopt for a value that was refused (not UTF-8, or a NUL).
    std::map<std::string, std::optional<std::string>, std::less<>> m_arrValues;
};

}  // namespace platform
