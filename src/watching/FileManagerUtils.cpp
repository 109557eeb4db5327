#include "watching/FileManagerUtils.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <vector>

#include "environment/PathsGenerator.h"
#include "platform/FileResources.h"
#include "platform/FileSystem.h"
#include "platform/PasswordDatabase.h"
#include "platform/PathUtils.h"
#include "platform/TemporaryDirectory.h"
#include "platform/Utf8.h"

namespace FileManagerUtils {

namespace {

constexpr const char* kDefaultAlphabet =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
constexpr int kFirstNameLength = 10;

std::vector<std::string_view> charactersOf(std::string_view text) {
    std::vector<std::string_view> characters;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = platform::Utf8::characterLength(text, at);
        characters.push_back(text.substr(at, length));
        at += length;
    }
    return characters;
}

}  // namespace

bool fileExistsWithoutTraversingSymbolicLinkAtPath(const std::optional<std::string>& path) {
    // Whatever a link leads to, the link itself is there.
    return path && platform::existsWithoutFollowingLink(*path);
}

bool fileExistsWithoutTraversingSymbolicLinkAtPath(const std::optional<std::string>& path,
                                                   bool* isDirectory) {
    if (!path) {
        if (isDirectory != nullptr) *isDirectory = false;
        return false;
    }
    const bool exists = platform::existsWithoutFollowingLink(*path);
    if (isDirectory != nullptr) *isDirectory = exists && platform::leadsToFolder(*path);
    return exists;
}

bool isFileAtPathSymbolicLink(const std::optional<std::string>& path) {
    if (!path) return false;
    const auto values = platform::resourceValuesForPath(*path);
    return values && values->isSymbolicLink;
}

std::string getTrashPath(const std::string& dataHome) {
    if (dataHome.empty()) return {};
    const std::string trash =
        platform::PathUtils::stringByAppendingPathComponent(dataHome, "Trash/files");
    if (!platform::makePrivateFolders(trash)) return {};
    return trash + "/";
}

std::string getTrashPath() {
    static std::mutex lock;
    static std::string known;
    const std::lock_guard<std::mutex> guard(lock);
    if (!known.empty()) return known;
    // Relative values are invalid by the XDG rules and must be ignored.
    std::string dataHome;
    if (const char* value = std::getenv("XDG_DATA_HOME"); value != nullptr && value[0] == '/') {
        dataHome = value;
    } else if (const std::string home = platform::homeFromPasswordDatabase();
               platform::isUsableHomeDirectory(home)) {
        dataHome = platform::PathUtils::stringByAppendingPathComponent(home, ".local/share");
    }
    // A failed lookup is not kept: the next call tries again.
    known = getTrashPath(dataHome);
    return known;
}

bool isFileInTrash(const std::optional<std::string>& path, const std::string& trashPath) {
    return path && !trashPath.empty() && path->compare(0, trashPath.size(), trashPath) == 0;
}

bool isFileInTrash(const std::optional<std::string>& path) {
    return PathsGenerator::GetInstance().pathInTrash(path);
}

bool isFileLocked(const std::optional<std::string>& path) {
    if (!path) return false;
    const auto values = platform::resourceValuesForPath(*path);
    return values && values->isImmutable;
}

std::string getTempFilePathWithExt(const std::optional<std::string>& ext,
                                   const std::string& baseFolder,
                                   const std::function<std::string(int length)>& makeName) {
    int length = kFirstNameLength;
    // Ends at the latest when the name grows too long to exist.
    const auto name = platform::firstFreeName(baseFolder, [&]() -> std::optional<std::string> {
        std::string name = makeName(length++);
        if (!ext) return name;
        return platform::PathUtils::stringByAppendingPathExtension(name, *ext);
    });
    if (!name) return {};
    return platform::PathUtils::stringByAppendingPathComponent(baseFolder, *name);
}

std::string getTempFilePathWithExt(const std::optional<std::string>& ext) {
    std::string base = platform::temporaryDirectory();
    if (base.empty()) base = "/tmp";
    return getTempFilePathWithExt(ext, base,
                                  [](int length) { return randomStringWithLength(length); });
}

std::string getTempFilePathWithFileName(const std::string& fileName) {
    const std::string folder = getTempFilePathWithExt(std::nullopt);
    platform::makePrivateFolders(folder);  // a failure shows when the file is made
    return platform::PathUtils::stringByAppendingPathComponent(folder, fileName);
}

std::string randomStringWithLength(int length) {
    return randomStringWithLength(length, kDefaultAlphabet);
}

std::string randomStringWithLength(int length, const std::string& alfabet) {
    const std::vector<std::string_view> characters = charactersOf(alfabet);
    if (length <= 0 || characters.empty()) return {};
    std::string out;
    out.reserve(static_cast<std::size_t>(length));
    for (int i = 0; i < length; ++i) {
        out += characters[::arc4random_uniform(static_cast<std::uint32_t>(characters.size()))];
    }
    return out;
}

}  // namespace FileManagerUtils
