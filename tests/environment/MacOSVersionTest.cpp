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
    const auto version = [](const std::string& field) {
        return field == "-" ? std::nullopt : std::optional<std::string>(field);
    };
    for (const auto& row : testsupport::readDataTable("MacOSVersion/has-version.tsv")) {
        EXPECT_EQ(
            MacOSVersion::withVersion(version(row.at(0)))
                .isMacOSHasVersion(version(row.at(1)), row.at(2) == "yes", row.at(3) == "yes"),
            row.at(4) == "yes")
            << testsupport::describeRow(row);
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
