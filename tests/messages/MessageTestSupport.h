#pragma once

#include <unistd.h>

#include <string>
#include <vector>

#include "messages/MessageEnvironment.h"
#include "messages/PathForRemove.h"
#include "support/SampleBundle.h"

namespace testsupport {

// Entries as "type path bundleId size" lines ("-" for a size not
// calculated), so that lists compare field for field in one step.
inline std::vector<std::string> describe(
    const std::vector<std::shared_ptr<PathForRemove>>& entries) {
    std::vector<std::string> lines;
    for (const auto& e : entries) {
        lines.push_back(std::to_string(e->type()) + " " + e->path() + " " + e->bundleId() + " " +
                        (e->isSizeCalculated() ? std::to_string(e->getSize()) : "-"));
    }
    return lines;
}

// Messages kept inside the test's folder: identifiers no real application
// has, the shared folder and the application folder in `dir`, and trust that
// stops at `dir`.
inline MessageEnvironment sampleEnvironment(const TempDir& dir, const std::string& stem) {
    MessageEnvironment environment;
    environment.messageFolder = dir / "shared";
    environment.mainAppBundleId = "com.example." + stem + "Main-" + std::to_string(::getpid());
    environment.helperAppBundleId = "com.example." + stem + "Helper-" + std::to_string(::getpid());
    environment.applicationFolders = {dir / "Applications"};
    environment.trust = trustInside(dir);
    return environment;
}

}  // namespace testsupport
