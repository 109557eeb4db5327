#include "environment/PathsGenerator.h"

#include <unistd.h>

#include <cstdlib>

#include "environment/StringUtils.h"
#include "environment/TrashFolders.h"
#include "platform/Bundle.h"
#include "platform/FileSystem.h"
#include "platform/PasswordDatabase.h"
#include "platform/PathUtils.h"

namespace {

// The name of the process's user when the password database has no entry.
std::string fallbackUserName() {
    if (const char* user = std::getenv("USER"); user != nullptr && *user != '\0') return user;
    return std::to_string(getuid());
}

// The user-domain application-support folder of this platform: the XDG data
// folder, which is where desktop programs keep their own data.
std::optional<std::string> systemApplicationSupportDirectory(const std::string& home) {
    if (const char* data = std::getenv("XDG_DATA_HOME"); data != nullptr && data[0] == '/') {
        return std::string(data);
    }
    if (home.empty()) return std::nullopt;
    return platform::PathUtils::stringByAppendingPathComponent(home, ".local/share");
}

}  // namespace

PathsGenerator& PathsGenerator::GetInstance() {
    static PathsGenerator instance = [] {
        auto entry = platform::passwordEntryForCurrentUser();
        std::string name = entry ? entry->userName : std::string();
        std::string home = entry ? entry->homeDirectory : std::string();
        if (name.empty()) name = fallbackUserName();
        if (home.empty())
            home = platform::PathUtils::stringByAppendingPathComponent("/Users", name);
        auto support = systemApplicationSupportDirectory(home);
        return PathsGenerator(std::move(name), std::move(home), std::move(support));
    }();
    return instance;
}

PathsGenerator::PathsGenerator(std::string userName, std::string homeDirectory,
                               std::optional<std::string> applicationSupportBase)
    : m_sUserName(std::move(userName)),
      m_sHomeDirectory(std::move(homeDirectory)),
      m_sSystemApplicationSupportDirectory(std::move(applicationSupportBase)) {
    using platform::PathUtils::stringByAppendingPathComponent;
    m_sUserApplicationDirectory = stringByAppendingPathComponent(m_sHomeDirectory, "/Applications");
    m_sUserTrashDirectory = stringByAppendingPathComponent(m_sHomeDirectory, "/.Trash");
    m_sUserDownloadsDirectory = stringByAppendingPathComponent(m_sHomeDirectory, "Downloads");
    m_sUserLibraryDirectory = stringByAppendingPathComponent(m_sHomeDirectory, "Library");
    m_sUserApplicationSupportDirectory =
        stringByAppendingPathComponent(m_sUserLibraryDirectory, "Application Support");
    m_sUserPreferencePanesDirectory =
        stringByAppendingPathComponent(m_sUserLibraryDirectory, "PreferencePanes");
}

std::optional<std::string> PathsGenerator::buildHomeTrashDirectory() const {
    if (!m_sSystemApplicationSupportDirectory || m_sSystemApplicationSupportDirectory->empty()) {
        return std::nullopt;
    }
    return platform::PathUtils::stringByAppendingPathComponent(
        *m_sSystemApplicationSupportDirectory, "Trash");
}

bool PathsGenerator::pathInTrash(const std::optional<std::string>& path) const {
    return path && TrashFolders::isInAnyTrash(*this, *path);
}

std::optional<std::string> PathsGenerator::buildApplicationFolderPathInApplicationSupport() const {
    if (!m_sSystemApplicationSupportDirectory || m_sSystemApplicationSupportDirectory->empty()) {
        return std::nullopt;
    }
    auto bundle = platform::Bundle::mainBundle();
    if (!bundle) return std::nullopt;
    auto identifier = bundle->bundleIdentifier();
    if (!identifier || identifier->empty()) return std::nullopt;
    return platform::PathUtils::stringByAppendingPathComponent(
        *m_sSystemApplicationSupportDirectory, *identifier);
}

std::optional<std::string> PathsGenerator::buildFolderInApplicationSupportWithName(
    const std::string& name) const {
    auto base = buildApplicationFolderPathInApplicationSupport();
    if (!base) return std::nullopt;
    std::string folder = platform::PathUtils::stringByAppendingPathComponent(*base, name);
    platform::makePrivateFolders(folder);  // failure is deliberately not checked
    return folder;
}

std::string PathsGenerator::expandTildeInPath(const std::string& path) const {
    if (path.size() < 2 || path[0] != '~' || path[1] != '/') return path;
    return platform::PathUtils::stringByAppendingPathComponent(m_sHomeDirectory, path.substr(2));
}
