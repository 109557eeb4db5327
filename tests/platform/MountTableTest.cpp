#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

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
    const auto withId = [&](std::string text) {
        for (auto at = text.find('@'); at != std::string::npos; at = text.find('@'))
            text.replace(at, 1, std::to_string(me));
        return text;
    };
    // Not root: a folder cannot be given away, and is made to fail the rule
    // another way.
    const auto giveAway = [&](const std::string& path, mode_t otherwise) {
        if (::chown(path.c_str(), me + 4242, me + 4242) != 0) ::chmod(path.c_str(), otherwise);
    };
    for (const auto& row : testsupport::readDataTable("MountTable/trash-of-mount.tsv")) {
        SCOPED_TRACE(testsupport::describeRow(row));
        testsupport::TempDir top;
        std::istringstream made(withId(row.at(1)));
        for (std::string item; made >> item;) {
            const auto equals = item.find('='), arrow = item.find("->");
            const std::string relative = item.substr(0, std::min(equals, arrow));
            const std::string path = relative == "." ? top.path() : top / relative;
            if (arrow != std::string::npos) {
                top.makeSymlink(relative, top / item.substr(arrow + 2));
            } else if (equals == std::string::npos) {
                top.writeFile(relative);
            } else {
                if (relative != ".") top.makeDir(relative);
                ::chmod(path.c_str(), std::stoul(item.substr(equals + 1), nullptr, 8));
                if (item.ends_with('!')) giveAway(path, 0777);
            }
        }
        if (row.size() > 3 && row[3] == "another") giveAway(top / withId(".Trash-@"), 0770);
        const auto trash = MountTable::trashFolderOfMount(top.path(), me);
        EXPECT_EQ(trash, row.at(2).empty() ? std::nullopt : std::optional(top / withId(row.at(2))));
    }
}

}  // namespace
