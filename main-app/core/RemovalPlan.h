#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "environment/TrashFolders.h"
#include "messages/PathForRemove.h"

// What the Main application is asked to remove, as the user reviews it: the
// removal lists it was opened with, merged by application, each leftover
// judged by the safety rules before anything may touch it.
namespace mainapp {

// Why a path from a list must not be acted on; nullopt when it may be moved
// to the Trash. The rules hold whatever the list says: only one entry
// directly inside one of the folders the leftover search looks in
// (LeftoverPlaces), whose real location (the links above it resolved) is
// still such a place, and which is the user's own. `home` is the user's home
// folder as an absolute path.
std::optional<std::string> refusalFor(const std::string& path, const std::string& home);

// The path as the user reads it: the home folder shown as "~".
std::string displayPath(const std::string& path, const std::string& home);

// The kind of leftover as a key of the window's texts ("Caches",
// "Saved State", "Launch Agents"…): the list's type code, told apart further
// by the Library folder the path lies in where one code covers several.
std::string kindOf(const PathForRemove& entry, const std::string& home);

enum class Outcome { Pending, Moved, AlreadyGone, Refused, Failed };

struct Leftover {
    std::string path;
    std::string kind;
    std::optional<std::uint64_t> size;  // unknown until the walk answers
    bool checked = true;
    // Why it is never acted on (a refused leftover is never checked).
    std::optional<std::string> refusal;
    Outcome outcome = Outcome::Pending;
    std::string detail;  // the reason of a failure
};

struct Application {
    std::string bundleId;
    std::string name;
    std::optional<std::string> bundlePath;  // the trashed bundle, left alone
    std::vector<Leftover> leftovers;        // grouped by kind, in list order within one
};

class RemovalPlan {
public:
    // More entries than this in one list are taken for a fault or an attack:
    // the whole list is refused.
    static constexpr std::size_t kMaxEntries = 10000;

    // `trashFolders`: where the trashed applications of the lists may lie.
    explicit RemovalPlan(std::string home, std::vector<TrashFolder> trashFolders = {});

    // Adds one list's entries: an application seen before gets the new
    // leftovers it did not have. False, with `why` set and nothing added,
    // when the list is refused whole.
    bool add(const std::vector<std::shared_ptr<PathForRemove>>& entries, std::string* why);

    const std::vector<Application>& applications() const { return m_arrApplications; }
    std::vector<Application>& applications() { return m_arrApplications; }
    const std::string& home() const { return m_sHome; }

    // The bytes of the checked leftovers whose size is known.
    std::uint64_t checkedBytes() const;
    // The paths "Move to Trash" acts on: checked, not refused, not yet moved.
    std::vector<std::string> pathsToMove() const;

private:
    Application& applicationFor(const std::string& bundleId);

    std::string m_sHome;
    std::vector<TrashFolder> m_arrTrashFolders;
    std::vector<Application> m_arrApplications;
};

}  // namespace mainapp
