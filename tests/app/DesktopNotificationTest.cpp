#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/DesktopNotification.h"
#include "ui/RichNotificationWCLocalizable.h"

namespace {

using Texts = RichNotificationWCLocalizable;

struct Case {
    const char* name;
    QStringList capabilities;
    const char* locale;
    QStringList actions;   // expected, pairwise key and title
    bool withTags;         // the body keeps <b>
    const char* hintPart;  // a piece of the how-to text; null: there is none
};

// What goes to the service follows what it says it can draw: buttons when it
// has actions (never a default action, which a click on the body would fire),
// otherwise a text that says how to hand the list over without one.
TEST(DesktopNotificationTest, ContentFollowsWhatTheServiceCanDraw) {
    const std::string markup = "<b>Notes &amp; Co</b> left <b>12 MB</b> of files.";
    const std::vector<Case> cases{
        {"buttons and markup",
         {"body", "actions", "body-markup"},
         "en_US.UTF-8",
         {"complete-uninstall", "Complete Uninstall", "close", "Close"},
         true,
         nullptr},
        {"buttons, plain text",
         {"actions"},
         "en_US.UTF-8",
         {"complete-uninstall", "Complete Uninstall", "close", "Close"},
         false,
         nullptr},
        {"German buttons keep their keys",
         {"actions", "body-markup"},
         "de_DE.UTF-8",
         {"complete-uninstall", "Vollständig deinstallieren", "close", "Schließen"},
         true,
         nullptr},
        {"no buttons, markup", {"body", "body-markup"}, "en_US.UTF-8", {}, true, "Helper again"},
        {"no buttons, plain text", {}, "en_US.UTF-8", {}, false, "Helper again"},
        {"no buttons in German", {"body-markup"}, "de_DE.UTF-8", {}, true, "erneut"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const LocalizedStrings table(SWEEPWELL_RESOURCES, Texts::kTableName, {c.locale});
        const auto content =
            DesktopNotification::content(markup, c.capabilities, "Sweep <well>", table);
        EXPECT_EQ(content.actions.join(QLatin1Char('|')).toStdString(),
                  c.actions.join(QLatin1Char('|')).toStdString());
        EXPECT_FALSE(content.actions.contains(QStringLiteral("default")));
        const std::string body = content.body.toStdString();
        EXPECT_EQ(body.find("<b>") != std::string::npos, c.withTags) << body;
        EXPECT_NE(body.find(c.withTags ? "Notes &amp; Co" : "Notes & Co"), std::string::npos)
            << body;
        if (c.hintPart == nullptr) {
            EXPECT_EQ(body.find("sweepwell-helper"), std::string::npos) << body;
            continue;
        }
        EXPECT_NE(body.find(c.hintPart), std::string::npos) << body;
        EXPECT_NE(body.find("sweepwell-helper"), std::string::npos) << body;
        // The Main application's name is text, never markup of its own.
        EXPECT_NE(body.find(c.withTags ? "Sweep &lt;well&gt;" : "Sweep <well>"), std::string::npos)
            << body;
    }
}

}  // namespace
