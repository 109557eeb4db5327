#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/BundleTrust.h"

// Running and starting applications.
namespace platform::Workspace {

// A process of this user that runs an application bundle's executable.
struct RunningApplication {
    pid_t processIdentifier = 0;
    // The ".app" folder.
    std::string bundleURL;
    // The bundle's executable the process runs.
    std::string executableURL;
};

// The processes of the real user whose program is the executable of an
// application bundle (Contents/MacOS/<executable> directly in a "*.app"
// folder) with exactly this identifier, by increasing process id. The program
// is the process's executable file or, for a script, the script when the
// process's executable is the interpreter its "#!" line names and the script
// is the first argument after the interpreter's options. A process whose
// executable was replaced by another file at the same path (an upgrade) runs
// the program at that path. Whether a copy may
// be started is not looked at here (see BundleTrust).
std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(
    const std::string& bundleId);
// The same over another process folder (tests give a fake one).
std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(
    const std::string& bundleId, const std::string& procFolder, uid_t uid);

// Starts the application with the file as its only argument and returns at
// once: the application runs in a session of its own, from "/", with
// standard input from /dev/null, and is not our child (no zombie is left and
// nobody waits for it). `application` is an application bundle (its
// executable is run), an executable file, or the bare name of an application
// in the application folders ("Name" or "Name.app"). True when the program
// was started; false when there is no such application or it could not be
// executed, or when `trust` refuses it. An empty `path` starts the
// application with no argument.
bool openFile(const std::string& path, const std::string& application,
              const BundleTrust& trust = BundleTrust());

// The program openFile would run for `application` (links resolved); empty
// when there is none or it may not be run.
std::string executableForApplication(const std::string& application,
                                     const BundleTrust& trust = BundleTrust());

}  // namespace platform::Workspace
