#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "platform/FileResources.h"
#include "support/DataTable.h"
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

TEST(FileResources, ValuesDescribeTheEntryItselfAndTheKindTestsFollowLinks) {
    Sample sample;
    const TempDir& dir = sample.dir;
    for (const auto& row : testsupport::readDataTable("FileResources/sample-entries.tsv")) {
        ASSERT_EQ(row.size(), 9u);
        SCOPED_TRACE(row[0]);
        const std::string path = dir / row[0];
        EXPECT_EQ(platform::isApplicationAtPath(path), row[7] == "1");
        EXPECT_EQ(platform::isFilePackageAtPath(path), row[8] == "1");
        const auto values = platform::resourceValuesForPath(path);
        ASSERT_EQ(values.has_value(), row[1] != "-");
        if (!values) continue;
        const bool flags[] = {values->isDirectory, values->isSymbolicLink, values->isRegularFile,
                              values->isApplication, values->isPackage};
        for (int i = 0; i < 5; ++i) EXPECT_EQ(flags[i], row[1 + i] == "1") << "column " << 1 + i;
        EXPECT_EQ(values->linkCount, std::stoull(row[6]));
        EXPECT_FALSE(values->isImmutable);
    }
    EXPECT_FALSE(platform::resourceValuesForPath("").has_value());

    const auto file = platform::resourceValuesForPath(dir / "file.txt");
    EXPECT_EQ(file->fileSize, 5000u);
    EXPECT_GE(file->totalFileAllocatedSize, 4096u) << "written data takes whole blocks";
    EXPECT_EQ(file->totalFileAllocatedSize % 512, 0u);
}

}  // namespace
