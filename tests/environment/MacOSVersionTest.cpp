#include "environment/MacOSVersion.h"

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace {

TEST(MacOSVersion, NumericComparisonTreatsDigitRunsAsNumbers) {
    struct Case {
        const char* a;
        const char* b;
        int expected;
    };
    const Case cases[] = {
        {"10.10", "10.9", 1},   {"10.9", "10.10", -1}, {"10.9", "10.9", 0},
        {"10.9", "10.9.0", -1}, {"10.9.0", "10.9", 1}, {"10.14.6", "10.14", 1},
        {"10.09", "10.9", 0},   {"9", "10", -1},       {"", "", 0},
        {"", "1", -1},          {"10.a", "10.b", -1},  {"123456789012345678901234", "9", 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(MacOSVersion::compareNumeric(c.a, c.b), c.expected) << c.a << " vs " << c.b;
    }
}

TEST(MacOSVersion, AnswersVersionQuestionsAgainstTheSystemVersion) {
    struct Case {
        std::optional<std::string> system;
        std::optional<std::string> asked;
        bool orLower;
        bool orHigher;
        bool expected;
    };
    const std::vector<Case> cases = {
        {"10.14.6", "10.14", false, true, true},
        {"10.14.6", "10.14", true, false, false},
        {"10.14.6", "10.9", false, false, false},
        {"10.14.6", "10.14.6", false, false, true},
        {"10.14.6", "10.14.6", true, false, true},
        {"10.14.6", "10.15", true, false, true},
        {"10.14.6", "11", true, true, true},  // both flags: always
        {"10.9", "10.10", false, true, false},
        {std::nullopt, "10.15", false, false, true},  // unknown system satisfies everything
        {"10.14.6", std::nullopt, true, false, true},  // nil version too
    };
    for (const auto& c : cases) {
        auto version = MacOSVersion::withVersion(c.system);
        EXPECT_EQ(version.isMacOSHasVersion(c.asked, c.orLower, c.orHigher), c.expected)
            << c.system.value_or("unknown") << " asked " << c.asked.value_or("nil") << " lower "
            << c.orLower << " higher " << c.orHigher;
    }
}

TEST(MacOSVersion, CachedFlagsFollowTheVersionReadFromTheVersionFile) {
    testsupport::TempDir dir;
    auto file = dir.writeFile("SystemVersion.plist",
                              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                              "<plist version=\"1.0\"><dict>"
                              "<key>ProductName</key><string>Mac OS X</string>"
                              "<key>ProductVersion</key><string>10.11.6</string>"
                              "</dict></plist>\n");
    MacOSVersion fromFile(file);
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
        EXPECT_TRUE(unknown.is_10_12_orHigher());
        EXPECT_TRUE(unknown.is_10_14_orHigher());
    }
}

TEST(MacOSVersion, SelfTestAsksEachVersionLowerThenHigher) {
    auto version = MacOSVersion::withVersion("10.9.4");
    const auto lines = version.runTests();
    ASSERT_EQ(lines.size(), 28u);
    EXPECT_EQ(lines[0], "< 10.8 = NO");
    EXPECT_EQ(lines[1], "> 10.8 = YES");
    EXPECT_EQ(lines[14], "< 10.9.4 = YES");
    EXPECT_EQ(lines[15], "> 10.9.4 = YES");
    EXPECT_EQ(lines[27], "> 10.10.4 = NO");
}

}  // namespace
