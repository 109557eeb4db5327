#include "ui/LocalizedStrings.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

namespace {

struct LanguageName {
    std::string language;  // lower case
    std::string script;    // title case, may be empty
    std::string region;    // upper case, may be empty
};

bool isAsciiLetters(const std::string& s) {
    return !s.empty() && std::all_of(s.begin(), s.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    });
}

// "pt_BR.UTF-8@euro", "zh-Hans", "sr_Latn_RS" taken apart; the codeset and
// modifier are dropped. An empty language for names that are not one.
LanguageName parseLanguage(std::string name) {
    name = name.substr(0, name.find_first_of(".@"));
    LanguageName parsed;
    std::size_t start = 0;
    for (int part = 0; start <= name.size(); ++part) {
        const std::size_t end = std::min(name.find_first_of("_-", start), name.size());
        std::string piece = name.substr(start, end - start);
        start = end + 1;
        const bool digits =
            piece.size() == 3 &&
            std::all_of(piece.begin(), piece.end(), [](char c) { return c >= '0' && c <= '9'; });
        if (part == 0) {
            if (!isAsciiLetters(piece) || piece.size() > 3) return {};
            for (char& c : piece)
                c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            parsed.language = piece;
        } else if (piece.size() == 4 && isAsciiLetters(piece)) {
            for (char& c : piece)
                c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            piece[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(piece[0])));
            parsed.script = piece;
        } else if ((piece.size() == 2 && isAsciiLetters(piece)) || digits) {
            for (char& c : piece)
                c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            parsed.region = piece;
        }
    }
    return parsed;
}

bool isPosixCLocale(const std::string& name) {
    const std::string base = name.substr(0, name.find_first_of(".@"));
    return base.empty() || base == "C" || base == "POSIX";
}

// The ICU locale for a table: the localisation's own name when it carries a
// region or script, else its language with the region the user asked for.
std::string localeNameFor(const std::string& localization, const LanguageName& requested) {
    const LanguageName table = parseLanguage(localization);
    std::string name = table.language;
    if (!table.script.empty()) name += "_" + table.script;
    if (!table.region.empty())
        name += "_" + table.region;
    else if (table.script.empty() && table.language == requested.language &&
             !requested.region.empty())
        name += "_" + requested.region;
    return name.empty() ? "en" : name;
}

}  // namespace

LocalizedStrings::LocalizedStrings() = default;

LocalizedStrings::LocalizedStrings(const platform::Bundle& bundle, const std::string& tableName,
                                   const std::vector<std::string>& preferredLanguages)
    : LocalizedStrings(bundle.resourcePath(), tableName, preferredLanguages) {}

LocalizedStrings::LocalizedStrings(const std::string& resourcesPath, const std::string& tableName,
                                   const std::vector<std::string>& preferredLanguages) {
    LanguageName englishRequest{"en", "", ""};
    for (const std::string& language : preferredLanguages) {
        const LanguageName requested = parseLanguage(language);
        if (requested.language == "en") {
            englishRequest = requested;
            break;
        }
    }
    for (const std::string& language : preferredLanguages) {
        const LanguageName requested = parseLanguage(language);
        for (const std::string& candidate : localizationCandidates(language)) {
            if (auto table = loadTable(resourcesPath, tableName, candidate,
                                       localeNameFor(candidate, requested))) {
                m_arrTables.push_back(std::move(*table));
                break;
            }
        }
        if (!m_arrTables.empty()) break;
    }
    if (m_arrTables.empty() || m_arrTables.front().localization != "en") {
        if (auto english =
                loadTable(resourcesPath, tableName, "en", localeNameFor("en", englishRequest))) {
            m_arrTables.push_back(std::move(*english));
        }
    }
    if (!m_arrTables.empty()) m_sLocalization = m_arrTables.front().localization;
}

std::optional<LocalizedStrings::Table> LocalizedStrings::loadTable(
    const std::string& resourcesPath, const std::string& tableName, const std::string& localization,
    const std::string& localeName) const {
    if (resourcesPath.empty()) return std::nullopt;
    const std::string base = resourcesPath + "/" + localization + ".lproj/" + tableName;
    auto strings = StringsTable::readStringsFile(base + ".strings");
    auto plurals = StringsTable::readStringsDictFile(base + ".stringsdict");
    if (!strings && !plurals) return std::nullopt;
    return Table{localization, strings ? std::move(*strings) : StringsTable::Strings{},
                 plurals ? std::move(*plurals) : StringsTable::StringsDict{},
                 LocalizedFormatter(localeName)};
}

std::vector<std::string> LocalizedStrings::preferredLanguages() {
    return preferredLanguages([](const char* name) -> std::optional<std::string> {
        const char* value = std::getenv(name);
        if (!value) return std::nullopt;
        return std::string(value);
    });
}

std::vector<std::string> LocalizedStrings::preferredLanguages(
    const std::function<std::optional<std::string>(const char*)>& environment) {
    std::string effective;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const auto value = environment(name);
        if (value && !value->empty()) {
            effective = *value;
            break;
        }
    }
    if (isPosixCLocale(effective)) return {"en"};
    std::vector<std::string> languages;
    if (const auto list = environment("LANGUAGE")) {
        std::size_t start = 0;
        while (start <= list->size()) {
            const std::size_t end = std::min(list->find(':', start), list->size());
            if (end > start) languages.push_back(list->substr(start, end - start));
            start = end + 1;
        }
    }
    languages.push_back(effective);
    return languages;
}

std::vector<std::string> LocalizedStrings::localizationCandidates(const std::string& language) {
    if (isPosixCLocale(language)) return {"en"};
    LanguageName name = parseLanguage(language);
    if (name.language.empty()) return {};
    if (name.language == "zh" && name.script.empty()) {
        const bool traditional = name.region == "TW" || name.region == "HK" || name.region == "MO";
        name.script = traditional ? "Hant" : "Hans";
    }
    std::vector<std::string> candidates;
    const auto add = [&candidates](const std::string& candidate) {
        if (std::find(candidates.begin(), candidates.end(), candidate) == candidates.end()) {
            candidates.push_back(candidate);
        }
    };
    if (!name.script.empty()) add(name.language + "-" + name.script);
    if (!name.region.empty()) {
        add(name.language + "-" + name.region);
        add(name.language + "_" + name.region);
    }
    // Traditional Chinese is not written with the simplified tables, so it
    // stops here and falls back to English.
    if (name.language == "zh" && name.script == "Hant") return candidates;
    add(name.language);
    // Where we ship only one variant of a language, speakers of the others
    // read it rather than English.
    if (name.language == "pt") add("pt-BR");
    if (name.language == "zh") add("zh-Hans");
    return candidates;
}

const std::string& LocalizedStrings::localeName() const {
    return m_arrTables.empty() ? m_defaultFormatter.localeName()
                               : m_arrTables.front().formatter.localeName();
}

const LocalizedStrings::Table* LocalizedStrings::tableForKey(const std::string& key) const {
    for (const Table& table : m_arrTables) {
        if (table.plurals.count(key) || table.strings.count(key)) return &table;
    }
    return nullptr;
}

std::string LocalizedStrings::localizedStringForKey(const std::string& key,
                                                    const std::string& defaultValue) const {
    const Table* table = tableForKey(key);
    if (!table) return defaultValue;
    const auto plural = table->plurals.find(key);
    if (plural != table->plurals.end()) return plural->second.formatKey;
    return table->strings.at(key);
}

std::string LocalizedStrings::localizedStringWithFormat(
    const std::string& key, const std::string& defaultValue,
    std::span<const FormatArgument> arguments) const {
    const Table* table = tableForKey(key);
    if (!table) return m_defaultFormatter.localizedStringWithFormat(defaultValue, arguments);
    const auto plural = table->plurals.find(key);
    if (plural != table->plurals.end()) {
        return table->formatter.localizedStringWithFormat(plural->second.formatKey, arguments,
                                                          &plural->second);
    }
    return table->formatter.localizedStringWithFormat(table->strings.at(key), arguments);
}
