#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/Workspace.h"
#include "support/SampleBundle.h"
#include "support/TempDir.h"

namespace {

using testsupport::RunningSample;
using testsupport::SampleApplication;
namespace Workspace = platform::Workspace;

std::string uniqueId(const std::string& stem) {
    return "com.example." + stem + "-" + std::to_string(::getpid());
}

TEST(Workspace, FindsRunningScriptApplicationsOfThisUserByIdentifier) {
    testsupport::TempDir dir;
    const std::string id = uniqueId("Running");
    const auto app = SampleApplication::make(dir, "Running.app", id);
    const auto other = SampleApplication::make(dir, "Other.app", uniqueId("Other"));
    RunningSample first(app.executablePath), second(app.executablePath);
    RunningSample unrelated(other.executablePath);
    ASSERT_GT(first.pid(), 0);
    ASSERT_GT(second.pid(), 0);

    const auto running = Workspace::runningApplicationsWithBundleIdentifier(id);
    ASSERT_EQ(running.size(), 2u);
    EXPECT_EQ(running[0].processIdentifier, std::min(first.pid(), second.pid()));
    EXPECT_EQ(running[1].processIdentifier, std::max(first.pid(), second.pid()));
    EXPECT_EQ(running[0].bundleURL, app.bundlePath);
    EXPECT_EQ(running[0].executableURL, app.executablePath);
    // Identifiers match exactly here; another user's processes never count.
    EXPECT_TRUE(Workspace::runningApplicationsWithBundleIdentifier("COM.EXAMPLE.RUNNING-" +
                                                                   std::to_string(::getpid()))
                    .empty());
    EXPECT_TRUE(
        Workspace::runningApplicationsWithBundleIdentifier(id, "/proc", ::getuid() + 1).empty());
}

// Only the interpreter the script's "#!" line names, started on that script,
// runs it; a program that merely has the script on its command line does not.
TEST(Workspace, AScriptIsRunningOnlyUnderItsOwnInterpreter) {
    testsupport::TempDir dir;
    const std::string id = uniqueId("Named");
    const auto app = SampleApplication::make(dir, "Named.app", id);
    // A second script in the bundle that its Info.plist does not name.
    const std::string stray =
        dir.writeFile("Named.app/Contents/MacOS/Stray", "#!/bin/sh\nwhile :; do sleep 1; done\n");
    ::chmod(stray.c_str(), 0755);
    RunningSample reader("/usr/bin/tail", {"-f", app.executablePath});
    RunningSample unnamed(stray);
    ASSERT_GT(reader.pid(), 0);
    ASSERT_GT(unnamed.pid(), 0);
    EXPECT_TRUE(Workspace::runningApplicationsWithBundleIdentifier(id).empty());

    RunningSample real(app.executablePath);
    const auto running = Workspace::runningApplicationsWithBundleIdentifier(id);
    ASSERT_EQ(running.size(), 1u);
    EXPECT_EQ(running[0].processIdentifier, real.pid());
}

}  // namespace
