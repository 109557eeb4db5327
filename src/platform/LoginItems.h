#pragma once

#include <string>
#include <vector>

// Starting a program when the user logs in: an XDG autostart entry
// "<config>/autostart/<bundleIdentifier>.desktop", where <config> is
// $XDG_CONFIG_HOME when it is an absolute path, else "<home>/.config" with the
// home folder from the password database.
//
// When a package put a system-wide entry of that name in a folder of
// $XDG_CONFIG_DIRS (by default /etc/xdg), the user's entry of the same name
// overrides it: disabling writes one that says Hidden=true, enabling removes
// that override again, and the system's entry starts the program.
namespace platform::LoginItems {

// Writes (atomically) or removes the entry. True when the entry is then as
// asked: false for an identifier that cannot name a file, for enabling without
// an absolute executable path, or when the file cannot be written or removed.
// Removing an entry that does not exist succeeds.
bool setEnabled(const std::string& bundleIdentifier, const std::string& executablePath,
                bool enabled);
// Whether the entry exists and neither hides nor disables itself.
bool isEnabled(const std::string& bundleIdentifier);

// The same with the config folder given.
bool setEnabled(const std::string& configFolder, const std::string& bundleIdentifier,
                const std::string& executablePath, bool enabled);
bool isEnabled(const std::string& configFolder, const std::string& bundleIdentifier);

// The same with the system's config folders given too.
bool setEnabled(const std::string& configFolder, const std::vector<std::string>& systemFolders,
                const std::string& bundleIdentifier, const std::string& executablePath,
                bool enabled);
bool isEnabled(const std::string& configFolder, const std::vector<std::string>& systemFolders,
               const std::string& bundleIdentifier);

// The user's config folder as described above; empty when it cannot be found.
std::string userConfigFolder();
// The absolute folders of $XDG_CONFIG_DIRS, or /etc/xdg when it names none.
std::vector<std::string> systemConfigFolders();

// The Exec value that runs the program with no arguments: the path quoted as
// an Exec argument and then escaped as a desktop-entry string.
std::string execValueForPath(const std::string& executablePath);

}  // namespace platform::LoginItems
