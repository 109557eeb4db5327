#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <vector>

#include "platform/LoginItems.h"
#include "support/DataTable.h"
#include "support/TempDir.h"

namespace {

namespace LoginItems = platform::LoginItems;
using testsupport::TempDir;

constexpr const char* kIdentifier = "com.example.Tool-Helper";

// The user's own entry is written whole and removed again. A package's
// system-wide entry is switched off for one user by a hiding entry of the
// same name, and on again by removing it; a user's own entry that runs the
// program is never taken away.
TEST(LoginItems, OwnEntriesAreWrittenWholeAndSystemWideOnesOverriddenNotCopied) {
    TempDir dir;
    const std::string config = dir / "config";  // made on demand
    const std::vector<std::string> system{dir / "none", dir / "xdg"};
    const std::string own = config + "/autostart/" + kIdentifier + ".desktop";
    EXPECT_FALSE(LoginItems::isEnabled(config, kIdentifier));
    ASSERT_TRUE(LoginItems::setEnabled(config, kIdentifier,
                                       "/opt/Tool Helper.app/Contents/MacOS/Tool Helper", true));
    EXPECT_EQ(testsupport::readFile(own),
              "[Desktop Entry]\nType=Application\nName=Tool Helper\n"
              "Exec=\"/opt/Tool Helper.app/Contents/MacOS/Tool Helper\"\n"
              "X-GNOME-Autostart-enabled=true\nNoDisplay=true\n");
    EXPECT_TRUE(LoginItems::isEnabled(config, kIdentifier));
    ASSERT_TRUE(LoginItems::setEnabled(config, kIdentifier, "/usr/libexec/tool", true));
    EXPECT_NE(testsupport::readFile(own).find("\nExec=\"/usr/libexec/tool\"\n"), std::string::npos);
    ASSERT_TRUE(LoginItems::setEnabled(config, kIdentifier, "", false));
    EXPECT_FALSE(std::filesystem::exists(own));
    EXPECT_FALSE(LoginItems::isEnabled(config, kIdentifier));
    EXPECT_TRUE(LoginItems::setEnabled(config, kIdentifier, "", false)) << "already off";

    dir.writeFile(std::string("xdg/autostart/") + kIdentifier + ".desktop",
                  "[Desktop Entry]\nType=Application\nExec=/usr/bin/tool\n");
    EXPECT_TRUE(LoginItems::isEnabled(config, system, kIdentifier));
    EXPECT_FALSE(LoginItems::isEnabled(config, {}, kIdentifier));
    ASSERT_TRUE(LoginItems::setEnabled(config, system, kIdentifier, "/usr/bin/tool", false));
    EXPECT_NE(testsupport::readFile(own).find("\nHidden=true\n"), std::string::npos);
    EXPECT_FALSE(LoginItems::isEnabled(config, system, kIdentifier));
    ASSERT_TRUE(LoginItems::setEnabled(config, system, kIdentifier, "/usr/bin/tool", true));
    EXPECT_FALSE(std::filesystem::exists(own));
    EXPECT_TRUE(LoginItems::isEnabled(config, system, kIdentifier));

    ASSERT_TRUE(LoginItems::setEnabled(config, kIdentifier, "/opt/tool", true));  // the user's own
    ASSERT_TRUE(LoginItems::setEnabled(config, system, kIdentifier, "/usr/bin/tool", true));
    EXPECT_NE(testsupport::readFile(own).find("Exec=\"/opt/tool\""), std::string::npos);
}

TEST(LoginItems, RefusesWhatCannotBecomeAnEntry) {
    TempDir dir;
    const std::string config = dir.makeDir("config");
    const std::string fileAsConfig = dir.writeFile("plain-file");
    for (const auto& row : testsupport::readDataTable("LoginItems/refused.tsv")) {
        const std::string& folder = row.at(0) == "<dir>"    ? config
                                    : row.at(0) == "<file>" ? fileAsConfig
                                                            : row.at(0);
        EXPECT_FALSE(LoginItems::setEnabled(folder, row.at(1), row.at(2), true))
            << testsupport::describeRow(row);
    }
    EXPECT_FALSE(std::filesystem::exists(dir / "escape.desktop"));
    EXPECT_TRUE(std::filesystem::is_empty(config)) << "nothing is made for a refused entry";
}

TEST(LoginItems, EntriesSwitchedOffByTheUserAndExecQuoting) {
    for (const auto& row : testsupport::readDataTable("LoginItems/enabled.tsv")) {
        TempDir dir;
        dir.writeFile(std::string("autostart/") + kIdentifier + ".desktop", row.at(0));
        EXPECT_EQ(LoginItems::isEnabled(dir.path(), kIdentifier), row.at(1) == "yes") << row.at(0);
    }
    {
        // A pipe in the entry's place is no entry, and no reader waits on it.
        TempDir dir;
        dir.makeDir("autostart");
        const std::string entry = dir / (std::string("autostart/") + kIdentifier + ".desktop");
        ASSERT_EQ(::mkfifo(entry.c_str(), 0600), 0);
        EXPECT_FALSE(LoginItems::isEnabled(dir.path(), kIdentifier));
    }
    for (const auto& row : testsupport::readDataTable("LoginItems/exec.tsv")) {
        EXPECT_EQ(LoginItems::execValueForPath(row.at(0)), row.at(1)) << row.at(0);
    }
}

}  // namespace
