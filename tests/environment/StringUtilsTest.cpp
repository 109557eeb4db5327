#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "environment/StringUtils.h"
#include "support/TempDir.h"

namespace {

TEST(StringUtilsTest, IsInFolderIsStrict) {
    const struct {
        const char* path;
        const char* folder;
        bool inside;
    } rows[] = {
        {"/a/b/c", "/a/b", true},   {"/a/bc", "/a/b", false},  // a sibling that shares the prefix
        {"/a/b", "/a/b", false},                               // the folder itself
        {"/a/b/c", "/a/b/", false},                            // trailing slash: kept strict
        {"/a/b/", "/a/b", true},    {"/A/b/c", "/a/b", false}, {"/a", "", false}, {"", "", false},
        {"/x", "/", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(StringUtils::isInFolder(row.path, row.folder), row.inside)
            << row.path << " in " << row.folder;
    }
}

TEST(StringUtilsTest, HasCaseInsensitiveSuffix) {
    const struct {
        std::string s;
        std::optional<std::string> suffix;
        bool expected;
    } rows[] = {
        {"Tool.prefPane", std::string(".prefpane"), true},
        {"driver.KEXT", std::string(".kext"), true},
        {"abc", std::string("ABC"), true},
        {"abc", std::string("xabc"), false},
        {"abc", std::string("b"), false},
        {"abc", std::nullopt, false},
        {"abc", std::string(), false},
        {"", std::string("a"), false},
        {"caf\xC3\xA9", std::string("F\xC3\xA9"), true},   // ASCII folded, the rest exact
        {"caf\xC3\xA9", std::string("F\xC3\x89"), false},  // "É" is not folded
        {"\xFF\xFE", std::string("\xFE"), true},           // stray bytes compare exactly
    };
    for (const auto& row : rows) {
        EXPECT_EQ(StringUtils::hasCaseInsensitiveSuffix(row.s, row.suffix), row.expected)
            << row.s << " / " << row.suffix.value_or("(nil)");
    }
}

TEST(StringUtilsTest, ReplacesOnlyTheFirstOccurrence) {
    const struct {
        const char* s;
        const char* target;
        const char* replacement;
        const char* expected;
    } rows[] = {
        {"a-b-c", "-", "+", "a+b-c"}, {"/Users/me/.Trash/X.app", "/Users/me/.Trash/", "", "X.app"},
        {"abc", "x", "y", "abc"},     {"abc", "", "y", "abc"},
        {"abc", "B", "y", "abc"},  // case-sensitive
        {"aaa", "aa", "b", "ba"},     {"", "a", "b", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(StringUtils::stringByReplacingFirstOccuranceOfString(row.s, row.target,
                                                                       row.replacement),
                  row.expected)
            << row.s;
    }
}

TEST(StringUtilsTest, FileSizeUsesTheByteCountText) {
    EXPECT_EQ(StringUtils::convertToStringFromFileSize(0), "Zero KB");
    EXPECT_EQ(StringUtils::convertToStringFromFileSize(1234567890), "1.23 GB");
}

TEST(StringUtilsTest, NameForCopiedFileSkipsTakenNames) {
    testsupport::TempDir temp;
    const std::string folder = temp.makeDir("dest");
    EXPECT_EQ(StringUtils::getNameForCopiedFile("Report.pdf", folder), "Report.pdf");

    temp.writeFile("dest/Report.pdf");
    EXPECT_EQ(StringUtils::getNameForCopiedFile("Report.pdf", folder), "Report 2.pdf");
    temp.writeFile("dest/Report 2.pdf");
    EXPECT_EQ(StringUtils::getNameForCopiedFile("Report.pdf", folder), "Report 3.pdf");

    temp.makeDir("dest/Notes");
    EXPECT_EQ(StringUtils::getNameForCopiedFile("Notes", folder), "Notes 2");

    // A dangling link still occupies its name.
    temp.makeSymlink("dest/Archive.tar.gz", temp / "missing");
    EXPECT_EQ(StringUtils::getNameForCopiedFile("Archive.tar.gz", folder), "Archive.tar 2.gz");

    // A hidden name has no extension to keep apart.
    temp.writeFile("dest/.profile");
    EXPECT_EQ(StringUtils::getNameForCopiedFile(".profile", folder), ".profile 2");
}

TEST(StringUtilsTest, DisplayName) {
    const struct {
        const char* path;
        const char* expected;
    } rows[] = {
        {"/Applications/Safari Tool.app", "Safari Tool"},
        {"/Users/me/.Trash/X.app/", "X"},
        {"/Users/me/Documents/Report.pdf", "Report.pdf"},
        {"/Users/me/.profile", ".profile"},
        {"/Volumes/Disk/My.App", "My.App"},
        {"/", "/"},
        {"", ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(StringUtils::getDisplayNameAtPath(row.path), row.expected) << row.path;
}

}  // namespace
