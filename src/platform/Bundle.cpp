#include "platform/Bundle.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "platform/PathUtils.h"
#include "platform/PropertyList.h"

namespace platform {

namespace {

std::string executableOfThisProcess() {
    std::error_code error;
    const std::filesystem::path target = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : target.string();
}

}  // namespace

std::shared_ptr<Bundle> Bundle::bundleWithPath(const std::string& path) {
    if (path.empty()) return nullptr;
    std::string absolute = path;
    if (!PathUtils::isAbsolutePath(path)) {
        std::error_code error;
        const std::filesystem::path current = std::filesystem::current_path(error);
        if (error) return nullptr;
        absolute = PathUtils::stringByAppendingPathComponent(current.string(), path);
    }
    std::string standard = PathUtils::stringByStandardizingPath(absolute);
    if (standard.empty() || standard[0] != '/') return nullptr;  // "~user" that is unknown

    struct stat info {};
    if (::stat(standard.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return nullptr;
    auto plist = PropertyList::readFile(
        PathUtils::stringByAppendingPathComponent(standard, "Contents/Info.plist"));
    if (!plist || !plist->asDictionary()) return nullptr;
    return std::make_shared<Bundle>(std::move(standard), std::move(*plist->asDictionary()));
}

std::shared_ptr<Bundle> Bundle::mainBundle() {
    static const std::shared_ptr<Bundle> bundle =
        mainBundleForExecutable(executableOfThisProcess());
    return bundle;
}

std::shared_ptr<Bundle> Bundle::mainBundleForExecutable(const std::string& executablePath) {
    using namespace PathUtils;
    if (executablePath.empty()) return nullptr;
    const std::string macOS = stringByDeletingLastPathComponent(executablePath);
    if (lastPathComponent(macOS) != "MacOS") return nullptr;
    const std::string contents = stringByDeletingLastPathComponent(macOS);
    if (lastPathComponent(contents) != "Contents") return nullptr;
    const std::string app = stringByDeletingLastPathComponent(contents);
    if (pathExtension(app) != "app") return nullptr;
    return bundleWithPath(app);
}

Bundle::Bundle(std::string path, PlistDictionary infoDictionary)
    : m_sPath(std::move(path)), m_arrInfoDictionary(std::move(infoDictionary)) {}

std::optional<std::string> Bundle::stringForKey(const std::string& key) const {
    const PlistValue* value = objectForInfoDictionaryKey(key);
    if (!value || !value->asString()) return std::nullopt;
    return *value->asString();
}

std::optional<std::string> Bundle::bundleIdentifier() const {
    return stringForKey("CFBundleIdentifier");
}

std::optional<std::string> Bundle::executableName() const {
    return stringForKey("CFBundleExecutable");
}

std::string Bundle::executablePath() const {
    const auto name = executableName();
    if (!name || name->empty()) return {};
    return PathUtils::stringByAppendingPathComponent(
        PathUtils::stringByAppendingPathComponent(m_sPath, "Contents/MacOS"), *name);
}

std::string Bundle::resourcePath() const {
    return PathUtils::stringByAppendingPathComponent(m_sPath, "Contents/Resources");
}

const PlistValue* Bundle::objectForInfoDictionaryKey(const std::string& key) const {
    auto it = m_arrInfoDictionary.find(key);
    return it == m_arrInfoDictionary.end() ? nullptr : &it->second;
}

std::string Bundle::nameBeforeTrashing() const {
    return m_sNameBeforeTrashing.empty() ? PathUtils::lastPathComponent(m_sPath)
                                         : m_sNameBeforeTrashing;
}

}  // namespace platform
