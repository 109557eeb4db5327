#include "ui/RichNotificationWCLocalizable.h"

#include <array>

namespace {

// Keys and default texts. The default description is the title's text on
// purpose: the real wording, with its plural forms, lives in the tables.
constexpr const char* kCloseButtonTitleKey = "CloseButtonTitle";
constexpr const char* kCloseButtonTitleDefault = "Close";  // Close button title
constexpr const char* kCompleteUninstallKey = "CompleteUninstallButtonTitle";
constexpr const char* kCompleteUninstallDefault =
    "Complete Uninstall";  // Complete uninstall buttonTitle
constexpr const char* kTitleKey = "Title";
constexpr const char* kTitleDefault = "%@ - Complete Uninstallation";  // Title
constexpr const char* kWithoutButtonsKey = "WithoutButtonsHint";
constexpr const char* kWithoutButtonsDefault =
    "To remove them, start Sweepwell Helper again (sweepwell-helper): it opens them in "
    "%@.";  // a notification service without buttons
constexpr const char* kDescriptionKey = "DescriptionOfAlert";
constexpr const char* kDescriptionDefault =
    "%@ - Complete Uninstallation";  // description of the alert

}  // namespace

const LocalizedStrings& RichNotificationWCLocalizable::mainTable() {
    static const LocalizedStrings table = [] {
        const auto bundle = platform::Bundle::mainBundle();
        if (!bundle) return LocalizedStrings();
        return LocalizedStrings(*bundle, kTableName, LocalizedStrings::preferredLanguages());
    }();
    return table;
}

std::string RichNotificationWCLocalizable::closeButtonTitle() {
    return closeButtonTitle(mainTable());
}

std::string RichNotificationWCLocalizable::completeUninstallButtonTitle() {
    return completeUninstallButtonTitle(mainTable());
}

std::string RichNotificationWCLocalizable::titleWithAppName(const std::string& appName) {
    return titleWithAppName(appName, mainTable());
}

std::string RichNotificationWCLocalizable::descriptionWithAppName(
    const std::string& appName, const std::string& sizeString, std::int64_t numberOfOtherApps,
    bool areWeSureIfAllElementsAreCalculated) {
    return descriptionWithAppName(appName, sizeString, numberOfOtherApps,
                                  areWeSureIfAllElementsAreCalculated, mainTable());
}

std::string RichNotificationWCLocalizable::closeButtonTitle(const LocalizedStrings& table) {
    return table.localizedStringForKey(kCloseButtonTitleKey, kCloseButtonTitleDefault);
}

std::string RichNotificationWCLocalizable::completeUninstallButtonTitle(
    const LocalizedStrings& table) {
    return table.localizedStringForKey(kCompleteUninstallKey, kCompleteUninstallDefault);
}

std::string RichNotificationWCLocalizable::withoutButtonsHint(const std::string& mainAppName,
                                                              const LocalizedStrings& table) {
    const std::array<FormatArgument, 1> arguments{mainAppName};
    return table.localizedStringWithFormat(kWithoutButtonsKey, kWithoutButtonsDefault, arguments);
}

std::string RichNotificationWCLocalizable::titleWithAppName(const std::string& appName,
                                                            const LocalizedStrings& table) {
    const std::array<FormatArgument, 1> arguments{appName};
    return table.localizedStringWithFormat(kTitleKey, kTitleDefault, arguments);
}

std::string RichNotificationWCLocalizable::descriptionWithAppName(
    const std::string& appName, const std::string& sizeString, std::int64_t numberOfOtherApps,
    bool areWeSureIfAllElementsAreCalculated, const LocalizedStrings& table) {
    const std::array<FormatArgument, 5> arguments{
        appName,
        std::int64_t{numberOfOtherApps == 0 ? 1 : 0},
        numberOfOtherApps,
        sizeString,
        std::int64_t{areWeSureIfAllElementsAreCalculated ? 1 : 0},
    };
    return table.localizedStringWithFormat(kDescriptionKey, kDescriptionDefault, arguments);
}
