#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/Bundle.h"
#include "ui/LocalizedFormatter.h"
#include "ui/StringsTable.h"

// One localisation table ("<name>.strings" and "<name>.stringsdict" in
// "<resources>/<localisation>.lproj/") in the user's language.
//
// The localisation is the first of the preferred languages that has the
// table, each language tried as the folders its name maps to:
//
//   POSIX locale                 folders tried, in order
//   de_DE.UTF-8, de_AT           de-DE / de-AT, de_DE / de_AT, de
//   pt_BR.UTF-8                  pt-BR, pt_BR, pt
//   pt_PT, pt                    pt-PT, pt_PT, pt, then pt-BR
//   zh_CN.UTF-8, zh_SG, zh       zh-Hans, zh-CN / zh-SG, zh_CN / zh_SG, zh
//   zh_TW, zh_HK, zh_MO          zh-Hant, zh-TW / ..., zh_TW / ...
//   C, POSIX, C.UTF-8            en
//
// (a codeset after "." and a modifier after "@" are ignored; names may also
// be given the platform's way, "pt-BR" or "zh-Hans"). When no preferred
// language has the table, English ("en") is used. Each key is looked up in
// that localisation, then in English, then the caller's default text is
// used. A key of the .stringsdict wins over the same key of the .strings.
// Numbers and plural rules follow the language of the table the key came
// from, with the region of the preferred language that chose it.
class LocalizedStrings {
public:
    // No tables: every lookup answers its default.
    LocalizedStrings();
    LocalizedStrings(const std::string& resourcesPath, const std::string& tableName,
                     const std::vector<std::string>& preferredLanguages);
    LocalizedStrings(const platform::Bundle& bundle, const std::string& tableName,
                     const std::vector<std::string>& preferredLanguages);

    // The user's languages from the environment, gettext's way: the effective
    // locale is the first set of LC_ALL, LC_MESSAGES and LANG; when it is
    // unset, "C" or "POSIX" (any codeset) the answer is {"en"} and LANGUAGE is
    // ignored; otherwise the entries of LANGUAGE (a ":"-separated list), then
    // the effective locale.
    static std::vector<std::string> preferredLanguages();
    static std::vector<std::string> preferredLanguages(
        const std::function<std::optional<std::string>(const char*)>& environment);

    // The folders (without ".lproj") a language name is looked up in.
    static std::vector<std::string> localizationCandidates(const std::string& language);

    // The chosen localisation ("de", "pt-BR"); empty when there is none.
    const std::string& localization() const { return m_sLocalization; }
    // The ICU locale the chosen localisation writes numbers in ("de",
    // "de_AT", "pt_BR", "zh_Hans"); "en" when there is none.
    const std::string& localeName() const;

    // The key's text (for a .stringsdict key, its format), or defaultValue.
    std::string localizedStringForKey(const std::string& key,
                                      const std::string& defaultValue) const;
    // The key's text, or defaultValue, formatted with the arguments.
    std::string localizedStringWithFormat(const std::string& key, const std::string& defaultValue,
                                          std::span<const FormatArgument> arguments) const;

private:
    struct Table {
        std::string localization;
        StringsTable::Strings strings;
        StringsTable::StringsDict plurals;
        LocalizedFormatter formatter;
    };
    // The table that has the key, in lookup order; null when none has it.
    const Table* tableForKey(const std::string& key) const;
    std::optional<Table> loadTable(const std::string& resourcesPath, const std::string& tableName,
                                   const std::string& localization,
                                   const std::string& localeName) const;

    std::string m_sLocalization;
    std::vector<Table> m_arrTables;
    LocalizedFormatter m_defaultFormatter{"en"};
};
