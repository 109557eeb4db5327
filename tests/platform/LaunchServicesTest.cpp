#include <gtest/gtest.h>

#include "platform/LaunchServices.h"
#include "platform/UserDefaults.h"
#include "support/SampleBundle.h"
#include "support/TempDir.h"

namespace {

using platform::LaunchServices::copiesOfBundleIdentifier;
using platform::LaunchServices::urlForApplicationWithBundleIdentifier;
using testsupport::SampleApplication;

TEST(LaunchServices, FindsCopiesInRootsAndPlainSubfoldersOnly) {
    testsupport::TempDir dir;
    const std::string id = "com.example.Copy";
    auto make = [&](const std::string& relative, const std::string& bundleId = "com.example.Copy") {
        return SampleApplication::make(dir, relative, bundleId).bundlePath;
    };
    const std::string first = make("A/Beta.app");
    const std::string upper = make("A/Alpha.APP", "COM.EXAMPLE.COPY");
    const std::string nested = make("A/Tools/Sub/Deeper/Nested.app");
    make("A/Tools/Sub/Deeper/TooDeep/Lost.app");
    make("A/Host.app/Contents/Applications/Inner.app");
    make("A/Plugin.bundle/Inner.app");
    testsupport::makeBundle(dir, "A/Plugin.bundle", {});
    make("A/.hidden/Hidden.app");
    make("A/Other.app", "com.example.Other");
    dir.writeFile("A/Broken.app/Contents/Info.plist", "not a property list");
    const std::string inB = make("B/Real.app");
    make("Elsewhere/Linked.app");
    dir.makeSymlink("A/LinkedFolder", dir / "Elsewhere");
    dir.makeSymlink("A/Zed.app", inB);  // the same bundle as B/Real.app

    const std::vector<std::string> roots = {dir / "A", dir / "B", dir / "Missing", dir / "A"};
    // Byte order puts "Alpha.APP" before "Beta.app"; Host.app counts itself.
    EXPECT_EQ(copiesOfBundleIdentifier(id, roots),
              (std::vector<std::string>{upper, first, nested, dir / "A/Zed.app"}));
    EXPECT_EQ(urlForApplicationWithBundleIdentifier(id, {dir / "B"}), inB);
    EXPECT_EQ(urlForApplicationWithBundleIdentifier("com.example.None", roots), std::nullopt);
    EXPECT_TRUE(copiesOfBundleIdentifier("", roots).empty());
}

TEST(LaunchServices, TheSettingsStoreAddsApplicationFolders) {
    using platform::LaunchServices::applicationFolders;
    platform::UserDefaults settings("");
    EXPECT_EQ(applicationFolders("/home/u", settings),
              (std::vector<std::string>{"/Applications", "/home/u/Applications"}));
    settings.setObject(
        platform::LaunchServices::kApplicationFoldersKey,
        platform::PlistArray{"/opt/apps/", "~/Apps", "relative", 42, "/Applications", "", "~",
                             "~other/x", "/home/u/Applications", "/opt/apps"});
    EXPECT_EQ(applicationFolders("/home/u", settings),
              (std::vector<std::string>{"/Applications", "/home/u/Applications", "/opt/apps",
                                        "/home/u/Apps"}));
    // Without a usable home nothing is looked for under it.
    for (const char* home : {"/", ""}) {
        EXPECT_EQ(applicationFolders(home, settings),
                  (std::vector<std::string>{"/Applications", "/opt/apps", "/home/u/Applications"}))
            << home;
    }
    // Anything but an array names nothing.
    settings.setObject(platform::LaunchServices::kApplicationFoldersKey, "/opt/apps");
    EXPECT_EQ(applicationFolders("/home/u", settings).size(), 2u);
}

}  // namespace
