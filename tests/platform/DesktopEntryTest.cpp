#include <gtest/gtest.h>
#include <sys/stat.h>

#include <sstream>

#include "platform/DesktopEntry.h"
#include "support/DataTable.h"
#include "support/TempDir.h"

namespace {

using platform::DesktopEntry;

TEST(DesktopEntry, ReadsValuesFromTheMainGroupOnly) {
    for (const auto& row : testsupport::readDataTable("DesktopEntry/values.tsv")) {
        SCOPED_TRACE(testsupport::describeRow(row));
        const auto entry = DesktopEntry::parse(row.at(0));
        ASSERT_TRUE(entry);
        const auto value = entry->value(row.at(1), row.at(2));
        EXPECT_EQ(value.value_or("absent"), row.at(3));
    }
}

TEST(DesktopEntry, RefusesWhatIsNoDesktopEntry) {
    for (const char* text :
         {"", "Name=Foo\n", "[desktop entry]\nName=Foo\n", "[Desktop Entry] x\nName=Foo\n",
          "[Desktop Action new]\nName=Foo\n", "# [Desktop Entry]\nName=Foo\n"}) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(DesktopEntry::parse(text));
    }
    const std::string head = "[Desktop Entry]\nName=Foo\n";
    const std::string fill(DesktopEntry::kMaxFileSize - head.size(), '#');
    EXPECT_TRUE(DesktopEntry::parse(head + fill)) << "at the size limit";
    EXPECT_FALSE(DesktopEntry::parse(head + fill + "#")) << "over the size limit";
}

TEST(DesktopEntry, PicksTheTranslationOfTheLocale) {
    for (const auto& row : testsupport::readDataTable("DesktopEntry/locales.tsv")) {
        SCOPED_TRACE(testsupport::describeRow(row));
        std::string text = "[Desktop Entry]\nName=default\n";
        std::istringstream tags(row.at(0));
        for (std::string tag; tags >> tag;) text += "Name[" + tag + "]=" + tag + "\n";
        const auto entry = DesktopEntry::parse(text);
        ASSERT_TRUE(entry);
        EXPECT_EQ(entry->name(row.at(1)), row.at(2));
    }
}

TEST(DesktopEntry, SplitsLists) {
    for (const auto& row : testsupport::readDataTable("DesktopEntry/lists.tsv")) {
        SCOPED_TRACE(testsupport::describeRow(row));
        const auto entry = DesktopEntry::parse("[Desktop Entry]\nMimeType=" + row.at(0) + "\n");
        ASSERT_TRUE(entry);
        const std::vector<std::string> expected(row.begin() + 1, row.end());
        EXPECT_EQ(entry->list("MimeType"), expected);
    }
}

TEST(DesktopEntry, SplitsExecByItsQuotingRules) {
    for (const auto& row : testsupport::readDataTable("DesktopEntry/exec.tsv")) {
        SCOPED_TRACE(testsupport::describeRow(row));
        const auto entry = DesktopEntry::parse("[Desktop Entry]\nExec=" + row.at(0) + "\n");
        ASSERT_TRUE(entry);
        if (row.at(1) == "none") {
            EXPECT_FALSE(entry->execArguments());
            EXPECT_EQ(entry->execProgram(), "");
            continue;
        }
        const std::vector<std::string> expected(row.begin() + 1, row.end());
        EXPECT_EQ(entry->execArguments(), expected);
        EXPECT_EQ(entry->execProgram(), expected.front());
    }
}

// The keys the agent identifies an application by, each under its own name;
// a boolean is only "true" or "false".
TEST(DesktopEntry, AnswersTheKeysTheAgentUses) {
    const auto entry = DesktopEntry::parse(
        "[Desktop Entry]\nType=Application\nName=Foo\nIcon=foo-icon\nTryExec=/home/u/Apps/Foo\n"
        "StartupWMClass=FooWin\nX-AppImage-Name=FooImage\nX-ExecLocation=/home/u/Apps/F\n"
        "X-Flatpak=org.example.Foo\nNoDisplay=true\nHidden=True\nTerminal=false\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(
        (std::vector{entry->type(), entry->name(), entry->icon(), entry->tryExec(),
                     entry->startupWMClass(), entry->appImageName(), entry->execLocation(),
                     entry->flatpak()}),
        (std::vector<std::string>{"Application", "Foo", "foo-icon", "/home/u/Apps/Foo", "FooWin",
                                  "FooImage", "/home/u/Apps/F", "org.example.Foo"}));
    EXPECT_TRUE(entry->noDisplay());
    EXPECT_FALSE(entry->hidden()) << "only \"true\" is true";
    EXPECT_EQ(entry->boolean("Terminal"), false);
    EXPECT_EQ(entry->boolean("Missing"), std::nullopt);

    const auto bare = DesktopEntry::parse("[Desktop Entry]\nHidden=true\n");
    ASSERT_TRUE(bare);
    EXPECT_TRUE(bare->hidden());
    EXPECT_FALSE(bare->noDisplay());
}

// Only a small regular file is read, and never through a link.
TEST(DesktopEntry, ReadsOnlyASmallRegularFile) {
    testsupport::TempDir folder;
    const std::string valid = "[Desktop Entry]\nName=Foo\n";
    folder.writeFile("foo.desktop", valid);
    folder.makeSymlink("linked.desktop", folder / "foo.desktop");
    folder.makeDir("folder.desktop");
    ASSERT_EQ(::mkfifo((folder / "fifo.desktop").c_str(), 0600), 0);
    folder.writeFile("big.desktop", valid + std::string(DesktopEntry::kMaxFileSize, '#'));

    const auto read = DesktopEntry::read(folder / "foo.desktop");
    ASSERT_TRUE(read);
    EXPECT_EQ(read->name(), "Foo");
    for (const char* name :
         {"linked.desktop", "folder.desktop", "fifo.desktop", "big.desktop", "missing.desktop"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(DesktopEntry::read(folder / name));
    }
}

}  // namespace
