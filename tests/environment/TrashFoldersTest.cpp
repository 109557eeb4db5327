#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "environment/PathsGenerator.h"
#include "environment/TrashFolders.h"
#include "support/DataTable.h"
#include "support/TempDir.h"

namespace {

TEST(TrashFolders, AnyTrashOfAnyoneIsTrash) {
    const PathsGenerator paths("alice", "/home/alice", "/home/alice/.local/share");
    EXPECT_FALSE(paths.pathInTrash(std::nullopt));
    for (const auto& row : testsupport::readDataTable("TrashFolders/any-trash.tsv")) {
        SCOPED_TRACE(row.at(0));
        EXPECT_EQ(TrashFolders::isInAnyTrash(paths, row.at(0)), row.at(1) == "yes");
        EXPECT_EQ(paths.pathInTrash(row.at(0)), row.at(1) == "yes");
    }
}

// The home's two folders always, and a disk's only where it has a Trash of
// this user's own.
TEST(TrashFolders, SetHoldsTheHomesFoldersAndEachDisksOwnTrash) {
    testsupport::TempDir place;
    const PathsGenerator paths("alice", place / "home", place / "home/.local/share");
    const std::string uid = std::to_string(::getuid());
    ::chmod(place.makeDir("usb/.Trash-" + uid + "/files").c_str(), 0700);
    ::chmod((place / ("usb/.Trash-" + uid)).c_str(), 0700);
    place.makeDir("bare");
    const std::vector<platform::MountPoint> mounts = {
        {place / "usb", "vfat"}, {place / "bare", "ext4"}, {place / "usb", "vfat"}};

    const auto folders = TrashFolders::all(paths, mounts, ::getuid());
    const std::string desktop = place / "home/.local/share/Trash";
    const std::string usb = place / ("usb/.Trash-" + uid);
    const std::vector<TrashFolder> expected = {
        {TrashFolder::Kind::Home, place / "home/.Trash", {}, {}, {}},
        {TrashFolder::Kind::Desktop, desktop + "/files", desktop, {}, {}},
        {TrashFolder::Kind::Volume, usb + "/files", usb, place / "usb",
         platform::CheckedFolder::open(usb)},
    };
    EXPECT_EQ(folders, expected);
    const auto* holder = TrashFolders::folderHolding(folders, usb + "/files/Notes.app");
    ASSERT_TRUE(holder);
    EXPECT_EQ(holder->kind, TrashFolder::Kind::Volume);
    EXPECT_FALSE(TrashFolders::folderHolding(folders, usb + "/info/Notes.app.trashinfo"));

    const PathsGenerator withoutDataHome("alice", place / "home");
    EXPECT_EQ(TrashFolders::ofHome(withoutDataHome).size(), 1U);
}

}  // namespace
