#include "watching/BundleExcludeList.h"

#include <algorithm>

#include "environment/DefaultsUtils.h"
#include "environment/WatcherSettings.h"
#include "platform/UserDefaults.h"

namespace {

// Bundle identifiers are ASCII by rule, so ASCII folding is the whole story.
std::string lowercased(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    });
    return text;
}

}  // namespace

BundleExcludeList& BundleExcludeList::GetInstance() {
    static BundleExcludeList instance(WatcherSettings::GetInstance().getMainAppBundleID(),
                                      WatcherSettings::GetInstance().getHelperAppBundleID());
    return instance;
}

BundleExcludeList::BundleExcludeList(const std::string& mainId, const std::string& helperId,
                                     std::shared_ptr<platform::UserDefaults> defaults)
    : m_pDefaults(std::move(defaults)) {
    m_arrExcludeAppsList[lowercased(mainId)] = true;
    m_arrExcludeAppsList[lowercased(helperId)] = true;
}

bool BundleExcludeList::isSystemBundleID(const std::optional<std::string>& bundleId) const {
    return isSystemBundleID(bundleId, true);
}

bool BundleExcludeList::isSystemBundleID(const std::optional<std::string>& bundleId,
                                         bool checkPreferences) const {
    if (!bundleId) return false;
    if (m_arrExcludeAppsList.count(lowercased(*bundleId)) != 0) return true;
    if (checkPreferences) {
        // The preference is read and its value deliberately not used: the
        // unsafe mode must never widen what the agent reports.
        platform::UserDefaults& defaults =
            m_pDefaults ? *m_pDefaults : platform::UserDefaults::standard();
        (void)DefaultsUtils::getBoolValueForKey(defaults, "unsafeUninstallMode", false);
    }
    return false;
}
