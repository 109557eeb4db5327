#include "environment/PathsGenerator.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/TempDir.h"

namespace {

TEST(PathsGenerator, BuildsTheUserFoldersFromTheHomeFolder) {
    PathsGenerator paths("alice", "/home/alice/");
    EXPECT_EQ(paths.userName(), "alice");
    EXPECT_EQ(paths.buildTrashDirectory(), "/home/alice/.Trash");
    EXPECT_EQ(paths.buildUserApplicationsDirectory(), "/home/alice/Applications");
    EXPECT_EQ(paths.buildUserDownloadsDirectory(), "/home/alice/Downloads");
    EXPECT_EQ(paths.buildUserLibraryDirectory(), "/home/alice/Library");
    EXPECT_EQ(paths.buildUserApplicationSupportDirectory(), "/home/alice/Library/Application Support");
    EXPECT_EQ(paths.buildUserPreferencePanesDirectory(), "/home/alice/Library/PreferencePanes");
}

TEST(PathsGenerator, TildeAndTrashQuestions) {
    PathsGenerator paths("alice", "/home/alice");
    struct Case {
        std::string in;
        std::string expanded;
    };
    const Case tilde[] = {
        {"~", "~"},
        {"~/", "/home/alice"},
        {"~/Documents/x.txt", "/home/alice/Documents/x.txt"},
        {"~bob/x", "~bob/x"},
        {"/tmp/~/x", "/tmp/~/x"},
        {"", ""},
    };
    for (const auto& c : tilde) EXPECT_EQ(paths.expandTildeInPath(c.in), c.expanded) << c.in;

    EXPECT_FALSE(paths.pathInTrash(std::nullopt));
    EXPECT_FALSE(paths.pathInTrash("/home/alice/.Trash"));
    EXPECT_FALSE(paths.pathInTrash("/home/alice/.TrashCan/x.app"));
    EXPECT_TRUE(paths.pathInTrash("/home/alice/.Trash/x.app"));
}

TEST(PathsGenerator, TheRealUserComesFromThePasswordDatabase) {
    auto& paths = PathsGenerator::GetInstance();
    EXPECT_FALSE(paths.userName().empty());
    EXPECT_EQ(paths.getHomeDirectory().front(), '/');
    EXPECT_EQ(paths.buildTrashDirectory(), paths.getHomeDirectory() + "/.Trash");
}

TEST(PathsGenerator, ApplicationSupportFolderNeedsABase) {
    testsupport::TempDir dir;
    PathsGenerator noBase("alice", "/home/alice", std::nullopt);
    EXPECT_FALSE(noBase.buildApplicationFolderPathInApplicationSupport());
    EXPECT_FALSE(noBase.buildFolderInApplicationSupportWithName("Cache"));
}

}  // namespace
