#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "platform/LoginItems.h"
#include "support/TempDir.h"

namespace {

namespace LoginItems = platform::LoginItems;
using testsupport::TempDir;

constexpr const char* kIdentifier = "com.example.Tool-Helper";

TEST(LoginItems, EnablingWritesAnAutostartEntryAndDisablingRemovesIt) {
    TempDir dir;
    const std::string config = dir / "config";  // made on demand
    const std::string entry = config + "/autostart/" + kIdentifier + ".desktop";
    EXPECT_FALSE(LoginItems::isEnabled(config, kIdentifier));
    ASSERT_TRUE(LoginItems::setEnabled(config, kIdentifier,
                                       "/opt/Tool Helper.app/Contents/MacOS/Tool Helper", true));
    EXPECT_EQ(testsupport::readFile(entry),
              "[Desktop Entry]\nType=Application\nName=Tool Helper\n"
              "Exec=\"/opt/Tool Helper.app/Contents/MacOS/Tool Helper\"\n"
              "X-GNOME-Autostart-enabled=true\nNoDisplay=true\n");
    EXPECT_TRUE(LoginItems::isEnabled(config, kIdentifier));
    ASSERT_TRUE(LoginItems::setEnabled(config, kIdentifier, "/usr/libexec/tool", true));
    EXPECT_NE(testsupport::readFile(entry).find("\nExec=\"/usr/libexec/tool\"\n"),
              std::string::npos);

    ASSERT_TRUE(LoginItems::setEnabled(config, kIdentifier, "", false));
    EXPECT_FALSE(std::filesystem::exists(entry));
    EXPECT_FALSE(LoginItems::isEnabled(config, kIdentifier));
    EXPECT_TRUE(LoginItems::setEnabled(config, kIdentifier, "", false)) << "already off";
}

TEST(LoginItems, RefusesWhatCannotBecomeAnEntry) {
    TempDir dir;
    const std::string config = dir.makeDir("config");
    const std::string fileAsConfig = dir.writeFile("plain-file");
    struct Row {
        std::string config, identifier, executable;
    };
    for (const Row& row : std::vector<Row>{{config, "", "/usr/bin/tool"},
                                           {config, "../escape", "/usr/bin/tool"},
                                           {config, "..", "/usr/bin/tool"},
                                           {config, "a\nb", "/usr/bin/tool"},
                                           {config, kIdentifier, ""},
                                           {config, kIdentifier, "bin/tool"},
                                           {fileAsConfig, kIdentifier, "/usr/bin/tool"},
                                           {"", kIdentifier, "/usr/bin/tool"}}) {
        EXPECT_FALSE(LoginItems::setEnabled(row.config, row.identifier, row.executable, true))
            << row.config << " " << row.identifier << " " << row.executable;
    }
    EXPECT_FALSE(std::filesystem::exists(dir / "escape.desktop"));
    EXPECT_TRUE(std::filesystem::is_empty(config)) << "nothing is made for a refused entry";
}

TEST(LoginItems, EntrySwitchedOffByTheUserIsNotEnabled) {
    struct Row {
        std::string contents;
        bool enabled;
    };
    for (const Row& row :
         std::vector<Row>{{"[Desktop Entry]\nType=Application\nExec=/usr/bin/tool\n", true},
                          {"[Desktop Entry]\nExec=/usr/bin/tool\nHidden=true\n", false},
                          {"[Desktop Entry]\nX-GNOME-Autostart-enabled=false\n", false},
                          {"[Desktop Entry]\nHidden = true\n", false},
                          {"[Desktop Entry]\nExec=x\n[Desktop Action a]\nHidden=true\n", true},
                          {"[Desktop Entry]\n# Hidden=true\n", true},
                          {"Type=Application\nExec=/usr/bin/tool\n", false}}) {
        TempDir dir;
        dir.writeFile(std::string("autostart/") + kIdentifier + ".desktop", row.contents);
        EXPECT_EQ(LoginItems::isEnabled(dir.path(), kIdentifier), row.enabled) << row.contents;
    }
}

TEST(LoginItems, ExecQuotesThePathAndEscapesItsSpecialCharacters) {
    // Inside quotes " ` $ \ take a backslash and % is doubled; then each
    // backslash is doubled again as the file's string escaping requires.
    for (const auto& [path, exec] : std::vector<std::pair<std::string, std::string>>{
             {"/usr/bin/tool", R"("/usr/bin/tool")"},
             {"/opt/My Tool/run", R"("/opt/My Tool/run")"},
             {"/opt/$HOME/run", R"("/opt/\\$HOME/run")"},
             {"/opt/a\\b", R"("/opt/a\\\\b")"},
             {"/opt/say \"hi\"", R"("/opt/say \\"hi\\"")"},
             {"/opt/`x`", R"("/opt/\\`x\\`")"},
             {"/opt/100%", R"("/opt/100%%")"},
             {"/opt/a'b;c&d", R"("/opt/a'b;c&d")"},
             {"/opt/line\nbreak", R"("/opt/line\nbreak")"}}) {
        EXPECT_EQ(LoginItems::execValueForPath(path), exec) << path;
    }
}

}  // namespace
