#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/TrashInfo.h"
#include "support/TempDir.h"

namespace {

using platform::TrashInfo;

// What the trashing programs write, and what others may leave instead.
TEST(TrashInfo, ReadsOnlyAWholeValidInfo) {
    struct Case {
        const char* what;
        std::string text;
        std::optional<std::string> path;
        std::string date = {};
    };
    const std::string big(TrashInfo::kMaxFileSize, '#');
    const std::vector<Case> cases = {
        {"as written on the desktop",
         "[Trash Info]\nPath=/home/u/Downloads/Notes.app\nDeletionDate=2026-11-24T10:00:00\n",
         "/home/u/Downloads/Notes.app", "2026-11-24T10:00:00"},
        {"escapes decoded", "[Trash Info]\nPath=/home/u/My%20Apps/Caf%C3%A9%25.app\n",
         "/home/u/My Apps/Café%.app"},
        {"relative on a disk, CRLF, blanks and comments",
         "# written by hand\r\n\r\n[Trash Info]\r\nDeletionDate=x\r\n# "
         "c\r\nPath=Apps/Notes.app\r\n",
         "Apps/Notes.app", "x"},
        {"spaces around =, unknown keys and later groups ignored",
         "[Trash Info]\nPath = /a/N.app\nSize=1\nNoEquals\n[Other]\nPath=/b\n", "/a/N.app"},
        {"a + is a plus", "[Trash Info]\nPath=/a/C++.app\n", "/a/C++.app"},
        {"empty", "", std::nullopt},
        {"no group", "Path=/a/N.app\n", std::nullopt},
        {"another group first", "[Desktop Entry]\n[Trash Info]\nPath=/a/N.app\n", std::nullopt},
        {"group misspelt", "[Trash info]\nPath=/a/N.app\n", std::nullopt},
        {"no Path", "[Trash Info]\nDeletionDate=2026-11-24T10:00:00\n", std::nullopt},
        {"empty Path", "[Trash Info]\nPath=\n", std::nullopt},
        {"two Paths", "[Trash Info]\nPath=/a/N.app\nPath=/b/M.app\n", std::nullopt},
        {"Path in a later group only", "[Trash Info]\n[More]\nPath=/a/N.app\n", std::nullopt},
        {"cut escape", "[Trash Info]\nPath=/a/N.app%2\n", std::nullopt},
        {"escape not hex", "[Trash Info]\nPath=/a/%zzN.app\n", std::nullopt},
        {"escaped NUL", "[Trash Info]\nPath=/a/%00N.app\n", std::nullopt},
        {"NUL byte", std::string("[Trash Info]\nPath=/a/N.app\n\0", 28), std::nullopt},
        {"at the size limit", "[Trash Info]\nPath=/N.app\n" + big.substr(0, big.size() - 25),
         "/N.app"},
        {"over the size limit", "[Trash Info]\nPath=/N.app\n" + big, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto info = TrashInfo::parse(c.text);
        ASSERT_EQ(info.has_value(), c.path.has_value());
        if (!info) continue;
        EXPECT_EQ(info->path, *c.path);
        EXPECT_EQ(info->deletionDate, c.date);
    }
}

TEST(TrashInfo, OriginalNameIsThePathsLastComponent) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> cases = {
        {"/home/u/Notes.app", "Notes.app"},
        {"Apps/Notes.app/", "Notes.app"},
        {"Notes.app", "Notes.app"},
        {"/", std::nullopt},
        {"/a/..", std::nullopt},
        {"/a/.", std::nullopt},
    };
    for (const auto& [path, name] : cases) {
        SCOPED_TRACE(path);
        EXPECT_EQ((TrashInfo{path, ""}.originalName()), name);
    }
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
