#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/PlistValue.h"

namespace platform {

// A bundle: a folder whose "Contents/Info.plist" (XML or binary) holds a
// dictionary describing it. The information is read once, when the object is
// made; later changes on disk are not seen.
class Bundle {
public:
    // The bundle at the path, or null when the path is not a folder or its
    // Info.plist cannot be read as a dictionary. A relative path is taken from
    // the current folder; the path is kept in standard form (no trailing "/",
    // "." and ".." resolved).
    static std::shared_ptr<Bundle> bundleWithPath(const std::string& path);

    // The application bundle of the running program, found from
    // /proc/self/exe; null when the program is not inside one. Looked up once.
    static std::shared_ptr<Bundle> mainBundle();
    // The same for a given executable path: the ".app" folder whose
    // Contents/MacOS folder directly holds the executable, if it is a bundle.
    static std::shared_ptr<Bundle> mainBundleForExecutable(const std::string& executablePath);

    Bundle(std::string path, PlistDictionary infoDictionary);

    const std::string& path() const { return m_sPath; }
    // CFBundleIdentifier, when it is a string.
    std::optional<std::string> bundleIdentifier() const;
    // CFBundleExecutable, when it is a string.
    std::optional<std::string> executableName() const;
    // Contents/MacOS/<executable>; empty when the bundle names no executable.
    std::string executablePath() const;
    // Contents/Resources.
    std::string resourcePath() const;
    const PlistDictionary& infoDictionary() const { return m_arrInfoDictionary; }
    // The Info.plist value for the key; null when absent.
    const PlistValue* objectForInfoDictionaryKey(const std::string& key) const;

    // The folder's name before it was trashed: a desktop Trash may store
    // "Notes.app" as "Notes.2.app". The folder's own name unless set.
    std::string nameBeforeTrashing() const;
    void setNameBeforeTrashing(std::string name) { m_sNameBeforeTrashing = std::move(name); }

private:
    std::optional<std::string> stringForKey(const std::string& key) const;

    std::string m_sPath;
    PlistDictionary m_arrInfoDictionary;
    std::string m_sNameBeforeTrashing;
};

}  // namespace platform
