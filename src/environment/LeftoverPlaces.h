#pragma once

#include <array>
#include <optional>
#include <string_view>

// The folders of the home that the leftover search looks in, relative to the
// home. The search names one entry directly inside one of them for an
// application, and the Main application acts on nothing else: this one table
// says both, so nothing can be moved that the search could not have named.
namespace LeftoverPlaces {

inline constexpr std::string_view kCaches = "Library/Caches";
inline constexpr std::string_view kSavedState = "Library/Saved Application State";
inline constexpr std::string_view kPreferences = "Library/Preferences";
inline constexpr std::string_view kLogs = "Library/Logs";
inline constexpr std::string_view kCookies = "Library/Cookies";
inline constexpr std::string_view kContainers = "Library/Containers";
inline constexpr std::string_view kApplicationSupport = "Library/Application Support";
inline constexpr std::string_view kHelpGenerated =
    "Library/Application Support/Caches/com.apple.helpd/Generated";
inline constexpr std::string_view kHelpIndex =
    "Library/Application Support/Caches/com.apple.helpd/SDMHelpData/Other/English/"
    "HelpSDMIndexFile";
inline constexpr std::string_view kGrowlTickets = "Library/Application Support/Growl/Tickets";
inline constexpr std::string_view kLaunchAgents = "Library/LaunchAgents";
inline constexpr std::string_view kCrashReporter = "Library/Application Support/CrashReporter";

inline constexpr std::array kAll{kCaches,        kSavedState,         kPreferences,
                                 kLogs,          kCookies,            kContainers,
                                 kApplicationSupport, kHelpGenerated, kHelpIndex,
                                 kGrowlTickets,  kLaunchAgents,       kCrashReporter};

// The folder of the table that holds `relative` (a path relative to the
// home, without "." or ".." parts) as one entry of its own; nullopt when
// there is none.
std::optional<std::string_view> folderHolding(std::string_view relative);

// Whether `relative` is one of the folders or a folder above one ("Library",
// "Library/Application Support/Caches"): each holds other applications' files.
bool holdsOtherApplicationsFiles(std::string_view relative);

}  // namespace LeftoverPlaces
