#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "platform/LoginItems.h"
#include "support/TempDir.h"

namespace {

namespace LoginItems = platform::LoginItems;
using testsupport::TempDir;

constexpr const char* kIdentifier = "com.example.Tool-Helper";

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}

TEST(LoginItems, EnablingWritesAnAutostartEntryAndDisablingRemovesIt) {
    TempDir dir;
    const std::string config = dir / "config";  // made on demand
    const std::string autostart = config + "/autostart";
    const std::string entry = autostart + "/" + kIdentifier + ".desktop";
    const std::string executable = "/opt/Tool Helper.app/Contents/MacOS/Tool Helper";

    EXPECT_FALSE(LoginItems::isEnabled(config, kIdentifier));
    ASSERT_TRUE(LoginItems::setEnabled(config, kIdentifier, executable, true));
    EXPECT_EQ(testsupport::readFile(entry),
              "[Desktop Entry]\n"
              "Type=Application\n"
              "Name=Tool Helper\n"
              "Exec=\"/opt/Tool Helper.app/Contents/MacOS/Tool Helper\"\n"
              "X-GNOME-Autostart-enabled=true\n"
              "NoDisplay=true\n");
    EXPECT_TRUE(LoginItems::isEnabled(config, kIdentifier));

    // Enabling again replaces the entry and leaves no temporary file behind.
    ASSERT_TRUE(LoginItems::setEnabled(config, kIdentifier, "/usr/libexec/tool", true));
    EXPECT_NE(testsupport::readFile(entry).find("\nExec=\"/usr/libexec/tool\"\n"),
              std::string::npos);
    EXPECT_EQ(namesIn(autostart), std::vector<std::string>{std::string(kIdentifier) + ".desktop"});

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
        const char* what;
        std::string config;
        std::string identifier;
        std::string executable;
    };
    const std::vector<Row> rows = {
        {"empty identifier", config, "", "/usr/bin/tool"},
        {"identifier with a separator", config, "../escape", "/usr/bin/tool"},
        {"identifier naming the parent", config, "..", "/usr/bin/tool"},
        {"identifier with a line break", config, "a\nb", "/usr/bin/tool"},
        {"no executable", config, kIdentifier, ""},
        {"relative executable", config, kIdentifier, "bin/tool"},
        {"config folder is a file", fileAsConfig, kIdentifier, "/usr/bin/tool"},
        {"no config folder", "", kIdentifier, "/usr/bin/tool"},
    };
    for (const Row& row : rows) {
        EXPECT_FALSE(LoginItems::setEnabled(row.config, row.identifier, row.executable, true))
            << row.what;
    }
    EXPECT_FALSE(std::filesystem::exists(dir / "escape.desktop"));
    EXPECT_TRUE(namesIn(config).empty()) << "nothing is made for a refused entry";
}

TEST(LoginItems, EntrySwitchedOffByTheUserIsNotEnabled) {
    struct Row {
        const char* what;
        std::string contents;
        bool enabled;
    };
    const std::vector<Row> rows = {
        {"plain entry", "[Desktop Entry]\nType=Application\nExec=/usr/bin/tool\n", true},
        {"hidden", "[Desktop Entry]\nExec=/usr/bin/tool\nHidden=true\n", false},
        {"autostart off", "[Desktop Entry]\nX-GNOME-Autostart-enabled=false\n", false},
        {"spaces around the equals sign", "[Desktop Entry]\nHidden = true\n", false},
        {"switch in another group", "[Desktop Entry]\nExec=x\n[Desktop Action a]\nHidden=true\n",
         true},
        {"comment", "[Desktop Entry]\n# Hidden=true\n", true},
        {"no entry group", "Type=Application\nExec=/usr/bin/tool\n", false},
    };
    for (const Row& row : rows) {
        TempDir dir;
        dir.writeFile(std::string("autostart/") + kIdentifier + ".desktop", row.contents);
        EXPECT_EQ(LoginItems::isEnabled(dir.path(), kIdentifier), row.enabled) << row.what;
    }
}

TEST(LoginItems, ExecQuotesThePathAndEscapesItsSpecialCharacters) {
    struct Row {
        std::string path;
        std::string exec;
    };
    // Inside quotes " ` $ \ take a backslash and % is doubled; then each
    // backslash is doubled again as the file's string escaping requires.
    const std::vector<Row> rows = {
        {"/usr/bin/tool", R"("/usr/bin/tool")"},
        {"/opt/My Tool/run", R"("/opt/My Tool/run")"},
        {"/opt/$HOME/run", R"("/opt/\\$HOME/run")"},
        {"/opt/a\\b", R"("/opt/a\\\\b")"},
        {"/opt/say \"hi\"", R"("/opt/say \\"hi\\"")"},
        {"/opt/`x`", R"("/opt/\\`x\\`")"},
        {"/opt/100%", R"("/opt/100%%")"},
        {"/opt/a'b;c&d", R"("/opt/a'b;c&d")"},
        {"/opt/line\nbreak", R"("/opt/line\nbreak")"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(LoginItems::execValueForPath(row.path), row.exec) << row.path;
    }
}

}  // namespace
