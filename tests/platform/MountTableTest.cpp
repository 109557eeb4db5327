#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/MountTable.h"
#include "support/DataTable.h"
#include "support/TempDir.h"

namespace {

using platform::MountPoint;
namespace MountTable = platform::MountTable;

TEST(MountTable, ReadsMountPointsDecodedAndLeavesOutTheKernelsOwn) {
    // Escapes decoded; cut or NUL-holding names, relative mount points and lines
    // without a type are unreadable; the last line has no newline.
    const std::string table = testsupport::readFile(testsupport::dataPath("MountTable/mountinfo"));
    const std::vector<MountPoint> expected = {
        {"/", "ext4"}, {"/media/u/My Disk", "vfat"}, {"/tmp/a\\b\tc", "tmpfs"}, {"/last", "tmpfs"}};
    EXPECT_EQ(MountTable::parse(table), expected);
    EXPECT_FALSE(MountTable::current().empty());
}

// Only a Trash this user alone controls counts; the shared ".Trash" must be a
// sticky real folder, as the desktop's Trash rules have it.
TEST(MountTable, TrashOfAMountIsOnlyOneTheUserAloneControls) {
    const uid_t me = ::getuid();
    const std::string own = ".Trash-" + std::to_string(me);
    const std::string inShared = ".Trash/" + std::to_string(me);
    // A folder of that mode, a link to `link`, or with neither a file; of
    // another user when `another`. "." is the top folder itself.
    struct Made {
        std::string path;
        mode_t mode = 0;
        std::string link = {};
        bool another = false;
    };
    struct Case {
        const char* what;
        std::vector<Made> made;
        std::optional<std::string> trash;  // relative to the top folder
        bool ownedByAnother = false;       // the own .Trash-uid
    };
    const std::vector<Case> cases = {
        {"nothing", {}, std::nullopt},
        {"own .Trash-uid", {{own, 0700}}, own},
        {"sticky .Trash with uid folder",
         {{".Trash", 01777}, {inShared, 0700}, {own, 0700}},
         inShared},
        {".Trash not sticky: the own one", {{".Trash", 0777}, {inShared, 0700}, {own, 0700}}, own},
        {".Trash a link",
         {{"real", 01777}, {"real/" + std::to_string(me), 0700}, {".Trash", 0, "real"}},
         std::nullopt},
        {".Trash-uid a link", {{"mine", 0700}, {own, 0, "mine"}}, std::nullopt},
        {".Trash-uid writable by others", {{own, 0777}}, std::nullopt},
        {".Trash-uid a file", {{own}}, std::nullopt},
        {".Trash-uid of another owner", {{own, 0700}}, std::nullopt, true},
        // Whoever may rename what lies on the way could swap the Trash.
        {"top folder of another owner", {{".", 0755, {}, true}, {own, 0700}}, std::nullopt},
        {"top folder open to all", {{".", 0777}, {own, 0700}}, std::nullopt},
        {"top folder sticky and open to all", {{".", 01777}, {own, 0700}}, own},
        {"sticky .Trash of another owner",
         {{".Trash", 01777, {}, true}, {inShared, 0700}},
         std::nullopt},
        {"sticky .Trash of another owner: the own one",
         {{".Trash", 01777, {}, true}, {inShared, 0700}, {own, 0700}},
         own},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        testsupport::TempDir top;
        for (const Made& made : c.made) {
            const std::string path = made.path == "." ? top.path() : top / made.path;
            if (!made.link.empty()) {
                top.makeSymlink(made.path, top / made.link);
            } else if (made.mode == 0) {
                top.writeFile(made.path);
            } else {
                if (made.path != ".") top.makeDir(made.path);
                ::chmod(path.c_str(), made.mode);
            }
            if (made.another && ::chown(path.c_str(), me + 4242, me + 4242) != 0) {
                ::chmod(path.c_str(), 0777);  // not root: open to all fails the rule too
            }
        }
        if (c.ownedByAnother && ::chown((top / own).c_str(), me + 4242, me + 4242) != 0) {
            ::chmod((top / own).c_str(), 0770);  // not root: fail another way
        }
        const auto trash = MountTable::trashFolderOfMount(top.path(), me);
        EXPECT_EQ(trash, c.trash ? std::optional(top / *c.trash) : std::nullopt);
    }
}

}  // namespace
