#include "platform/OpenURL.h"

#include <unistd.h>

#include <cstdlib>

#include "platform/Workspace.h"

namespace platform::Workspace {

namespace {

constexpr const char* kOpener = "xdg-open";

// The first executable `name` in the folders of `searchPath` that may be
// started; empty when none. One that another user could have put there is
// passed over, as if it were not there.
std::string findExecutable(const std::string& name, const std::string& searchPath,
                           const BundleTrust& trust) {
    std::size_t start = 0;
    while (start <= searchPath.size()) {
        std::size_t end = searchPath.find(':', start);
        if (end == std::string::npos) end = searchPath.size();
        const std::string folder = searchPath.substr(start, end - start);
        // An empty entry means the current folder to a shell; an agent started
        // from "/" has no business running programs from there.
        if (!folder.empty() && folder.front() == '/') {
            const std::string candidate = folder + "/" + name;
            if (::access(candidate.c_str(), X_OK) == 0 && trust.trustedProgram(candidate)) {
                return candidate;
            }
        }
        start = end + 1;
    }
    return {};
}

}  // namespace

bool openURL(const std::string& url) {
    const char* path = std::getenv("PATH");
    return openURL(url, path ? path : "/usr/local/bin:/usr/bin:/bin");
}

bool openURL(const std::string& url, const std::string& searchPath, const BundleTrust& trust) {
    // A leading "-" would be read as an option by the opener.
    if (url.empty() || url.front() == '-') return false;
    const std::string opener = findExecutable(kOpener, searchPath, trust);
    if (opener.empty()) return false;
    // The opener runs detached, like any application started for a file.
    return openFile(url, opener, trust);
}

}  // namespace platform::Workspace
