#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/TrashInfo.h"
#include "support/DataTable.h"
#include "support/TempDir.h"

namespace {

using platform::TrashInfo;

TEST(TrashInfo, ReadsOnlyAWholeValidInfoAndTheOriginalName) {
    for (const auto& row : testsupport::readDataTable("TrashInfo/parse.tsv")) {
        SCOPED_TRACE(testsupport::describeRow(row));
        const auto info = TrashInfo::parse(row.at(0));
        ASSERT_EQ(info.has_value(), !row.at(1).empty());
        if (!info) continue;
        EXPECT_EQ(info->path, row.at(1));
        EXPECT_EQ(info->deletionDate, row.at(2));
        EXPECT_EQ(info->originalName().value_or(""), row.at(3));
    }
    const std::string head = "[Trash Info]\nPath=/N.app\n";
    const std::string fill(TrashInfo::kMaxFileSize - head.size(), '#');
    EXPECT_TRUE(TrashInfo::parse(head + fill)) << "at the size limit";
    EXPECT_FALSE(TrashInfo::parse(head + fill + "#")) << "over the size limit";
}

// The info is read only from a small regular file of the Trash's own "info"
// folder, whatever the stored name says.
TEST(TrashInfo, ReadsTheItemsInfoFileOnly) {
    testsupport::TempDir trash;
    const std::string valid = "[Trash Info]\nPath=/home/u/Notes.app\n";
    trash.writeFile("info/Notes.2.app.trashinfo", valid);
    trash.writeFile("elsewhere.trashinfo", valid);
    trash.makeSymlink("info/Linked.app.trashinfo", trash / "elsewhere.trashinfo");
    trash.makeDir("info/Folder.app.trashinfo");
    ASSERT_EQ(::mkfifo((trash / "info/Fifo.app.trashinfo").c_str(), 0600), 0);
    trash.writeFile("info/Big.app.trashinfo", valid + std::string(TrashInfo::kMaxFileSize, '#'));

    const auto read = TrashInfo::readForItem(trash.path(), "Notes.2.app");
    ASSERT_TRUE(read);
    EXPECT_EQ(read->path, "/home/u/Notes.app");
    for (const char* stored :
         {"Linked.app", "Folder.app", "Fifo.app", "Big.app", "Missing.app", "../elsewhere", ".."}) {
        SCOPED_TRACE(stored);
        EXPECT_FALSE(TrashInfo::readForItem(trash.path(), stored));
    }
}

}  // namespace
