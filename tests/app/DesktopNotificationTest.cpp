#include <gtest/gtest.h>

#include <string>

#include "app/DesktopNotification.h"
#include "support/DataTable.h"
#include "ui/RichNotificationWCLocalizable.h"

namespace {

using Texts = RichNotificationWCLocalizable;

// What goes to the service follows what it says it can draw: buttons when it
// has actions (never a default action, which a click on the body would fire),
// otherwise a text that says how to hand the list over without one.
TEST(DesktopNotificationTest, ContentFollowsWhatTheServiceCanDraw) {
    const std::string markup = "<b>Notes &amp; Co</b> left <b>12 MB</b> of files.";
    for (const auto& row : testsupport::readDataTable("DesktopNotification/content.tsv")) {
        SCOPED_TRACE(testsupport::describeRow(row));
        const QStringList capabilities =
            QString::fromStdString(row.at(0)).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        const bool withTags = row.at(3) == "yes";
        const std::string& hintPart = row.at(4);
        const LocalizedStrings table(SWEEPWELL_RESOURCES, Texts::kTableName, {row.at(1)});
        const auto content =
            DesktopNotification::content(markup, capabilities, "Sweep <well>", table);
        EXPECT_EQ(content.actions.join(QLatin1Char('|')).toStdString(), row.at(2));
        EXPECT_FALSE(content.actions.contains(QStringLiteral("default")));
        const std::string body = content.body.toStdString();
        EXPECT_EQ(body.find("<b>") != std::string::npos, withTags) << body;
        EXPECT_NE(body.find(withTags ? "Notes &amp; Co" : "Notes & Co"), std::string::npos) << body;
        EXPECT_EQ(body.find("sweepwell-helper") != std::string::npos, !hintPart.empty()) << body;
        if (hintPart.empty()) continue;
        EXPECT_NE(body.find(hintPart), std::string::npos) << body;
        // The Main application's name is text, never markup of its own.
        EXPECT_NE(body.find(withTags ? "Sweep &lt;well&gt;" : "Sweep <well>"), std::string::npos)
            << body;
    }
}

}  // namespace
