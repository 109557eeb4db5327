#include <gtest/gtest.h>

#include "environment/DefaultsUtils.h"
#include "platform/UserDefaults.h"
#include "support/TempDir.h"
#include "watching/BundleExcludeList.h"

namespace {

TEST(BundleExcludeList, OnlyTheTwoProductIdentifiersInAnyCase) {
    testsupport::TempDir dir;
    auto defaults = std::make_shared<platform::UserDefaults>(dir / "settings.plist");
    BundleExcludeList list("com.example.mainapp", "com.example.MainApp-Helper", defaults);
    const std::pair<std::optional<std::string>, bool> cases[] = {
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
        for (const auto& [id, excluded] : cases) {
            EXPECT_EQ(list.isSystemBundleID(id), excluded) << id.value_or("nil");
            EXPECT_EQ(list.isSystemBundleID(id, false), excluded) << id.value_or("nil");
        }
    }
}

}  // namespace
