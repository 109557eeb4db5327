#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

// Readers of the platform's localisation tables.
//
// A ".strings" file maps keys to texts:
//
//   /* Close button title */
//   "CloseButtonTitle" = "Schlie\U00dfen";
//   // a line comment
//   "Title" = "%@ - Complete Uninstallation";
//
// It is UTF-8 (with or without a byte-order mark) or UTF-16 with one, or a
// property list (XML or binary) holding a dictionary of strings. Strings are
// quoted with " or ', or unquoted words of letters, digits and _$+/:.-; an
// entry without "= value" maps the key to itself; the entries may stand in
// braces. Escapes: \a \b \f \n \r \t \v \" \' \\, \Uxxxx and \uxxxx (UTF-16
// units, pairs joined), \ooo (octal, read as Latin-1); any other escaped
// character stands for itself. A file that breaks these rules is refused as a
// whole, as the platform refuses it; a later entry of the same key wins.
//
// A ".stringsdict" file is a property list: for each key, a dictionary with
// the format (NSStringLocalizedFormatKey) and, for each "%#@name@" variable
// in it, a dictionary of type NSStringPluralRuleType with the value type
// (NSStringFormatValueTypeKey, e.g. "ld") and the forms "zero", "one",
// "two", "few", "many" and "other". Keys whose value is not such a
// dictionary, variables of other rule types and non-string forms are left
// out.
namespace StringsTable {

using Strings = std::map<std::string, std::string>;

struct PluralVariable {
    std::string valueType;
    std::map<std::string, std::string> forms;  // category -> format
    bool operator==(const PluralVariable&) const = default;
};

struct StringsDictEntry {
    std::string formatKey;
    std::map<std::string, PluralVariable> variables;
    bool operator==(const StringsDictEntry&) const = default;
};
using StringsDict = std::map<std::string, StringsDictEntry>;

// Files larger than this are refused.
inline constexpr std::size_t kMaxFileSize = std::size_t{4} << 20;

std::optional<Strings> parseStrings(std::string_view bytes);
std::optional<StringsDict> parseStringsDict(std::string_view bytes);

// nullopt when the file is missing, not a regular file, too large or refused.
std::optional<Strings> readStringsFile(const std::string& path);
std::optional<StringsDict> readStringsDictFile(const std::string& path);

}  // namespace StringsTable
