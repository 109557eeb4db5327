#pragma once

#include <string>

// Fixed names of the product.
class Consts {
public:
    static Consts& GetInstance();

    std::string getMainAppName() const { return "Sweepwell"; }
    // The maker's page that explains how to check for removed applications.
    std::string getCustomNotificationHelpURL() const {
        return "https://www.quorvex.com/help/sweepwell/check-removed-apps";
    }
};
