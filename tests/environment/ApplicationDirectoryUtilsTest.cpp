#include <gtest/gtest.h>

#include "environment/ApplicationDirectoryUtils.h"
#include "support/TempDir.h"

namespace {

using ApplicationDirectoryUtils::parentAppPathForPath;
using ApplicationDirectoryUtils::parentBundlePathForPath;

TEST(ApplicationDirectoryUtils, EnclosingApplicationAndWhatCountsAsOne) {
    testsupport::TempDir dir;
    dir.makeDir("Applications/X.app/Contents/MacOS");
    dir.makeDir("Main.app/Contents/Library/LoginItems/Helper.app/Contents/MacOS");
    dir.makeDir("Tools/Pane.prefPane/Contents/Resources/en.lproj");
    dir.makeDir("Tools/Inner.app/Contents/PlugIns/Driver.KEXT/Contents/MacOS");
    dir.writeFile("Files/fake.app/inside/file");  // fake.app is a folder too, so an application
    const std::optional<std::string> none;
    const struct {
        std::optional<std::string> path, app, bundle;
    } cases[] = {
        // The path itself and its parent are never the answer.
        {dir / "Applications/X.app/Contents", none, none},
        {dir / "Applications/X.app", none, none},
        {dir / "Applications/X.app/Contents/MacOS", dir / "Applications/X.app",
         dir / "Applications/X.app"},
        // The outermost application wins.
        {dir / "Main.app/Contents/Library/LoginItems/Helper.app/Contents/MacOS", dir / "Main.app",
         dir / "Main.app"},
        {dir / "Tools/Pane.prefPane/Contents/Resources/en.lproj", none,
         dir / "Tools/Pane.prefPane"},
        // Whichever comes first along the path answers the bundle question.
        {dir / "Tools/Inner.app/Contents/PlugIns/Driver.KEXT/Contents/MacOS",
         dir / "Tools/Inner.app", dir / "Tools/Inner.app"},
        {dir / "Files/fake.app/inside/file", dir / "Files/fake.app", dir / "Files/fake.app"},
        {"/", none, none},
        {"/a", none, none},
        {"", none, none},
        {none, none, none},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(parentAppPathForPath(c.path), c.app) << c.path.value_or("nil");
        EXPECT_EQ(parentBundlePathForPath(c.path), c.bundle) << c.path.value_or("nil");
    }

    dir.writeFile("file.app");
    const std::pair<std::optional<std::string>, bool> apps[] = {
        {dir / "Applications/X.app", true},
        {dir / "Applications", false},
        {dir / "file.app", false},
        {dir / "missing.app", false},
        {none, false},
        {"", false},
    };
    for (const auto& [path, expected] : apps) {
        EXPECT_EQ(ApplicationDirectoryUtils::isApplicationAtPath(path), expected)
            << path.value_or("nil");
    }
    EXPECT_TRUE(
        ApplicationDirectoryUtils::isApplicationAtURL("file://" + dir / "Applications/X.app"));
    EXPECT_FALSE(ApplicationDirectoryUtils::isApplicationAtURL(none));
}

}  // namespace
