#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "environment/StringUtils.h"
#include "support/DataTable.h"
#include "support/TempDir.h"

namespace {

TEST(StringUtilsTest, PathAndNameQuestions) {
    for (const auto& row : testsupport::readDataTable("StringUtils/cases.tsv")) {
        SCOPED_TRACE(testsupport::describeRow(row));
        const std::string& what = row.at(0);
        if (what == "inFolder") {
            EXPECT_EQ(StringUtils::isInFolder(row.at(1), row.at(2)), row.at(3) == "yes");
        } else if (what == "suffix") {
            EXPECT_EQ(StringUtils::hasCaseInsensitiveSuffix(row.at(1), row.at(2)),
                      row.at(3) == "yes");
        } else if (what == "displayName") {
            EXPECT_EQ(StringUtils::getDisplayNameAtPath(row.at(1)), row.at(2));
        } else {
            ADD_FAILURE() << "unknown question";
        }
    }
    EXPECT_FALSE(StringUtils::hasCaseInsensitiveSuffix("abc", std::nullopt));
    EXPECT_EQ(StringUtils::convertToStringFromFileSize(0), "Zero KB");
    EXPECT_EQ(StringUtils::convertToStringFromFileSize(1234567890), "1.23 GB");
}

// A copy's name skips whatever is there, a dangling link too.
TEST(StringUtilsTest, NameForACopyIsTheFirstFreeOne) {
    testsupport::TempDir folder;
    folder.writeFile("Report.pdf");
    folder.makeSymlink("Report 2.pdf", folder / "gone");
    folder.makeDir("Notes");
    for (const auto& [name, free] : {std::pair{"Report.pdf", "Report 3.pdf"},
                                     {"Notes", "Notes 2"},
                                     {"Draft.pdf", "Draft.pdf"}}) {
        EXPECT_EQ(StringUtils::getNameForCopiedFile(name, folder.path()), free) << name;
    }
}

}  // namespace
