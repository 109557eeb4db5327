#pragma once

#include <optional>
#include <string>

// The user's folders, fixed when the object is made. The home folder comes
// from the password database, never from the environment: inside a sandbox
// the environment's home can point into a container.
class PathsGenerator {
public:
    static PathsGenerator& GetInstance();

    // For tests and tools that need another user's layout.
    PathsGenerator(std::string userName, std::string homeDirectory,
                   std::optional<std::string> applicationSupportBase = std::nullopt);

    const std::string& userName() const { return m_sUserName; }
    const std::string& getHomeDirectory() const { return m_sHomeDirectory; }
    const std::string& buildTrashDirectory() const { return m_sUserTrashDirectory; }
    const std::string& buildUserApplicationsDirectory() const {
        return m_sUserApplicationDirectory;
    }
    const std::string& buildUserDownloadsDirectory() const { return m_sUserDownloadsDirectory; }
    const std::string& buildUserLibraryDirectory() const { return m_sUserLibraryDirectory; }
    const std::string& buildUserApplicationSupportDirectory() const {
        return m_sUserApplicationSupportDirectory;
    }
    const std::string& buildUserPreferencePanesDirectory() const {
        return m_sUserPreferencePanesDirectory;
    }

    // The home desktop Trash (the folder holding "files" and "info") under the
    // XDG data folder; nil when that folder is unknown.
    std::optional<std::string> buildHomeTrashDirectory() const;

    // Whether the path lies inside a Trash folder, any of them (see
    // TrashFolders); false for nil.
    bool pathInTrash(const std::optional<std::string>& path) const;
    // The system's per-user application-support folder joined with the
    // running program's bundle identifier; nil when either is unknown.
    std::optional<std::string> buildApplicationFolderPathInApplicationSupport() const;
    // That folder joined with `name`, created with its parents; nil without a base.
    std::optional<std::string> buildFolderInApplicationSupportWithName(
        const std::string& name) const;
    // "~/x" becomes the home folder joined with "x"; anything else, a bare "~"
    // and "~user/..." included, is answered unchanged.
    std::string expandTildeInPath(const std::string& path) const;

private:
    std::string m_sUserName;
    std::string m_sHomeDirectory;
    std::string m_sUserApplicationDirectory;
    std::string m_sUserTrashDirectory;
    std::string m_sUserDownloadsDirectory;
    std::string m_sUserLibraryDirectory;
    std::string m_sUserApplicationSupportDirectory;
    std::string m_sUserPreferencePanesDirectory;
    std::optional<std::string> m_sSystemApplicationSupportDirectory;
};
