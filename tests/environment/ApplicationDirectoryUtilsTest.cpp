#include "environment/ApplicationDirectoryUtils.h"

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace {

using ApplicationDirectoryUtils::parentAppPathForPath;
using ApplicationDirectoryUtils::parentBundlePathForPath;

TEST(ApplicationDirectoryUtils, EnclosingApplicationSkipsThePathAndItsParent) {
    testsupport::TempDir dir;
    dir.makeDir("Applications/X.app/Contents/MacOS");
    dir.makeDir("Main.app/Contents/Library/LoginItems/Helper.app/Contents/MacOS");
    dir.makeDir("Tools/Pane.prefPane/Contents/Resources/en.lproj");
    dir.makeDir("Tools/Inner.app/Contents/PlugIns/Driver.KEXT/Contents/MacOS");
    dir.writeFile("Files/fake.app/inside/file");  // fake.app is a folder too, so an application

    struct Case {
        std::string path;
        std::optional<std::string> app;
        std::optional<std::string> bundle;
    };
    const std::string root = dir.path();
    const std::vector<Case> cases = {
        {root + "/Applications/X.app/Contents", std::nullopt, std::nullopt},
        {root + "/Applications/X.app/Contents/MacOS", root + "/Applications/X.app",
         root + "/Applications/X.app"},
        {root + "/Applications/X.app", std::nullopt, std::nullopt},
        // The outermost application wins.
        {root + "/Main.app/Contents/Library/LoginItems/Helper.app/Contents/MacOS",
         root + "/Main.app", root + "/Main.app"},
        {root + "/Tools/Pane.prefPane/Contents/Resources/en.lproj", std::nullopt,
         root + "/Tools/Pane.prefPane"},
        // Whichever comes first along the path answers the bundle question.
        {root + "/Tools/Inner.app/Contents/PlugIns/Driver.KEXT/Contents/MacOS", root + "/Tools/Inner.app",
         root + "/Tools/Inner.app"},
        {root + "/Files/fake.app/inside/file", root + "/Files/fake.app", root + "/Files/fake.app"},
        {"/", std::nullopt, std::nullopt},
        {"/a", std::nullopt, std::nullopt},
        {"", std::nullopt, std::nullopt},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(parentAppPathForPath(c.path), c.app) << c.path;
        EXPECT_EQ(parentBundlePathForPath(c.path), c.bundle) << c.path;
    }
    EXPECT_EQ(parentAppPathForPath(std::nullopt), std::nullopt);
    EXPECT_EQ(parentBundlePathForPath(std::nullopt), std::nullopt);
}

TEST(ApplicationDirectoryUtils, ApplicationTest) {
    testsupport::TempDir dir;
    dir.makeDir("A.app");
    dir.makeDir("Plain");
    dir.writeFile("file.app");
    dir.makeSymlink("Link.app", dir / "A.app");
    struct Case {
        std::optional<std::string> path;
        bool expected;
    };
    const std::vector<Case> cases = {
        {dir / "A.app", true},      {dir / "Plain", false},      {dir / "file.app", false},
        {dir / "missing.app", false}, {std::nullopt, false},     {"", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ApplicationDirectoryUtils::isApplicationAtPath(c.path), c.expected)
            << c.path.value_or("nil");
    }
    EXPECT_TRUE(ApplicationDirectoryUtils::isApplicationAtURL("file://" + dir / "A.app"));
    EXPECT_FALSE(ApplicationDirectoryUtils::isApplicationAtURL(std::nullopt));
}

}  // namespace
