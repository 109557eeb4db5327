#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "support/DataTable.h"
#include "ui/MarkupStyler.h"
#include "ui/RichNotificationWCLocalizable.h"

namespace {

using Texts = RichNotificationWCLocalizable;

LocalizedStrings tableFor(const std::string& language) {
    return LocalizedStrings(SWEEPWELL_RESOURCES, Texts::kTableName, {language});
}

TEST(RichNotificationWCLocalizableTest, WithoutTablesTheDefaultsAreUsed) {
    const LocalizedStrings none;
    const LocalizedStrings missing("/nonexistent", Texts::kTableName, {"de_DE.UTF-8"});
    for (const LocalizedStrings* table : {&none, &missing}) {
        EXPECT_EQ(table->localization(), "");
        EXPECT_EQ(Texts::closeButtonTitle(*table), "Close");
        EXPECT_EQ(Texts::completeUninstallButtonTitle(*table), "Complete Uninstall");
        EXPECT_EQ(Texts::titleWithAppName("Sweepwell", *table),
                  "Sweepwell - Complete Uninstallation");
        for (std::int64_t others : {0, 3}) {
            EXPECT_EQ(Texts::descriptionWithAppName("Photon", "12 MB", others, others == 0, *table),
                      "Photon - Complete Uninstallation");
        }
    }
}

TEST(RichNotificationWCLocalizableTest, EveryLanguageWritesValidMarkupForEveryCount) {
    const struct {
        const char* locale;
        const char* localization;
    } languages[] = {
        {"en_US.UTF-8", "en"}, {"de_DE.UTF-8", "de"},      {"fr_FR.UTF-8", "fr"},
        {"es_ES.UTF-8", "es"}, {"it_IT.UTF-8", "it"},      {"pt_BR.UTF-8", "pt-BR"},
        {"ru_RU.UTF-8", "ru"}, {"uk_UA.UTF-8", "uk"},      {"pl_PL.UTF-8", "pl"},
        {"ja_JP.UTF-8", "ja"}, {"zh_CN.UTF-8", "zh-Hans"}, {"ko_KR.UTF-8", "ko"},
    };
    const std::string name = "Photon & <Co>";
    const std::string size = "12.3 MB";
    for (const auto& language : languages) {
        const LocalizedStrings table = tableFor(language.locale);
        ASSERT_EQ(table.localization(), language.localization);
        if (table.localization() != "en") {
            EXPECT_NE(Texts::closeButtonTitle(table), "Close") << language.locale;
            EXPECT_NE(Texts::completeUninstallButtonTitle(table), "Complete Uninstall");
        }
        EXPECT_NE(Texts::titleWithAppName("Sweepwell", table).find("Sweepwell"), std::string::npos);

        std::map<std::string, std::int64_t> wordings;
        for (std::int64_t others : {0, 1, 2, 5, 21, 101}) {
            for (bool sure : {false, true}) {
                const std::string markup = Texts::descriptionWithAppName(
                    MarkupStyler::prepareString(name), MarkupStyler::prepareString(size), others,
                    sure, table);
                const auto parsed = MarkupStyler::parse(markup);
                SCOPED_TRACE(std::string(language.locale) + ": " + markup);
                EXPECT_EQ(parsed.literalTags, 0u);
                ASSERT_EQ(parsed.tags.size(), 2u);
                EXPECT_EQ(parsed.text.substr(parsed.tags[0].location, parsed.tags[0].length), name);
                EXPECT_EQ(parsed.text.substr(parsed.tags[1].location, parsed.tags[1].length), size);
                for (const char* raw : {"%", "#@", "$@", "$ld", "</", "<b>"}) {
                    EXPECT_EQ(parsed.text.find(raw), std::string::npos) << raw;
                }
                if (others > 0) {
                    EXPECT_NE(parsed.text.find(std::to_string(others)), std::string::npos);
                }
                wordings.emplace(parsed.text, others * 2 + sure);
            }
        }
        // Each count and certainty reads differently (no form was left out).
        EXPECT_EQ(wordings.size(), 12u) << language.locale;
    }
}

TEST(RichNotificationWCLocalizableTest, PluralFormsAgreeWithTheCount) {
    for (const auto& row :
         testsupport::readDataTable("RichNotificationWCLocalizable/plurals.tsv")) {
        const std::string text = Texts::descriptionWithAppName(
            "Photon", "1 MB", std::stoll(row.at(1)), false, tableFor(row.at(0)));
        EXPECT_NE(text.find(row.at(2)), std::string::npos) << row.at(0) << ": " << text;
    }
    const LocalizedStrings english = tableFor("en");
    EXPECT_EQ(Texts::descriptionWithAppName("Photon", "1 MB", 0, true, english),
              "<b>Photon</b> left <b>1 MB</b> of service files. Remove them to complete the "
              "uninstallation.");
    EXPECT_NE(Texts::descriptionWithAppName("Photon", "1 MB", 0, false, english).find("at least"),
              std::string::npos);
}

TEST(RichNotificationWCLocalizableTest, LanguagesComeFromTheEnvironmentInOrder) {
    const auto words = [](const std::string& text) {
        std::vector<std::string> out;
        std::istringstream in(text);
        for (std::string word; in >> word;) out.push_back(word);
        return out;
    };
    for (const auto& row :
         testsupport::readDataTable("RichNotificationWCLocalizable/languages.tsv")) {
        SCOPED_TRACE(testsupport::describeRow(row));
        const std::string& what = row.at(0);
        if (what == "env") {
            std::map<std::string, std::string> env;
            for (const auto& setting : words(row.at(1))) {
                env[setting.substr(0, setting.find('='))] = setting.substr(setting.find('=') + 1);
            }
            EXPECT_EQ(LocalizedStrings::preferredLanguages(
                          [&env](const char* name) -> std::optional<std::string> {
                              const auto found = env.find(name);
                              if (found == env.end()) return std::nullopt;
                              return found->second;
                          }),
                      words(row.at(2)));
        } else if (what == "candidates") {
            EXPECT_EQ(LocalizedStrings::localizationCandidates(row.at(1)), words(row.at(2)));
        } else {
            EXPECT_EQ(LocalizedStrings(SWEEPWELL_RESOURCES, Texts::kTableName, words(row.at(1)))
                          .localization(),
                      row.at(2));
        }
    }
}

TEST(RichNotificationWCLocalizableTest, KeysFallBackToEnglishThenToTheDefault) {
    // German and English tables with a key each of their own, and a broken French one.
    const LocalizedStrings german(testsupport::dataPath("LocalizedStrings"), "T",
                                  {"fr_FR", "de_DE.UTF-8"});
    EXPECT_EQ(german.localization(), "de");  // the broken French table does not count
    EXPECT_EQ(german.localizedStringForKey("Close", "x"), "Schließen");
    EXPECT_EQ(german.localizedStringForKey("Only", "x"), "English only");
    EXPECT_EQ(german.localizedStringForKey("Missing", "default"), "default");
    const std::vector<FormatArgument> name{std::string("Mail")};
    EXPECT_EQ(german.localizedStringWithFormat("Title", "%@!", name), "Titel: Mail");
    EXPECT_EQ(german.localizedStringWithFormat("Missing", "%@!", name), "Mail!");
}

}  // namespace
