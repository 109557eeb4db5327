#include "platform/BundleTrust.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "platform/Bundle.h"
#include "platform/PathUtils.h"

namespace platform {

namespace {

bool isInside(const std::string& path, const std::string& folder) {
    if (folder == "/") return path.size() > 1 && path.front() == '/';
    return path.size() > folder.size() + 1 && path.compare(0, folder.size(), folder) == 0 &&
           path[folder.size()] == '/';
}

}  // namespace

BundleTrust::FileSystem BundleTrust::FileSystem::real() {
    FileSystem fileSystem;
    fileSystem.resolve = [](const std::string& path) -> std::optional<std::string> {
        if (path.empty()) return std::nullopt;
        char* resolved = ::realpath(path.c_str(), nullptr);
        if (resolved == nullptr) return std::nullopt;
        std::string answer(resolved);
        std::free(resolved);
        return answer;
    };
    fileSystem.lstat = [](const std::string& path) -> std::optional<struct stat> {
        struct stat info {};
        if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
        return info;
    };
    return fileSystem;
}

BundleTrust::BundleTrust() : BundleTrust(::getuid(), "/") {}

BundleTrust::BundleTrust(uid_t uid, std::string trustedRoot, FileSystem fileSystem)
    : m_nUid(uid), m_fileSystem(std::move(fileSystem)) {
    // A root that cannot be resolved stops nothing early: the walk then goes
    // all the way up, which is the stricter answer.
    m_sTrustedRoot = m_fileSystem.resolve(trustedRoot).value_or("/");
}

bool BundleTrust::isSafeEntry(const struct stat& info) const {
    const bool owned = info.st_uid == m_nUid || info.st_uid == 0;
    return owned && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool BundleTrust::isSharedStickyFolder(const struct stat& info) const {
    return S_ISDIR(info.st_mode) && (info.st_uid == 0 || info.st_uid == m_nUid) &&
           (info.st_mode & S_ISVTX) != 0;
}

bool BundleTrust::isTrustedPath(const std::string& path) const {
    const auto resolved = m_fileSystem.resolve(path);
    if (!resolved || resolved->empty() || resolved->front() != '/') return false;
    std::string current = *resolved;
    for (bool first = true;; first = false) {
        const auto info = m_fileSystem.lstat(current);
        if (!info) return false;
        // The sticky bit keeps others from swapping the entry below, which
        // has passed the rule already; the path itself never gets this leave.
        if (!isSafeEntry(*info) && (first || !isSharedStickyFolder(*info))) return false;
        const bool acceptedType = S_ISDIR(info->st_mode) || (first && S_ISREG(info->st_mode));
        if (!acceptedType) return false;
        if (current == "/" || current == m_sTrustedRoot) return true;
        current = PathUtils::stringByDeletingLastPathComponent(current);
        if (current.empty()) return false;
    }
}

std::optional<std::string> BundleTrust::trustedExecutableOfBundle(
    const std::string& bundlePath) const {
    const auto bundleFolder = m_fileSystem.resolve(bundlePath);
    if (!bundleFolder) return std::nullopt;
    auto bundle = Bundle::bundleWithPath(*bundleFolder);
    if (!bundle) return std::nullopt;
    const std::string executable = bundle->executablePath();
    if (executable.empty()) return std::nullopt;
    const auto resolved = m_fileSystem.resolve(executable);
    // A link from inside the bundle to a program elsewhere is refused: the
    // bundle would then vouch for a file it does not hold.
    if (!resolved || !isInside(*resolved, *bundleFolder)) return std::nullopt;
    const auto info = m_fileSystem.lstat(*resolved);
    if (!info || !S_ISREG(info->st_mode) || !isTrustedPath(*resolved)) return std::nullopt;
    return resolved;
}

std::optional<std::string> BundleTrust::trustedProgram(const std::string& application) const {
    const auto resolved = m_fileSystem.resolve(application);
    if (!resolved) return std::nullopt;
    const auto info = m_fileSystem.lstat(*resolved);
    if (!info) return std::nullopt;
    if (S_ISDIR(info->st_mode)) return trustedExecutableOfBundle(*resolved);
    if (S_ISREG(info->st_mode) && isTrustedPath(*resolved)) return resolved;
    return std::nullopt;
}

}  // namespace platform
