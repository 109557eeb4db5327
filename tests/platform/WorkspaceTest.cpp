#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

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
    EXPECT_TRUE(Workspace::runningApplicationsWithBundleIdentifier(id).empty());

    RunningSample first(app.executablePath);
    RunningSample second(app.executablePath);
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
    EXPECT_TRUE(Workspace::runningApplicationsWithBundleIdentifier("COM.EXAMPLE.RUNNING").empty());
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

TEST(Workspace, OpenFileStartsTheApplicationDetachedWithTheFile) {
    testsupport::TempDir dir;
    const auto byBundle = SampleApplication::make(dir, "ByBundle.app", uniqueId("ByBundle"));
    const auto byExecutable = SampleApplication::make(dir, "ByExe.app", uniqueId("ByExe"));
    const std::string file = dir.writeFile("list.txt", "x");

    const auto trust = testsupport::trustInside(dir);
    ASSERT_TRUE(Workspace::openFile(file, byBundle.bundlePath, trust));
    ASSERT_TRUE(Workspace::openFile(file, byExecutable.executablePath, trust));
    for (const auto* app : {&byBundle, &byExecutable}) {
        const auto record = app->waitForRecord();
        ASSERT_EQ(record.size(), 2u) << app->bundlePath;
        // Adopted by another process, so nothing is left for us to reap.
        EXPECT_NE(record[0], std::to_string(::getpid()));
        EXPECT_EQ(record[1], file);
    }
    errno = 0;
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(Workspace, OpenFileFailsWithoutARunnableProgram) {
    testsupport::TempDir dir;
    const auto app = SampleApplication::make(dir, "Sample.app", uniqueId("Sample"));
    const std::string notExecutable = dir.writeFile("plain.sh", "#!/bin/sh\nexit 0\n");
    const std::string noInterpreter = dir.writeFile("garbage", "\x7f\x01 not a program");
    ::chmod(noInterpreter.c_str(), 0755);
    testsupport::makeBundle(dir, "NoExe.app", {{"CFBundleIdentifier", "x"}});

    const auto trust = testsupport::trustInside(dir);
    const std::vector<std::string> applications = {
        dir / "Missing.app",
        dir / "NoExe.app",
        notExecutable,
        noInterpreter,
        "No Such Application " + std::to_string(::getpid()),
        ""};
    for (const std::string& application : applications) {
        EXPECT_FALSE(Workspace::openFile(app.bundlePath, application, trust)) << application;
    }
    EXPECT_EQ(Workspace::executableForApplication(app.bundlePath, trust), app.executablePath);
}

}  // namespace
