#pragma once

#include <string>

// The product's fixed bundle identifiers, and the switch that makes the
// Helper start at login.
class WatcherSettings {
public:
    static WatcherSettings& GetInstance();

    std::string getMainAppBundleID() const { return "com.quorvex.Sweepwell-Plus"; }
    std::string getHelperAppBundleID() const { return "com.quorvex.Sweepwell-Plus-Helper"; }

    // Registers or removes the Helper as a login item. The answer is ignored
    // on purpose: there is nobody to tell about a failure. Only the Main
    // application calls this; the Helper never changes its own start-up.
    void enableHelperInLoginItems(bool enable) const;
};
