#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "platform/FileResources.h"
#include "support/TempDir.h"

namespace {

using testsupport::TempDir;

// A folder with one of everything the resource values tell apart.
struct Sample {
    TempDir dir;
    Sample() {
        dir.writeFile("file.txt", std::string(5000, 'x'));
        ::link((dir / "file.txt").c_str(), (dir / "second-name").c_str());
        dir.makeDir("folder/one");
        dir.makeDir("folder/two");
        dir.writeFile("Tool.app/Contents/Info.plist");
        dir.makeDir("Shout.APP");
        dir.makeDir("Kit.framework");
        dir.makeDir("Settings.prefPane");
        dir.writeFile("Plain/Contents/Info.plist");
        dir.makeDir("en.lproj");
        dir.writeFile("not-a-folder.app");
        dir.makeSymlink("link-to-folder", dir / "folder");
        dir.makeSymlink("Linked.app", dir / "Tool.app");
        dir.makeSymlink("alias", dir / "Tool.app");
        dir.makeSymlink("dangling", dir / "gone");
        dir.makeSymlink("Dangling.app", dir / "gone.app");
        ::mkfifo((dir / "pipe").c_str(), 0600);
    }
};

TEST(FileResources, ValuesDescribeTheEntryItself) {
    Sample sample;
    const TempDir& dir = sample.dir;
    struct Row {
        std::string name;
        bool directory, link, regular, application, package;
        std::uint64_t linkCount;
    };
    const std::vector<Row> rows = {
        {"file.txt", false, false, true, false, false, 2},
        {"folder", true, false, false, false, false, 1},
        {"Tool.app", true, false, false, true, true, 1},
        {"Shout.APP", true, false, false, true, true, 1},
        {"Kit.framework", true, false, false, false, true, 1},
        {"Settings.prefPane", true, false, false, false, true, 1},
        {"Plain", true, false, false, false, true, 1},
        {"en.lproj", true, false, false, false, false, 1},
        {"not-a-folder.app", false, false, true, false, false, 1},
        {"link-to-folder", false, true, false, false, false, 1},
        {"link-to-folder/", false, true, false, false, false, 1},
        {"Linked.app", false, true, false, false, false, 1},
        {"dangling", false, true, false, false, false, 1},
        {"pipe", false, false, false, false, false, 1},
    };
    for (const Row& row : rows) {
        const auto values = platform::resourceValuesForPath(dir / row.name);
        ASSERT_TRUE(values.has_value()) << row.name;
        EXPECT_EQ(values->isDirectory, row.directory) << row.name;
        EXPECT_EQ(values->isSymbolicLink, row.link) << row.name;
        EXPECT_EQ(values->isRegularFile, row.regular) << row.name;
        EXPECT_EQ(values->isApplication, row.application) << row.name;
        EXPECT_EQ(values->isPackage, row.package) << row.name;
        EXPECT_EQ(values->linkCount, row.linkCount) << row.name;
        EXPECT_FALSE(values->isImmutable) << row.name;
    }
    EXPECT_FALSE(platform::resourceValuesForPath(dir / "gone").has_value());
    EXPECT_FALSE(platform::resourceValuesForPath("").has_value());

    const auto file = platform::resourceValuesForPath(dir / "file.txt");
    EXPECT_EQ(file->fileSize, 5000u);
    EXPECT_GE(file->totalFileAllocatedSize, 4096u) << "written data takes whole blocks";
    EXPECT_EQ(file->totalFileAllocatedSize % 512, 0u);
}

TEST(FileResources, ApplicationAndPackageTestsFollowLinks) {
    Sample sample;
    const TempDir& dir = sample.dir;
    struct Row {
        std::string name;
        bool application, package;
    };
    const std::vector<Row> rows = {
        {"Tool.app", true, true},
        {"Shout.APP", true, true},
        {"Kit.framework", false, true},
        {"Settings.prefPane", false, true},
        {"Plain", false, true},
        {"en.lproj", false, false},
        {"folder", false, false},
        {"not-a-folder.app", false, false},
        {"Linked.app", true, true},
        {"alias", false, true},
        {"Dangling.app", false, false},
        {"missing.app", false, false},
        {"Tool.app/Contents", false, false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(platform::isApplicationAtPath(dir / row.name), row.application) << row.name;
        EXPECT_EQ(platform::isFilePackageAtPath(dir / row.name), row.package) << row.name;
    }
}

}  // namespace
