#include <gtest/gtest.h>

#include "environment/AppGroupManager.h"
#include "platform/TemporaryDirectory.h"

namespace {

TEST(AppGroupManager, TemporaryFolderIsInTheContainerOrThePrivateTemporaryFolder) {
    EXPECT_EQ(AppGroupManager("/srv/group", nullptr).getTemporaryDirectory(), "/srv/group/Temp");
    EXPECT_EQ(AppGroupManager(std::nullopt, nullptr).getTemporaryDirectory(),
              platform::temporaryDirectory());
}

}  // namespace
