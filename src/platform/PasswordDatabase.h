#pragma once

#include <optional>
#include <string>

// The user account as the password database records it. The home folder is
// taken from here only, never from $HOME, so that a changed environment
// cannot point the agent at someone else's files.
namespace platform {

struct PasswordEntry {
    std::string userName;
    std::string homeDirectory;
};

// The entry of the process's real user; nullopt when the database has none.
std::optional<PasswordEntry> passwordEntryForCurrentUser();

// The entry of the named user; nullopt when there is no such user.
std::optional<PasswordEntry> passwordEntryForUserName(const std::string& userName);

// The current user's home folder, "" when the database has no entry.
std::string homeFromPasswordDatabase();

// Whether searches relative to `home` stay among the user's own files: an
// absolute path that is not the root folder, neither by its name ("/", "//",
// "/x/..") nor by what it leads to (a link to "/"). Accounts of services
// often have "/" as their home, and "~/Library" would then be the system's.
bool isUsableHomeDirectory(const std::string& home);

}  // namespace platform
