#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "platform/BundleTrust.h"

// Where the two applications leave messages for each other and how each
// finds the other. The standard environment is the real one; tests build
// their own so that they never reach a real application or folder.
struct MessageEnvironment {
    // The folder both ends write into: the private temporary folder with the
    // Helper's bundle identifier appended.
    std::string messageFolder;
    // The running Helper's single-instance socket, where commands go; empty
    // when there is no private temporary folder.
    std::string helperSocket;
    // How long a command waits for the Helper to take it.
    std::chrono::milliseconds commandTimeout{10000};
    std::string mainAppBundleId;
    std::string helperAppBundleId;
    // The running program's own bundle and its identifier; nullopt when the
    // program is not inside a bundle.
    std::optional<std::string> ownBundlePath;
    std::optional<std::string> ownBundleId;
    // The folders searched for installed applications.
    std::vector<std::string> applicationFolders;
    // Which copies may be started; tests move its root into their folder.
    platform::BundleTrust trust;

    static MessageEnvironment standard();

    // The executable of the first running copy with this identifier that
    // `trust` lets us start; nullopt when there is none.
    std::optional<std::string> runningCopyToStart(const std::string& bundleId) const;
    // The first installed copy in applicationFolders that `trust` lets us
    // start; nullopt when there is none.
    std::optional<std::string> installedCopyToStart(const std::string& bundleId) const;
    // The bundle when `trust` lets us start it.
    std::optional<std::string> startable(const std::optional<std::string>& bundlePath) const;
};
