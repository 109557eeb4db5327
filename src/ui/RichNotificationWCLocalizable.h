#pragma once

#include <cstdint>
#include <string>

#include "ui/LocalizedStrings.h"

// The texts of the notification window, from the localisation table
// "RichNotificationWCLocalizable" with built-in English defaults. Each
// operation has a form that reads the main bundle's table in the user's
// languages, and one that reads a given table.
class RichNotificationWCLocalizable {
public:
    static constexpr const char* kTableName = "RichNotificationWCLocalizable";

    static std::string closeButtonTitle();
    static std::string completeUninstallButtonTitle();
    // The "Title" format with the name: "<name> - Complete Uninstallation".
    static std::string titleWithAppName(const std::string& appName);
    // The "DescriptionOfAlert" format with five arguments: the name, 1 when
    // numberOfOtherApps is 0 (else 0), numberOfOtherApps, the size text, and 1
    // when areWeSureIfAllElementsAreCalculated (else 0). The name and size
    // text must already be escaped for markup; the result is markup.
    static std::string descriptionWithAppName(const std::string& appName,
                                              const std::string& sizeString,
                                              std::int64_t numberOfOtherApps,
                                              bool areWeSureIfAllElementsAreCalculated);

    static std::string closeButtonTitle(const LocalizedStrings& table);
    // For a desktop notification service that draws no buttons: how to hand
    // the leftovers to the Main application (named by `mainAppName`) anyway.
    // Plain text.
    static std::string withoutButtonsHint(const std::string& mainAppName,
                                          const LocalizedStrings& table);
    static std::string completeUninstallButtonTitle(const LocalizedStrings& table);
    static std::string titleWithAppName(const std::string& appName, const LocalizedStrings& table);
    static std::string descriptionWithAppName(const std::string& appName,
                                              const std::string& sizeString,
                                              std::int64_t numberOfOtherApps,
                                              bool areWeSureIfAllElementsAreCalculated,
                                              const LocalizedStrings& table);

    // The main bundle's table for the environment's languages, loaded on
    // first use; without a main bundle it has no entries.
    static const LocalizedStrings& mainTable();
};
