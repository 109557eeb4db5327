#include <gtest/gtest.h>

#include "environment/PathsGenerator.h"

namespace {

TEST(PathsGenerator, UserFoldersTildeAndTrashQuestions) {
    PathsGenerator paths("alice", "/home/alice/", std::nullopt);
    EXPECT_EQ(paths.buildTrashDirectory(), "/home/alice/.Trash");
    EXPECT_EQ(paths.buildUserApplicationSupportDirectory(),
              "/home/alice/Library/Application Support");
    const std::pair<std::string, std::string> tilde[] = {
        {"~", "~"},
        {"~/", "/home/alice"},
        {"~/Documents/x.txt", "/home/alice/Documents/x.txt"},
        {"~bob/x", "~bob/x"},
        {"/tmp/~/x", "/tmp/~/x"},
        {"", ""},
    };
    for (const auto& [in, expanded] : tilde) EXPECT_EQ(paths.expandTildeInPath(in), expanded) << in;

    EXPECT_FALSE(paths.pathInTrash(std::nullopt));
    EXPECT_FALSE(paths.pathInTrash("/home/alice/.Trash"));
    EXPECT_FALSE(paths.pathInTrash("/home/alice/.TrashCan/x.app"));
    EXPECT_TRUE(paths.pathInTrash("/home/alice/.Trash/x.app"));
    // Without a base folder there is no application support folder to build.
    EXPECT_FALSE(paths.buildApplicationFolderPathInApplicationSupport());
    EXPECT_FALSE(paths.buildFolderInApplicationSupportWithName("Cache"));

    auto& real = PathsGenerator::GetInstance();  // from the password database
    EXPECT_FALSE(real.userName().empty());
    EXPECT_EQ(real.buildTrashDirectory(), real.getHomeDirectory() + "/.Trash");
}

}  // namespace
