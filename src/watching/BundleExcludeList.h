#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace platform {
class UserDefaults;
}

// The bundle identifiers that are never reported as trashed applications:
// the product's own.
class BundleExcludeList {
public:
    static BundleExcludeList& GetInstance();

    // `mainId`, `helperId`: the two product identifiers; `defaults`: the store
    // whose `unsafeUninstallMode` is consulted (null: the standard store).
    BundleExcludeList(const std::string& mainId, const std::string& helperId,
                      std::shared_ptr<platform::UserDefaults> defaults = nullptr);

    bool isSystemBundleID(const std::optional<std::string>& bundleId) const;
    bool isSystemBundleID(const std::optional<std::string>& bundleId, bool checkPreferences) const;

private:
    std::map<std::string, bool> m_arrExcludeAppsList;  // lower-cased identifier -> YES
    std::shared_ptr<platform::UserDefaults> m_pDefaults;
};
