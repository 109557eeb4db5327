#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "support/DataTable.h"
#include "ui/MarkupStyler.h"
#include "ui/RichNotificationWCLocalizable.h"

namespace {

using Texts = RichNotificationWCLocalizable;

TEST(RichNotificationWCLocalizableTest, EveryLanguageWritesValidMarkupForEveryCount) {
    const std::string name = "Photon & <Co>";
    const std::string size = "12.3 MB";
    for (const auto& language :
         testsupport::readDataTable("RichNotificationWCLocalizable/languages.tsv")) {
        const std::string& locale = language.at(0);
        const LocalizedStrings table(SWEEPWELL_RESOURCES, Texts::kTableName, {locale});
        ASSERT_EQ(table.localization(), language.at(1));
        if (table.localization() != "en") {
            EXPECT_NE(Texts::closeButtonTitle(table), "Close") << locale;
            EXPECT_NE(Texts::completeUninstallButtonTitle(table), "Complete Uninstall");
        }
        EXPECT_NE(Texts::titleWithAppName("Sweepwell", table).find("Sweepwell"), std::string::npos);
        // The way on without buttons names the command and the Main application.
        const std::string hint = Texts::withoutButtonsHint("Sweepwell", table);
        EXPECT_NE(hint.find("sweepwell-helper"), std::string::npos) << locale;
        EXPECT_NE(hint.find("Sweepwell Helper"), std::string::npos) << locale;
        EXPECT_EQ(hint.find('%'), std::string::npos) << locale;
        if (table.localization() != "en") {
            EXPECT_NE(hint, Texts::withoutButtonsHint("Sweepwell", LocalizedStrings())) << locale;
        }

        std::map<std::string, std::int64_t> wordings;
        for (std::int64_t others : {0, 1, 2, 5, 21, 101}) {
            for (bool sure : {false, true}) {
                const std::string markup = Texts::descriptionWithAppName(
                    MarkupStyler::prepareString(name), MarkupStyler::prepareString(size), others,
                    sure, table);
                const auto parsed = MarkupStyler::parse(markup);
                SCOPED_TRACE(locale + ": " + markup);
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
        EXPECT_EQ(wordings.size(), 12u) << locale;
    }
}

}  // namespace
