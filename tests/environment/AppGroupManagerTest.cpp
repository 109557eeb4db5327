#include "environment/AppGroupManager.h"

#include <gtest/gtest.h>

#include "environment/WatcherSettings.h"
#include "platform/TemporaryDirectory.h"

namespace {

TEST(AppGroupManager, TemporaryFolderIsInTheContainerOrThePrivateTemporaryFolder) {
    AppGroupManager withContainer("/srv/group", nullptr);
    EXPECT_EQ(withContainer.getTemporaryDirectory(), "/srv/group/Temp");
    AppGroupManager withoutContainer(std::nullopt, nullptr);
    EXPECT_EQ(withoutContainer.getTemporaryDirectory(), platform::temporaryDirectory());
    EXPECT_FALSE(AppGroupManager::GetInstance().getTemporaryDirectory().empty());
}

TEST(WatcherSettings, ProductIdentifiers) {
    auto& settings = WatcherSettings::GetInstance();
    EXPECT_EQ(settings.getMainAppBundleID(), "com.quorvex.Sweepwell-Plus");
    EXPECT_EQ(settings.getHelperAppBundleID(), "com.quorvex.Sweepwell-Plus-Helper");
}

}  // namespace
