// Lives next to the agent inside the Helper bundle, so that its main bundle
// is the Helper's: `LoginItem on` makes the installed Helper start at login,
// `LoginItem off` stops that. Used by the install and uninstall steps.
#include <cstdio>
#include <cstring>

#include "environment/WatcherSettings.h"
#include "platform/LoginItems.h"

int main(int argc, char** argv) {
    if (argc != 2 || (std::strcmp(argv[1], "on") != 0 && std::strcmp(argv[1], "off") != 0)) {
        std::fputs("usage: LoginItem on|off\n", stderr);
        return 2;
    }
    const bool enable = std::strcmp(argv[1], "on") == 0;
    WatcherSettings& settings = WatcherSettings::GetInstance();
    settings.enableHelperInLoginItems(enable);
    const bool enabled = platform::LoginItems::isEnabled(settings.getHelperAppBundleID());
    return enabled == enable ? 0 : 1;
}
