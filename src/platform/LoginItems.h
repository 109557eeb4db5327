#pragma once

#include <string>

// Starting a program when the user logs in: an XDG autostart entry
// "<config>/autostart/<bundleIdentifier>.desktop", where <config> is
// $XDG_CONFIG_HOME when it is an absolute path, else "<home>/.config" with the
// home folder from the password database.
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

// The user's config folder as described above; empty when it cannot be found.
std::string userConfigFolder();

// The Exec value that runs the program with no arguments: the path quoted as
// an Exec argument and then escaped as a desktop-entry string.
std::string execValueForPath(const std::string& executablePath);

}  // namespace platform::LoginItems
