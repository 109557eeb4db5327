#include "platform/UserDefaults.h"

#include <sys/stat.h>

#include "platform/Bundle.h"
#include "platform/FileSystem.h"
#include "platform/LoginItems.h"
#include "platform/PathUtils.h"
#include "platform/PropertyList.h"

namespace platform {

namespace {

// The Helper's bundle identifier, for a process started outside its bundle.
constexpr const char* kFallbackSuiteName = "com.quorvex.Sweepwell-Plus-Helper";

bool isUsableSuiteName(const std::string& suite) {
    return !suite.empty() && suite[0] != '.' && suite.find('/') == std::string::npos &&
           suite.find('\0') == std::string::npos;
}

}  // namespace

UserDefaults& UserDefaults::standard() {
    static UserDefaults instance([] {
        std::string suite;
        if (auto bundle = Bundle::mainBundle()) suite = bundle->bundleIdentifier().value_or("");
        if (!isUsableSuiteName(suite)) suite = kFallbackSuiteName;
        return pathForSuiteName(suite);
    }());
    return instance;
}

std::shared_ptr<UserDefaults> UserDefaults::createWithSuiteName(const std::string& suite) {
    if (!isUsableSuiteName(suite)) return nullptr;
    return std::make_shared<UserDefaults>(pathForSuiteName(suite));
}

std::string UserDefaults::pathForSuiteName(const std::string& suite) {
    const std::string config = LoginItems::userConfigFolder();
    if (config.empty()) return {};
    return config + "/sweepwell/" + suite + ".plist";
}

UserDefaults::UserDefaults(std::string filePath) : m_sFilePath(std::move(filePath)) {
    if (m_sFilePath.empty()) return;
    // The stamp is taken first: if the file changes while it is read, the
    // next synchronize() reads it again rather than missing the change.
    m_fileStamp = stampOfFile();
    m_arrValues = readDictionary().value_or(PlistDictionary{});
}

std::optional<PlistValue> UserDefaults::objectForKey(const std::string& key) const {
    std::lock_guard lock(m_mutex);
    auto it = m_arrValues.find(key);
    if (it == m_arrValues.end()) return std::nullopt;
    return it->second;
}

bool UserDefaults::setObject(const std::string& key, PlistValue value) {
    if (value.isNone()) {
        removeObjectForKey(key);
        return true;
    }
    // Checked as an entry of the stored dictionary, so the key and the
    // extra level of nesting are checked too; a value that cannot be written
    // would otherwise block every later synchronize().
    PlistValue entry(PlistDictionary{});
    auto& slot = entry.asDictionary()->emplace(key, std::move(value)).first->second;
    if (!PropertyList::isSerializable(entry)) return false;
    std::lock_guard lock(m_mutex);
    m_arrPendingChanges.insert_or_assign(key, slot);
    m_arrValues.insert_or_assign(key, std::move(slot));
    return true;
}

void UserDefaults::removeObjectForKey(const std::string& key) {
    std::lock_guard lock(m_mutex);
    m_arrValues.erase(key);
    m_arrPendingChanges.insert_or_assign(key, std::nullopt);
}

bool UserDefaults::synchronize() {
    std::lock_guard lock(m_mutex);
    if (m_sFilePath.empty()) return m_arrPendingChanges.empty();
    const FileStamp stamp = stampOfFile();
    const bool changedOnDisk = !(stamp == m_fileStamp);

    if (m_arrPendingChanges.empty()) {
        if (changedOnDisk) {
            m_arrValues = readDictionary().value_or(PlistDictionary{});
            m_fileStamp = stamp;
        }
        return true;
    }

    PlistValue merged(m_arrValues);
    if (changedOnDisk) {
        // Keep what others wrote meanwhile; only our own changes go over it.
        // A file that is now missing or unreadable leaves our view as base.
        if (auto onDisk = readDictionary()) {
            PlistDictionary& values = *merged.asDictionary();
            values = std::move(*onDisk);
            for (auto& [key, change] : m_arrPendingChanges) {
                if (change) {
                    values.insert_or_assign(key, *change);
                } else {
                    values.erase(key);
                }
            }
        }
    }
    if (!ensureFolder()) return false;
    if (!PropertyList::writeFileAtomically(m_sFilePath, merged, PropertyList::Format::Binary,
                                           0600)) {
        return false;
    }
    m_arrValues = std::move(*merged.asDictionary());
    m_arrPendingChanges.clear();
    m_fileStamp = stampOfFile();
    return true;
}

UserDefaults::FileStamp UserDefaults::stampOfFile() const {
    FileStamp stamp;
    struct stat info {};
    if (::stat(m_sFilePath.c_str(), &info) != 0) return stamp;
    stamp.exists = true;
    stamp.device = info.st_dev;
    stamp.inode = info.st_ino;
    stamp.size = info.st_size;
    stamp.modifiedSeconds = info.st_mtim.tv_sec;
    stamp.modifiedNanoseconds = info.st_mtim.tv_nsec;
    return stamp;
}

std::optional<PlistDictionary> UserDefaults::readDictionary() const {
    auto plist = PropertyList::readFile(m_sFilePath);
    if (!plist || !plist->asDictionary()) return std::nullopt;
    return std::move(*plist->asDictionary());
}

bool UserDefaults::ensureFolder() const {
    const std::string folder = PathUtils::stringByDeletingLastPathComponent(m_sFilePath);
    return folder.empty() || makePrivateFolders(folder);
}

}  // namespace platform
