#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/MountTable.h"
#include "support/Isolated.h"
#include "support/TempDir.h"

namespace {

using platform::MountPoint;
namespace MountTable = platform::MountTable;

TEST(MountTable, ReadsMountPointsDecodedAndLeavesOutTheKernelsOwn) {
    const std::string table =
        "22 27 0:21 / /proc rw,relatime - proc proc rw\n"
        "27 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
        "60 27 8:17 / /media/u/My\\040Disk rw,nosuid master:3 master:4 - vfat /dev/sdb1 rw\n"
        "61 27 0:40 / /snap/core/1 ro - squashfs /dev/loop0 ro\n"
        "62 27 0:41 / /tmp/a\\134b\\011c rw - tmpfs none rw\n"
        "garbage without the separator\n"
        "63 27 0:42 / /cut\\04 rw - tmpfs none rw\n"
        "64 27 0:43 / relative rw - tmpfs none rw\n"
        "65 27 0:44 / /nul\\000 rw - tmpfs none rw\n"
        "66 27 0:45 / /no-type rw -\n" +
        std::string("68 27 0:47 / /raw\0nul rw - tmpfs none rw\n", 41) +
        "67 27 0:46 / /last rw - tmpfs none rw";
    const std::vector<MountPoint> expected = {
        {"/", "ext4"}, {"/media/u/My Disk", "vfat"}, {"/tmp/a\\b\tc", "tmpfs"}, {"/last", "tmpfs"}};
    EXPECT_EQ(MountTable::parse(table), expected);
    EXPECT_FALSE(MountTable::current().empty());
}

// Only a Trash this user alone controls counts; the shared ".Trash" must be a
// sticky real folder, as the desktop's Trash rules have it.
TEST(MountTable, TrashOfAMountIsOnlyOneTheUserAloneControls) {
    const uid_t me = ::getuid();
    const uid_t other = me + 4242;
    const std::string uid = std::to_string(me);
    struct Case {
        const char* what;
        std::function<void(const testsupport::TempDir&)> make;
        std::optional<std::string> trash;  // relative to the top folder
    };
    const auto folder = [](const testsupport::TempDir& top, const std::string& path, mode_t mode) {
        ::chmod(top.makeDir(path).c_str(), mode);
    };
    const std::vector<Case> cases = {
        {"nothing", [](auto&) {}, std::nullopt},
        {"own .Trash-uid", [&](auto& top) { folder(top, ".Trash-" + uid, 0700); }, ".Trash-" + uid},
        {"sticky .Trash with uid folder",
         [&](auto& top) {
             folder(top, ".Trash", 01777);
             folder(top, ".Trash/" + uid, 0700);
             folder(top, ".Trash-" + uid, 0700);
         },
         ".Trash/" + uid},
        {".Trash not sticky: the own one",
         [&](auto& top) {
             folder(top, ".Trash", 0777);
             folder(top, ".Trash/" + uid, 0700);
             folder(top, ".Trash-" + uid, 0700);
         },
         ".Trash-" + uid},
        {".Trash a link",
         [&](auto& top) {
             folder(top, "real", 01777);
             folder(top, "real/" + uid, 0700);
             top.makeSymlink(".Trash", top / "real");
         },
         std::nullopt},
        {".Trash-uid a link",
         [&](auto& top) {
             folder(top, "mine", 0700);
             top.makeSymlink(".Trash-" + uid, top / "mine");
         },
         std::nullopt},
        {".Trash-uid writable by others", [&](auto& top) { folder(top, ".Trash-" + uid, 0777); },
         std::nullopt},
        {".Trash-uid a file", [&](auto& top) { top.writeFile(".Trash-" + uid); }, std::nullopt},
        {".Trash-uid of another owner",
         [&](auto& top) {
             folder(top, ".Trash-" + uid, 0700);
             if (::chown((top / (".Trash-" + uid)).c_str(), other, other) != 0) {
                 ::chmod((top / (".Trash-" + uid)).c_str(), 0770);  // not root: fail another way
             }
         },
         std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        testsupport::TempDir top;
        c.make(top);
        const auto trash = MountTable::trashFolderOfMount(top.path(), me);
        EXPECT_EQ(trash, c.trash ? std::optional(top / *c.trash) : std::nullopt);
    }
}

// A mount and an unmount are each told; a quiet table and an interrupt are not.
TEST(MountTableChanges, TellsMountsAndUnmounts) {
    const auto failure = testsupport::runIsolated([]() -> std::string {
        testsupport::TempDir dir;
        auto changes = platform::MountTableChanges::create();
        if (!changes) return "no watch on the mount table";
        using namespace std::chrono_literals;
        if (changes->wait(20ms)) return "a change before any mount";
        if (::mount("none", dir.path().c_str(), "tmpfs", 0, nullptr) != 0) return "mount failed";
        if (!changes->wait(2s)) return "the mount was not told";
        if (changes->wait(20ms)) return "one mount told twice";
        changes->interrupt();
        if (changes->wait(2s)) return "an interrupt told as a change";
        if (::umount(dir.path().c_str()) != 0) return "umount failed";
        if (!changes->wait(2s)) return "the unmount was not told";
        return {};
    });
    if (!failure) GTEST_SKIP() << "no private mount namespace here";
    EXPECT_EQ(*failure, "");
}

}  // namespace
