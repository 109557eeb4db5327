#include "core/RemovalPlan.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "environment/LeftoverPlaces.h"
#include "platform/PathUtils.h"

namespace mainapp {

namespace {

constexpr std::int32_t kTypeBundle = 0;

std::vector<std::string_view> componentsOf(std::string_view path) {
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    while (start <= path.size()) {
        const std::size_t slash = std::min(path.find('/', start), path.size());
        parts.push_back(path.substr(start, slash - start));
        start = slash + 1;
    }
    return parts;
}

// `path` relative to `home` ("" for the home itself); nullopt when outside.
std::optional<std::string> relativeToHome(const std::string& path, const std::string& home) {
    if (path == home) return std::string();
    if (path.size() <= home.size() + 1 || path.compare(0, home.size(), home) != 0 ||
        path[home.size()] != '/') {
        return std::nullopt;
    }
    return path.substr(home.size() + 1);
}

std::optional<std::string> realPath(const std::string& path) {
    std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), std::free);
    if (!real) return std::nullopt;
    return std::string(real.get());
}

// Where in the home the path leads, or why it may not be used.
std::optional<std::string> refusalOfPlace(const std::string& path, const std::string& home) {
    const auto relative = relativeToHome(path, home);
    if (!relative) return "it is outside your home folder";
    if (relative->empty() || relative->find('/') == std::string::npos) {
        return "it is your home folder or a folder directly in it";
    }
    const auto parts = componentsOf(*relative);
    if ((parts.size() == 2 && parts[0] == "Library") ||
        LeftoverPlaces::holdsOtherApplicationsFiles(*relative)) {
        return "it is a folder that holds other applications' files";
    }
    // Only what the leftover search could have named: one entry directly in
    // one of the folders it looks in.
    if (!LeftoverPlaces::folderHolding(*relative)) {
        return "it is not a place where applications leave their files";
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> refusalFor(const std::string& path, const std::string& home) {
    if (home.size() < 2 || home[0] != '/' || home.back() == '/') return "there is no home folder";
    if (path.empty() || path[0] != '/' || path.back() == '/') return "it is not a full path";
    for (std::string_view part : componentsOf(std::string_view(path).substr(1))) {
        if (part.empty() || part == "." || part == "..") return "it is not a plain path";
    }
    if (auto why = refusalOfPlace(path, home)) return why;
    // The entry itself is moved, never what a link at its place leads to; the
    // folders above it must really be where the path says.
    const auto slash = path.find_last_of('/');
    const auto parent = realPath(path.substr(0, slash));
    const auto realHome = realPath(home);
    if (!parent || !realHome) return std::nullopt;  // nothing there to move
    if (auto why = refusalOfPlace(*parent + path.substr(slash), *realHome)) {
        return "its real location: " + *why;
    }
    struct stat info {};
    if (::lstat(path.c_str(), &info) == 0 && info.st_uid != ::getuid()) {
        return "it belongs to another user";
    }
    return std::nullopt;
}

std::string displayPath(const std::string& path, const std::string& home) {
    const auto relative = relativeToHome(path, home);
    if (!relative) return path;
    return relative->empty() ? "~" : "~/" + *relative;
}

std::string kindOf(const PathForRemove& entry, const std::string& home) {
    const auto relative = relativeToHome(entry.path(), home).value_or("");
    const auto inFolder = [&](std::string_view folder) {
        return relative.size() > folder.size() && relative.compare(0, folder.size(), folder) == 0 &&
               relative[folder.size()] == '/';
    };
    switch (entry.type()) {
        case kTypeBundle:
            return "Application";
        case 3:
            return inFolder("Library/LaunchAgents") ? "Launch Agents" : "Application Support";
        case 8:
            return inFolder("Library/Saved Application State") ? "Saved State" : "Caches";
        case 9:
            return "Containers";
        case 10:
            return "Preferences";
        case 11:
            return "Logs";
        case 12:
            return "Cookies";
        case 13:
            return "Crash Reports";
        default:
            return "Other Files";
    }
}

RemovalPlan::RemovalPlan(std::string home, std::vector<TrashFolder> trashFolders)
    : m_sHome(std::move(home)), m_arrTrashFolders(std::move(trashFolders)) {}

Application& RemovalPlan::applicationFor(const std::string& bundleId) {
    auto found = std::find_if(m_arrApplications.begin(), m_arrApplications.end(),
                              [&](const Application& app) { return app.bundleId == bundleId; });
    if (found != m_arrApplications.end()) return *found;
    Application& app = m_arrApplications.emplace_back();
    app.bundleId = bundleId;
    app.name = bundleId;
    return app;
}

bool RemovalPlan::add(const std::vector<std::shared_ptr<PathForRemove>>& entries,
                      std::string* why) {
    if (entries.size() > kMaxEntries) {
        if (why != nullptr) {
            *why = "The list holds " + std::to_string(entries.size()) + " entries, more than " +
                   std::to_string(kMaxEntries) + ": nothing in it was touched.";
        }
        return false;
    }
    for (const auto& entry : entries) {
        if (!entry) continue;
        Application& app = applicationFor(entry->bundleId());
        // The trashed application itself is only ever named, and only where
        // the leftover search finds one: in a Trash folder.
        const bool bundleInTrash =
            TrashFolders::folderHolding(m_arrTrashFolders, entry->path()) != nullptr;
        if (entry->type() == kTypeBundle && bundleInTrash) {
            app.bundlePath = entry->path();
            // Named as the user knew it, not as a desktop Trash stored it.
            const std::string name =
                TrashFolders::nameBeforeTrashing(m_arrTrashFolders, entry->path());
            app.name = platform::PathUtils::pathExtension(name) == "app"
                           ? platform::PathUtils::stringByDeletingPathExtension(name)
                           : name;
            continue;
        }
        const bool known = std::any_of(app.leftovers.begin(), app.leftovers.end(),
                                       [&](const Leftover& l) { return l.path == entry->path(); });
        if (known) continue;
        Leftover leftover;
        leftover.path = entry->path();
        leftover.kind = kindOf(*entry, m_sHome);
        leftover.refusal = entry->type() == kTypeBundle
                               ? std::optional<std::string>("it is an application outside the Trash")
                               : refusalFor(entry->path(), m_sHome);
        leftover.checked = !leftover.refusal;
        if (leftover.refusal) leftover.outcome = Outcome::Refused;
        // Kept next to the others of its kind, so that the window can group them.
        auto after = std::find_if(app.leftovers.rbegin(), app.leftovers.rend(),
                                  [&](const Leftover& l) { return l.kind == leftover.kind; });
        app.leftovers.insert(after == app.leftovers.rend() ? app.leftovers.end() : after.base(),
                             std::move(leftover));
    }
    return true;
}

std::uint64_t RemovalPlan::checkedBytes() const {
    std::uint64_t total = 0;
    for (const auto& app : m_arrApplications) {
        for (const auto& leftover : app.leftovers) {
            if (leftover.checked && leftover.outcome == Outcome::Pending) {
                total += leftover.size.value_or(0);
            }
        }
    }
    return total;
}

std::vector<std::string> RemovalPlan::pathsToMove() const {
    std::vector<std::string> paths;
    for (const auto& app : m_arrApplications) {
        for (const auto& leftover : app.leftovers) {
            if (leftover.checked && !leftover.refusal && leftover.outcome == Outcome::Pending) {
                paths.push_back(leftover.path);
            }
        }
    }
    return paths;
}

}  // namespace mainapp
