#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>

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

// Only the interpreter the script's "#!" line names, started on that script,
// runs it; a program that merely has the script on its command line does not.
TEST(Workspace, FindsRunningScriptApplicationsOfThisUserByIdentifier) {
    testsupport::TempDir dir;
    const std::string id = uniqueId("Running");
    const auto app = SampleApplication::make(dir, "Running.app", id);
    const auto other = SampleApplication::make(dir, "Other.app", uniqueId("Other"));
    // A second script in the bundle that its Info.plist does not name.
    const std::string stray =
        dir.writeFile("Running.app/Contents/MacOS/Stray", "#!/bin/sh\nwhile :; do sleep 1; done\n");
    ::chmod(stray.c_str(), 0755);
    RunningSample reader("/usr/bin/tail", {"-f", app.executablePath}), unnamed(stray);
    RunningSample unrelated(other.executablePath);
    ASSERT_GT(reader.pid(), 0);
    ASSERT_GT(unnamed.pid(), 0);
    EXPECT_TRUE(Workspace::runningApplicationsWithBundleIdentifier(id).empty());

    RunningSample first(app.executablePath), second(app.executablePath);
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

// An upgrade renames a new executable over the one a process runs: until the
// process hands over, it is still the application; a program deleted with
// nothing in its place is not.
TEST(Workspace, AProgramReplacedUnderItsProcessStillRunsTheApplication) {
    testsupport::TempDir dir;
    const std::string id = uniqueId("Replaced");
    testsupport::makeBundle(dir, "Replaced.app",
                            {{"CFBundleIdentifier", id}, {"CFBundleExecutable", "Sample"}});
    const std::string program = dir.makeDir("Replaced.app/Contents/MacOS") + "/Sample";
    const auto install = [&](const std::string& path) {
        std::filesystem::copy_file("/bin/sleep", path,
                                   std::filesystem::copy_options::overwrite_existing);
        ::chmod(path.c_str(), 0755);
    };
    install(program);
    RunningSample running(program, {"600"});
    ASSERT_GT(running.pid(), 0);

    struct Step {
        const char* what;
        std::function<void()> change;
        bool counts;
    };
    const std::vector<Step> steps = {
        {"as installed", [] {}, true},
        {"replaced by rename",
         [&] {
             install(program + ".new");
             ASSERT_EQ(std::rename((program + ".new").c_str(), program.c_str()), 0);
         },
         true},
        {"deleted", [&] { ::unlink(program.c_str()); }, false},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.what);
        step.change();
        const auto found = Workspace::runningApplicationsWithBundleIdentifier(id);
        ASSERT_EQ(found.size(), step.counts ? 1u : 0u);
        if (step.counts) {
            EXPECT_EQ(found[0].processIdentifier, running.pid());
            EXPECT_EQ(found[0].executableURL, program);
        }
    }
}

}  // namespace
