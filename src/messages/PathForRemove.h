#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

// One file or folder the Main application is asked to remove: its path, the
// kind of leftover it is (a remains-type code, 0 to 17), the application it
// belongs to and, once known, its size in bytes.
class PathForRemove {
public:
    // The bundle identifier is kept in lower case (ASCII letters).
    PathForRemove(std::string path, std::int32_t type, std::string bundleId);

    // An entry from one element of a removal list's "items"; null when the
    // element is not an object with "type" (number or string) of 0 to 17,
    // "path" and "bundleId" (strings) and, if present, "size" (number or
    // string). Numbers given as strings are read like "%lld" input: leading
    // blanks, an optional sign, digits, anything after ignored, nothing valid
    // gives 0. A size of 0 or less is left not calculated.
    static std::shared_ptr<PathForRemove> createFromDictionary(const nlohmann::json& object);
    // The element for the list: "type", "path" and "bundleId", and "size"
    // when it is calculated, every value a string. Null when the path or the
    // identifier is not UTF-8, which JSON cannot carry.
    nlohmann::json toDictionary() const;

    const std::string& path() const { return m_sPath; }
    std::int32_t type() const { return m_nType; }
    const std::string& bundleId() const { return m_sBundleId; }

    std::uint64_t getSize() const { return m_nSize; }
    void setSize(std::uint64_t size);
    bool isSizeCalculated() const { return m_bIsSizeCalculated; }

    // Whether the user removed the item meanwhile: nothing is at the path,
    // a final symbolic link not followed (a dangling link is still there).
    bool checkIsRemovedByUser() const;

    static constexpr std::int32_t kMaxType = 17;

private:
    const std::string m_sPath;
    const std::int32_t m_nType;
    const std::string m_sBundleId;
    std::uint64_t m_nSize = 0;
    bool m_bIsSizeCalculated = false;
};
