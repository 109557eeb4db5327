#include "environment/WatcherSettings.h"

#include "platform/Bundle.h"
#include "platform/FileResources.h"
#include "platform/LoginItems.h"
#include "platform/PathUtils.h"

WatcherSettings& WatcherSettings::GetInstance() {
    static WatcherSettings instance;
    return instance;
}

namespace {

// The Helper's executable: the running bundle when it is the Helper, else the
// copy the Main application carries in Contents/Library/LoginItems.
std::string helperExecutablePath(const std::string& helperId) {
    auto main = platform::Bundle::mainBundle();
    if (!main) return {};
    if (main->bundleIdentifier() == helperId) return main->executablePath();
    const std::string loginItems = platform::PathUtils::stringByAppendingPathComponent(
        main->path(), "Contents/Library/LoginItems/Sweepwell Helper.app");
    auto helper = platform::Bundle::bundleWithPath(loginItems);
    if (helper && helper->bundleIdentifier() == helperId) return helper->executablePath();
    return {};
}

}  // namespace

void WatcherSettings::enableHelperInLoginItems(bool enable) const {
    const std::string helperId = getHelperAppBundleID();
    (void)platform::LoginItems::setEnabled(helperId, helperExecutablePath(helperId), enable);
}
