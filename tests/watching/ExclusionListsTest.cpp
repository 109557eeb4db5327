#include <gtest/gtest.h>

#include "environment/DefaultsUtils.h"
#include "platform/UserDefaults.h"
#include "support/TempDir.h"
#include "watching/BundleExcludeList.h"
#include "watching/SystemSkipList.h"

namespace {

TEST(BundleExcludeList, OnlyTheTwoProductIdentifiersInAnyCase) {
    testsupport::TempDir dir;
    auto defaults = std::make_shared<platform::UserDefaults>(dir / "settings.plist");
    BundleExcludeList list("com.example.mainapp", "com.example.MainApp-Helper", defaults);
    struct Case {
        std::optional<std::string> id;
        bool excluded;
    };
    const std::vector<Case> cases = {
        {"com.example.mainapp", true},
        {"COM.EXAMPLE.MAINAPP", true},
        {"com.example.mainapp-helper", true},
        {"com.example.mainapp.extra", false},
        {"com.example.main", false},
        {"", false},
        {std::nullopt, false},
    };
    // The unsafe mode is read but must never change an answer.
    for (bool unsafeMode : {false, true}) {
        DefaultsUtils::saveBoolValue(*defaults, "unsafeUninstallMode", unsafeMode);
        for (const auto& c : cases) {
            EXPECT_EQ(list.isSystemBundleID(c.id), c.excluded) << c.id.value_or("nil");
            EXPECT_EQ(list.isSystemBundleID(c.id, false), c.excluded) << c.id.value_or("nil");
        }
    }
}

TEST(BundleExcludeList, SharedInstanceKnowsTheProduct) {
    auto& list = BundleExcludeList::GetInstance();
    EXPECT_TRUE(list.isSystemBundleID("com.quorvex.sweepwell-plus", false));
    EXPECT_TRUE(list.isSystemBundleID("com.quorvex.Sweepwell-Plus-Helper", false));
    EXPECT_FALSE(list.isSystemBundleID("com.quorvex.Sweepwell", false));
}

TEST(SystemSkipList, ExactMembershipOnly) {
    SystemSkipList list("/home/u");
    struct Case {
        std::string path;
        bool contained;
    };
    const Case cases[] = {
        {"/home/u/Library/Calendars", true},
        {"/home/u/Library/Calendars/", false},
        {"/home/u/Library/Calendars/x.calendar", false},
        {"/home/u/Library/calendars", false},
        {"/home/u/Library/Application Support/AddressBook", true},
        {"/home/u/Library/Preferences/com.apple.AddressBook.plist", true},
        {"/home/u//Library/Calendars", false},
    };
    for (const auto& c : cases) EXPECT_EQ(list.contains(c.path), c.contained) << c.path;

    list.addPath("/home/u/extra");
    EXPECT_TRUE(list.contains("/home/u/extra"));
    list.clearContent();
    EXPECT_FALSE(list.contains("/home/u/extra"));
    EXPECT_FALSE(list.contains("/home/u/Library/Calendars"));
    list.clearContent();  // already empty: harmless
    list.addPath("/x");
    EXPECT_TRUE(list.contains("/x"));
}

}  // namespace
