#include <gtest/gtest.h>

#include "core/RemovalPlan.h"
#include "environment/PathsGenerator.h"
#include "support/DataTable.h"
#include "support/TempDir.h"

namespace {

using mainapp::RemovalPlan;

// The rules hold whatever the list says and wherever links lead.
TEST(RemovalPlan, OnlyWhatLiesBelowTheHomesOwnFoldersIsEverMoved) {
    testsupport::TempDir root;
    const std::string home = root.makeDir("home");
    const std::string outside = root.makeDir("outside");
    root.writeFile("home/Library/Caches/com.example.x/Cache.db");
    root.makeSymlink("home/Library/Caches/to-etc", "/etc");
    root.makeSymlink("home/Library/Caches/out", outside);
    root.makeSymlink("home/Library/Caches/up", home + "/Library");
    root.makeSymlink("home/Library/Logs", home + "/Library/Preferences");
    for (const auto& row : testsupport::readDataTable("RemovalPlan/refusals.tsv")) {
        SCOPED_TRACE(row.at(0));
        const std::string path =
            row.at(1).starts_with("~") ? home + row.at(1).substr(1) : row.at(1);
        const auto why = mainapp::refusalFor(path, home);
        EXPECT_EQ(!why, row.at(2) == "yes") << path << ": " << why.value_or("allowed");
    }
    EXPECT_TRUE(mainapp::refusalFor(home + "/Library/Caches/y", ""));
}

std::shared_ptr<PathForRemove> entry(const std::string& path, int type, const char* id) {
    return std::make_shared<PathForRemove>(path, type, id);
}

TEST(RemovalPlan, ListsMergeByApplicationAndLeftoversStayWithTheirKind) {
    const std::string home = "/home/u";
    RemovalPlan plan(home, TrashFolders::ofHome(PathsGenerator("u", home)));
    std::string why;
    ASSERT_TRUE(
        plan.add({entry("/home/u/.Trash/Notes.app", 0, "com.ex.notes"),
                  entry("/home/u/Library/Caches/com.ex.notes", 8, "com.ex.notes"),
                  entry("/home/u/Library/Preferences/com.ex.notes.plist", 10, "com.ex.notes"),
                  entry("/etc", 8, "com.ex.notes"),
                  entry("/home/u/Applications/Mail.app", 0, "com.ex.mail")},
                 &why));
    // A second list: the same application again, with one leftover new, and another one.
    ASSERT_TRUE(plan.add({entry("/home/u/Library/Caches/com.ex.notes", 8, "com.ex.notes"),
                          entry("/home/u/Library/Saved Application State/com.ex.notes.savedState",
                                8, "com.ex.notes"),
                          entry("/home/u/Library/Caches/com.ex.paint", 8, "com.ex.paint")},
                         &why));
    ASSERT_EQ(plan.applications().size(), 3u);
    const auto& notes = plan.applications()[0];
    EXPECT_EQ(notes.name, "Notes");
    EXPECT_EQ(notes.bundlePath, "/home/u/.Trash/Notes.app");
    std::vector<std::string> kinds;
    for (const auto& leftover : notes.leftovers) kinds.push_back(leftover.kind);
    EXPECT_EQ(kinds, (std::vector<std::string>{"Caches", "Caches", "Preferences", "Saved State"}));
    EXPECT_EQ(notes.leftovers[1].path, "/etc");
    EXPECT_TRUE(notes.leftovers[1].refusal);
    EXPECT_FALSE(notes.leftovers[1].checked);
    // A bundle outside any Trash is shown, refused, and never the one named.
    const auto& mail = plan.applications()[1];
    EXPECT_EQ(mail.bundlePath, std::nullopt);
    ASSERT_EQ(mail.leftovers.size(), 1u);
    EXPECT_EQ(mail.leftovers[0].refusal, "it is an application outside the Trash");
    EXPECT_EQ(plan.applications()[2].name, "com.ex.paint");

    // A second "Notes" stored under another name in a desktop Trash is named by its trash info.
    testsupport::TempDir trash;
    trash.makeDir("files/Notes.app (1)");
    trash.writeFile(
        "info/Notes.app (1).trashinfo",
        "[Trash Info]\nPath=/home/u/Downloads/Notes.app\nDeletionDate=2026-11-25T10:00:00\n");
    trash.makeDir("files/Paint.2.app");
    RemovalPlan desktop(home, {{TrashFolder::Kind::Desktop, trash / "files", trash.path(), {}, {}}});
    ASSERT_TRUE(desktop.add({entry(trash / "files/Notes.app (1)", 0, "com.ex.notes"),
                             entry(trash / "files/Paint.2.app", 0, "com.ex.paint")},
                            &why));
    EXPECT_EQ(desktop.applications()[0].name, "Notes");
    EXPECT_EQ(desktop.applications()[1].name, "Paint.2") << "no trash info: the stored name";

    plan.applications()[0].leftovers[0].size = 1000;
    plan.applications()[0].leftovers[2].size = 20;
    plan.applications()[0].leftovers[2].checked = false;
    EXPECT_EQ(plan.checkedBytes(), 1000u);
    EXPECT_EQ(plan.pathsToMove().size(), 3u);  // /etc and the unchecked one are not moved
    EXPECT_EQ(mainapp::displayPath("/home/u/Library/Caches/x", home), "~/Library/Caches/x");
    EXPECT_EQ(mainapp::displayPath("/home/ux", home), "/home/ux");

    std::vector<std::shared_ptr<PathForRemove>> flood(RemovalPlan::kMaxEntries + 1,
                                                      entry("/home/u/Library/Caches/y", 8, "a.b"));
    EXPECT_FALSE(plan.add(flood, &why));
    EXPECT_NE(why.find("10001"), std::string::npos) << why;
    EXPECT_EQ(plan.applications().size(), 3u);
}

}  // namespace
