#include "platform/LoginItems.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/PasswordDatabase.h"

namespace platform::LoginItems {

namespace {

constexpr const char* kGroupHeader = "[Desktop Entry]";
// An autostart entry is a few lines; a larger file is no entry of ours.
constexpr std::size_t kMaxEntrySize = 64 * 1024;

// The identifier becomes a file name, so it must be one.
bool isUsableIdentifier(const std::string& identifier) {
    if (identifier.empty() || identifier == "." || identifier == "..") return false;
    for (unsigned char c : identifier) {
        if (c == '/' || c < 0x20 || c == 0x7f) return false;
    }
    return true;
}

std::string entryPath(const std::string& configFolder, const std::string& identifier) {
    return configFolder + "/autostart/" + identifier + ".desktop";
}

// Escapes for a value of type string: a backslash and the control characters
// that would break the line.
std::string escapeString(const std::string& value) {
    std::string out;
    out.reserve(value.size());
    for (char c : value) {
        switch (c) {
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\t':
                out += "\\t";
                break;
            case '\r':
                out += "\\r";
                break;
            default:
                out += c;
        }
    }
    return out;
}

std::string trim(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    const std::size_t last = text.find_last_not_of(" \t\r");
    return text.substr(first, last - first + 1);
}

bool hasSystemEntry(const std::vector<std::string>& systemFolders, const std::string& identifier) {
    struct stat info {};
    for (const std::string& folder : systemFolders) {
        if (::stat(entryPath(folder, identifier).c_str(), &info) == 0 && S_ISREG(info.st_mode)) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::string userConfigFolder() {
    // Relative values are invalid by the XDG rules and must be ignored.
    const char* configHome = std::getenv("XDG_CONFIG_HOME");
    if (configHome != nullptr && configHome[0] == '/') return configHome;
    const std::string home = platform::homeFromPasswordDatabase();
    return home.empty() ? std::string() : home + "/.config";
}

std::string execValueForPath(const std::string& executablePath) {
    // An argument quoted in whole needs only these four escaped inside the
    // quotes, and "%" doubled because it starts a field code. The reader
    // undoes the string escapes first, so they are applied last.
    std::string quoted = "\"";
    for (char c : executablePath) {
        if (c == '"' || c == '`' || c == '$' || c == '\\') quoted += '\\';
        quoted += c;
        if (c == '%') quoted += '%';
    }
    quoted += '"';
    return escapeString(quoted);
}

std::vector<std::string> systemConfigFolders() {
    std::vector<std::string> folders;
    const char* dirs = std::getenv("XDG_CONFIG_DIRS");
    for (std::string rest = dirs != nullptr ? dirs : ""; !rest.empty();) {
        const std::size_t colon = rest.find(':');
        std::string folder = rest.substr(0, colon);
        rest = colon == std::string::npos ? std::string() : rest.substr(colon + 1);
        if (!folder.empty() && folder.front() == '/') folders.push_back(std::move(folder));
    }
    if (folders.empty()) folders.emplace_back("/etc/xdg");
    return folders;
}

bool setEnabled(const std::string& configFolder, const std::string& bundleIdentifier,
                const std::string& executablePath, bool enabled) {
    return setEnabled(configFolder, {}, bundleIdentifier, executablePath, enabled);
}

bool setEnabled(const std::string& configFolder, const std::vector<std::string>& systemFolders,
                const std::string& bundleIdentifier, const std::string& executablePath,
                bool enabled) {
    if (configFolder.empty() || !isUsableIdentifier(bundleIdentifier)) return false;
    if (hasSystemEntry(systemFolders, bundleIdentifier)) {
        const std::string own = entryPath(configFolder, bundleIdentifier);
        if (enabled) {
            // Only a hiding entry is taken away: one the user made to run
            // the program differently stays theirs.
            if (isEnabled(configFolder, bundleIdentifier)) return true;
            return ::unlink(own.c_str()) == 0 || errno == ENOENT;
        }
        if (!makePrivateFolders(configFolder + "/autostart")) return false;
        return writeFileAtomically(
            own, std::string(kGroupHeader) + "\nType=Application\nName=" +
                     escapeString(bundleIdentifier) + "\nHidden=true\n",
            0644);
    }
    if (!enabled) {
        return ::unlink(entryPath(configFolder, bundleIdentifier).c_str()) == 0 || errno == ENOENT;
    }
    if (executablePath.empty() || executablePath.front() != '/') return false;

    const std::string folder = configFolder + "/autostart";
    if (!makePrivateFolders(folder)) return false;
    std::string name = executablePath.substr(executablePath.find_last_of('/') + 1);
    if (name.empty()) name = bundleIdentifier;
    std::string contents = std::string(kGroupHeader) + "\n";
    contents += "Type=Application\n";
    contents += "Name=" + escapeString(name) + "\n";
    contents += "Exec=" + execValueForPath(executablePath) + "\n";
    contents += "X-GNOME-Autostart-enabled=true\n";
    contents += "NoDisplay=true\n";
    // Written whole under a temporary name and renamed, so the desktop never
    // reads half an entry.
    return writeFileAtomically(folder + "/" + bundleIdentifier + ".desktop", contents, 0644);
}

bool isEnabled(const std::string& configFolder, const std::vector<std::string>& systemFolders,
               const std::string& bundleIdentifier) {
    if (configFolder.empty() || !isUsableIdentifier(bundleIdentifier)) return false;
    // The user's entry, when there is one, stands for the system's.
    if (!existsWithoutFollowingLink(entryPath(configFolder, bundleIdentifier)) &&
        hasSystemEntry(systemFolders, bundleIdentifier)) {
        return true;
    }
    return isEnabled(configFolder, bundleIdentifier);
}

bool isEnabled(const std::string& configFolder, const std::string& bundleIdentifier) {
    if (configFolder.empty() || !isUsableIdentifier(bundleIdentifier)) return false;
    const auto contents = readWholeFile(entryPath(configFolder, bundleIdentifier), kMaxEntrySize);
    if (!contents) return false;
    std::istringstream in(*contents);
    // The user may have switched it off in the desktop's settings, which
    // keeps the file and marks it instead.
    bool inMainGroup = false;
    bool sawMainGroup = false;
    for (std::string line; std::getline(in, line);) {
        line = trim(line);
        if (line.empty() || line.front() == '#') continue;
        if (line.front() == '[') {
            inMainGroup = line == kGroupHeader;
            sawMainGroup = sawMainGroup || inMainGroup;
            continue;
        }
        const std::size_t equals = line.find('=');
        if (!inMainGroup || equals == std::string::npos) continue;
        const std::string key = trim(line.substr(0, equals));
        const std::string value = trim(line.substr(equals + 1));
        if (key == "Hidden" && value == "true") return false;
        if (key == "X-GNOME-Autostart-enabled" && value == "false") return false;
    }
    return sawMainGroup;
}

bool setEnabled(const std::string& bundleIdentifier, const std::string& executablePath,
                bool enabled) {
    return setEnabled(userConfigFolder(), systemConfigFolders(), bundleIdentifier, executablePath,
                      enabled);
}

bool isEnabled(const std::string& bundleIdentifier) {
    return isEnabled(userConfigFolder(), systemConfigFolders(), bundleIdentifier);
}

}  // namespace platform::LoginItems
