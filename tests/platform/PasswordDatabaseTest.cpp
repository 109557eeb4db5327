#include <gtest/gtest.h>

#include "platform/PasswordDatabase.h"
#include "support/TempDir.h"

namespace {

TEST(PasswordDatabase, HomesThatAreTheRootFolderAreNotUsable) {
    testsupport::TempDir dir;
    const std::string home = dir.makeDir("home/user");
    const std::string toRoot = dir.makeSymlink("to-root", "/");
    const struct {
        std::string home;
        bool usable;
    } cases[] = {
        {"", false},           {"/", false},         {"//", false},
        {"/.", false},         {"/home/..", false},  {"/home/user/../..", false},
        {"/../..", false},     {"home/user", false}, {toRoot, false},
        {toRoot + "/", false}, {home, true},         {"/nonexistent", true},
        {"/..x", true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(platform::isUsableHomeDirectory(c.home), c.usable) << "'" << c.home << "'";
    }
}

}  // namespace
