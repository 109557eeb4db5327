#include "platform/LaunchServices.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <set>

#include "platform/Bundle.h"
#include "platform/DirectoryLister.h"
#include "platform/FileResources.h"
#include "platform/PasswordDatabase.h"
#include "platform/PathUtils.h"
#include "platform/UserDefaults.h"

namespace platform::LaunchServices {

namespace {

char asciiLower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalsIgnoringAsciiCase(const std::string& a, const std::string& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return asciiLower(x) == asciiLower(y);
           });
}

bool hasAppExtension(const std::string& name) {
    return name.size() > 4 && equalsIgnoringAsciiCase(name.substr(name.size() - 4), ".app");
}

// The names in a folder, in byte order; empty when it cannot be read.
std::vector<std::string> namesInFolder(const std::string& folder) {
    // A read that failed part-way still offers what it saw.
    std::vector<std::string> names = DirectoryLister::contentsOfDirectoryAtPath(folder).names;
    std::sort(names.begin(), names.end());
    return names;
}

class CopySearch {
public:
    explicit CopySearch(const std::string& bundleId) : m_sBundleId(bundleId) {}

    void searchRoot(const std::string& root) {
        if (root.empty()) return;
        m_nVisited = 0;
        searchFolder(root, 0);
    }

    std::vector<std::string> takeCopies() { return std::move(m_arrCopies); }

private:
    void searchFolder(const std::string& folder, int depth) {
        for (const std::string& name : namesInFolder(folder)) {
            if (++m_nVisited > kMaxEntriesVisited) return;
            const std::string path = PathUtils::stringByAppendingPathComponent(folder, name);
            if (hasAppExtension(name)) {
                considerApplication(path);
                continue;
            }
            if (name[0] == '.' || depth >= kMaxFolderDepth) continue;
            struct stat info {};
            if (::lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) continue;
            if (isFilePackageAtPath(path)) continue;
            searchFolder(path, depth + 1);
        }
    }

    void considerApplication(const std::string& path) {
        auto bundle = Bundle::bundleWithPath(path);
        if (!bundle) return;
        const auto identifier = bundle->bundleIdentifier();
        if (!identifier || !equalsIgnoringAsciiCase(*identifier, m_sBundleId)) return;
        // One bundle seen through a link or a repeated root counts once.
        std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), std::free);
        const std::string key = real ? std::string(real.get()) : path;
        if (m_arrSeen.insert(key).second) m_arrCopies.push_back(path);
    }

    std::string m_sBundleId;
    std::size_t m_nVisited = 0;
    std::set<std::string> m_arrSeen;
    std::vector<std::string> m_arrCopies;
};

}  // namespace

std::vector<std::string> applicationFolders(const std::string& home, UserDefaults& settings) {
    const bool withHome = isUsableHomeDirectory(home);
    std::vector<std::string> folders{"/Applications"};
    if (withHome) {
        folders.push_back(PathUtils::stringByAppendingPathComponent(home, "Applications"));
    }
    const auto add = [&](std::string folder) {
        while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
        if (std::find(folders.begin(), folders.end(), folder) == folders.end()) {
            folders.push_back(std::move(folder));
        }
    };
    // Picks up what the user changed since the last search.
    settings.synchronize();
    const auto named = settings.objectForKey(kApplicationFoldersKey);
    const PlistArray* list = named ? named->asArray() : nullptr;
    if (list == nullptr) return folders;
    for (const PlistValue& value : *list) {
        const std::string* folder = value.asString();
        if (folder == nullptr || folder->empty()) continue;
        if ((*folder)[0] == '/') {
            add(*folder);
        } else if (withHome && folder->size() > 2 && folder->compare(0, 2, "~/") == 0) {
            add(PathUtils::stringByAppendingPathComponent(home, folder->substr(2)));
        }
    }
    return folders;
}

std::vector<std::string> applicationFolders() {
    return applicationFolders(homeFromPasswordDatabase(), UserDefaults::standard());
}

std::vector<std::string> copiesOfBundleIdentifier(const std::string& bundleId,
                                                  const std::vector<std::string>& roots) {
    if (bundleId.empty()) return {};
    CopySearch search(bundleId);
    for (const std::string& root : roots) search.searchRoot(root);
    return search.takeCopies();
}

std::vector<std::string> copiesOfBundleIdentifier(const std::string& bundleId) {
    return copiesOfBundleIdentifier(bundleId, applicationFolders());
}

std::optional<std::string> urlForApplicationWithBundleIdentifier(
    const std::string& bundleId, const std::vector<std::string>& roots) {
    auto copies = copiesOfBundleIdentifier(bundleId, roots);
    if (copies.empty()) return std::nullopt;
    return copies.front();
}

std::optional<std::string> urlForApplicationWithBundleIdentifier(const std::string& bundleId) {
    return urlForApplicationWithBundleIdentifier(bundleId, applicationFolders());
}

}  // namespace platform::LaunchServices
