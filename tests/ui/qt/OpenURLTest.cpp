#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <thread>

#include "platform/OpenURL.h"
#include "support/SampleBundle.h"
#include "support/TempDir.h"

namespace {

using namespace std::chrono_literals;

// An opener that writes what it was given to a file beside itself.
std::string makeOpener(const testsupport::TempDir& folder) {
    const std::string opener =
        folder.writeFile("bin/xdg-open", "#!/bin/sh\nprintf '%s' \"$1\" > \"" + folder.path() +
                                             "/opened.tmp\"\n" + "mv \"" + folder.path() +
                                             "/opened.tmp\" \"" + folder.path() + "/opened\"\n");
    ::chmod(opener.c_str(), 0755);
    return folder / "bin";
}

// Help opens through the first opener on the path that no other user could
// have planted; a doubtful URL or a path without an opener starts nothing.
TEST(OpenURLTest, OnlyASoundURLReachesTheFirstTrustedOpenerOnThePath) {
    testsupport::TempDir folder;
    const std::string bin = makeOpener(folder);
    EXPECT_FALSE(platform::Workspace::openURL("https://example.com", folder / "nothing"));
    EXPECT_FALSE(platform::Workspace::openURL("https://example.com", ""));
    EXPECT_FALSE(platform::Workspace::openURL("", bin));
    EXPECT_FALSE(platform::Workspace::openURL("--help", bin));
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(testsupport::readFile(folder / "opened"), "");

    const std::string url = "https://www.example.com/help/a page?x=1&y=2";
    // A loose folder first on the path holds an opener another user planted.
    testsupport::TempDir loose;
    makeOpener(loose);
    ::chmod(loose.path().c_str(), 0777);
    const auto trust = testsupport::trustInside(folder);
    ASSERT_TRUE(platform::Workspace::openURL(
        url, "relative/bin:" + (loose / "bin") + ":" + folder.path() + ":" + bin, trust));

    // The opener runs detached; wait for its answer with a deadline.
    const auto deadline = std::chrono::steady_clock::now() + testsupport::kPatience;
    std::string opened;
    while (opened.empty() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(10ms);
        opened = testsupport::readFile(folder / "opened");
    }
    EXPECT_EQ(opened, url);
    EXPECT_EQ(testsupport::readFile(loose / "opened"), "");
}

}  // namespace
