#include "watching/FileManagerUtils.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <vector>

#include "platform/FileResources.h"
#include "platform/PasswordDatabase.h"
#include "platform/PathUtils.h"
#include "platform/TemporaryDirectory.h"

namespace FileManagerUtils {

namespace {

constexpr const char* kDefaultAlphabet =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
constexpr int kFirstNameLength = 10;

// Creates each missing folder of an absolute path, private to the user as
// the XDG folders should be; true when the path ends up a folder.
bool makePrivateFolders(const std::string& path) {
    for (std::size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        ::mkdir(path.substr(0, slash).c_str(), 0700);
        if (slash == std::string::npos) break;
    }
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// Byte length of the UTF-8 sequence that starts at text[at]; 1 for a byte
// that does not start a valid sequence, so every byte is used exactly once.
std::size_t codePointLength(std::string_view text, std::size_t at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    std::size_t length = 1;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
    }
    if (at + length > text.size()) return 1;
    for (std::size_t i = 1; i < length; ++i) {
        if ((static_cast<unsigned char>(text[at + i]) & 0xC0) != 0x80) return 1;
    }
    return length;
}

std::vector<std::string_view> charactersOf(std::string_view text) {
    std::vector<std::string_view> characters;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = codePointLength(text, at);
        characters.push_back(text.substr(at, length));
        at += length;
    }
    return characters;
}

}  // namespace

bool fileExistsWithoutTraversingSymbolicLinkAtPath(const std::optional<std::string>& path) {
    if (!path) return false;
    return platform::fileExistsAtPath(*path) || isFileAtPathSymbolicLink(path);
}

bool fileExistsWithoutTraversingSymbolicLinkAtPath(const std::optional<std::string>& path,
                                                   bool* isDirectory) {
    if (!path) {
        if (isDirectory != nullptr) *isDirectory = false;
        return false;
    }
    if (isDirectory == nullptr) return fileExistsWithoutTraversingSymbolicLinkAtPath(path);
    if (platform::fileExistsAtPath(*path, isDirectory)) return true;
    *isDirectory = false;
    return isFileAtPathSymbolicLink(path);
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
    if (!makePrivateFolders(trash)) return {};
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
    return path && isFileInTrash(path, getTrashPath());
}

bool isFileLocked(const std::optional<std::string>& path) {
    if (!path) return false;
    const auto values = platform::resourceValuesForPath(*path);
    return values && values->isImmutable;
}

std::string getTempFilePathWithExt(const std::optional<std::string>& ext,
                                   const std::string& baseFolder,
                                   const std::function<std::string(int length)>& makeName) {
    for (int length = kFirstNameLength;; ++length) {
        std::string name = makeName(length);
        if (ext) {
            auto withExtension = platform::PathUtils::stringByAppendingPathExtension(name, *ext);
            if (!withExtension) return {};
            name = std::move(*withExtension);
        }
        std::string path = platform::PathUtils::stringByAppendingPathComponent(baseFolder, name);
        // Ends at the latest when the name grows too long to exist.
        if (!fileExistsWithoutTraversingSymbolicLinkAtPath(path)) return path;
    }
}

std::string getTempFilePathWithExt(const std::optional<std::string>& ext) {
    std::string base = platform::temporaryDirectory();
    if (base.empty()) base = "/tmp";
    return getTempFilePathWithExt(ext, base,
                                  [](int length) { return randomStringWithLength(length); });
}

std::string getTempFilePathWithFileName(const std::string& fileName) {
    const std::string folder = getTempFilePathWithExt(std::nullopt);
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
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
