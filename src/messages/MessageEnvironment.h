#pragma once

#include <optional>
#include <string>
#include <vector>

// Where the two applications leave messages for each other and how each
// finds the other. The standard environment is the real one; tests build
// their own so that they never reach a real application or folder.
struct MessageEnvironment {
    // The folder both ends write into: the private temporary folder with the
    // Helper's bundle identifier appended.
    std::string messageFolder;
    std::string mainAppBundleId;
    std::string helperAppBundleId;
    // The running program's own bundle and its identifier; nullopt when the
    // program is not inside a bundle.
    std::optional<std::string> ownBundlePath;
    std::optional<std::string> ownBundleId;
    // The folders searched for installed applications.
    std::vector<std::string> applicationFolders;

    static MessageEnvironment standard();
};
