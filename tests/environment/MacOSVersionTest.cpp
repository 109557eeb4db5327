#include <gtest/gtest.h>

#include "environment/MacOSVersion.h"
#include "support/DataTable.h"
#include "support/TempDir.h"

namespace {

TEST(MacOSVersion, NumericComparisonTreatsDigitRunsAsNumbers) {
    for (const auto& row : testsupport::readDataTable("MacOSVersion/compare.tsv")) {
        EXPECT_EQ(MacOSVersion::compareNumeric(row.at(0), row.at(1)), std::stoi(row.at(2)))
            << testsupport::describeRow(row);
    }
}

TEST(MacOSVersion, AnswersVersionQuestionsAgainstTheSystemVersion) {
    const struct {
        std::optional<std::string> system;
        std::optional<std::string> asked;
        bool orLower;
        bool orHigher;
        bool expected;
    } cases[] = {
        {"10.14.6", "10.14", false, true, true},
        {"10.14.6", "10.14", true, false, false},
        {"10.14.6", "10.9", false, false, false},
        {"10.14.6", "10.14.6", false, false, true},
        {"10.14.6", "10.14.6", true, false, true},
        {"10.14.6", "10.15", true, false, true},
        {"10.14.6", "11", true, true, true},  // both flags: always
        {"10.9", "10.10", false, true, false},
        {std::nullopt, "10.15", false, false, true},   // unknown system satisfies everything
        {"10.14.6", std::nullopt, true, false, true},  // nil version too
    };
    for (const auto& c : cases) {
        EXPECT_EQ(
            MacOSVersion::withVersion(c.system).isMacOSHasVersion(c.asked, c.orLower, c.orHigher),
            c.expected)
            << c.system.value_or("unknown") << " asked " << c.asked.value_or("nil") << " "
            << c.orLower << c.orHigher;
    }
}

TEST(MacOSVersion, CachedFlagsFollowTheVersionReadFromTheVersionFile) {
    testsupport::TempDir dir;
    MacOSVersion fromFile(dir.writeFile("SystemVersion.plist",
                                        "<plist version=\"1.0\"><dict><key>ProductVersion</key>"
                                        "<string>10.11.6</string></dict></plist>"));
    EXPECT_EQ(fromFile.version(), "10.11.6");
    EXPECT_TRUE(fromFile.is_10_9_orHigher());
    EXPECT_TRUE(fromFile.is_10_10_orHigher());
    EXPECT_TRUE(fromFile.is_10_11_orHigher());
    EXPECT_FALSE(fromFile.is_10_12_orHigher());
    EXPECT_FALSE(fromFile.is_10_14_orHigher());
    // Missing or unreadable file: unknown, and every flag holds.
    for (const std::string& path : {dir / "missing.plist", dir.writeFile("bad.plist", "garbage")}) {
        MacOSVersion unknown(path);
        EXPECT_FALSE(unknown.version().has_value());
        EXPECT_TRUE(unknown.is_10_14_orHigher());
    }
}

}  // namespace
