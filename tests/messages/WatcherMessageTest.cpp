#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "messages/MessageTestSupport.h"
#include "messages/WatcherMessage.h"
#include "support/DataTable.h"
#include "support/TempDir.h"

namespace {

using testsupport::describe;
using testsupport::exists;

const std::string kHeader = "---=== Sweepwell Agent Watcher Message v2 ===---\n";

TEST(WatcherMessage, WritesTheFormatAndReadsItBackEntryForEntry) {
    testsupport::TempDir dir;
    auto cache = std::make_shared<PathForRemove>("/Users/u/Library/Caches/a", 3, "Com.Example.App");
    cache->setSize(1024);
    const std::vector<std::shared_ptr<PathForRemove>> entries = {
        cache, std::make_shared<PathForRemove>("/Users/u/Library/Preferences/a.plist", 0, "b"),
        std::make_shared<PathForRemove>("/Users/u/Library/\u00c9t\u00e9 \"q\"\\", 17, "x")};
    WatcherMessage written;
    written.setPathsForRemove(entries);
    const auto path = written.saveForTransmit(dir / "messages/nested");
    ASSERT_TRUE(path.has_value());
    EXPECT_TRUE(std::regex_match(
        *path, std::regex(dir / "messages/nested/random_[0-9]+-[0-9]+\\.trforsw")));

    const std::string text = testsupport::readFile(*path);
    ASSERT_EQ(text.compare(0, kHeader.size(), kHeader), 0);
    const std::string json = text.substr(kHeader.size());
    EXPECT_EQ(json.find_first_of("\n "), json.find("\u00c9t\u00e9 ") + 5);  // compact, one line
    EXPECT_NE(json.find(R"("path":"\/Users\/u\/Library\/Caches\/a")"), std::string::npos);
    EXPECT_EQ(nlohmann::json::parse(json)["items"][0],
              nlohmann::json({{"type", "3"},
                              {"size", "1024"},
                              {"path", "/Users/u/Library/Caches/a"},
                              {"bundleId", "com.example.app"}}));

    WatcherMessage read;
    ASSERT_TRUE(read.loadFromPath(*path));
    EXPECT_FALSE(exists(*path));  // a list that was read is consumed
    EXPECT_EQ(describe(read.getPathsForRemove()), describe(entries));
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

// Lists under tests/data: those in read/ give the entries their ".expected"
// names ("type path bundleId size"), those in refused/ give none.
TEST(WatcherMessage, ReaderAcceptsWhatTheFormatAllowsAndRefusesTheRest) {
    testsupport::TempDir dir;
    auto load = [&](const std::string& text, const std::vector<std::string>& expected) {
        const std::string path = dir.writeFile("list.trforsw", text);
        WatcherMessage message;
        EXPECT_EQ(message.loadFromPath(path), !expected.empty());
        EXPECT_EQ(describe(message.getPathsForRemove()), expected);
        EXPECT_EQ(exists(path), expected.empty());  // a list that was read is consumed
        ::unlink(path.c_str());
    };
    for (const char* folder : {"WatcherMessage/read", "WatcherMessage/refused"}) {
        for (const std::string& file : testsupport::dataFiles(folder)) {
            if (!file.ends_with(".trforsw")) continue;
            SCOPED_TRACE(file);
            const std::string expected = file.substr(0, file.size() - 8) + ".expected";
            load(testsupport::readFile(file), linesOf(testsupport::readFile(expected)));
        }
    }
    // Nesting far deeper than any list is refused without running out of stack.
    const std::string list = kHeader + R"({"items":[)";
    load(list + std::string(100000, '[') + std::string(100000, ']') + "]}", {});
    load(kHeader + std::string(100000, '['), {});
    EXPECT_FALSE(WatcherMessage().loadFromPath(dir / "missing.trforsw"));
}

// A file name may hold any byte; JSON carries only UTF-8. The entries that
// cannot be written are left out and the rest still reach the reader.
TEST(WatcherMessage, EntriesThatAreNotUtf8AreSkippedAndTheRestWritten) {
    testsupport::TempDir dir;
    const auto entry = [](const std::string& path, const std::string& bundleId) {
        return std::make_shared<PathForRemove>(path, 1, bundleId);
    };
    const std::vector<std::shared_ptr<PathForRemove>> entries = {
        entry("/Users/u/Library/LaunchAgents/a.\xFF.plist", "a"),
        entry("/Users/u/Library/Caches/a", "a"),
        entry("/Users/u/Library/Caches/\xED\xA0\x80", "a"),  // an encoded surrogate
        entry("/Users/u/Library/Caches/b", "b\xC3"),
        entry("/Users/u/Library/\u00c9t\u00e9", "a"),
        entry("/Users/u/Library/Caches/\xC0\xAF", "a"),  // an overlong "/"
    };
    WatcherMessage written, read;
    written.setPathsForRemove(entries);
    const auto path = written.saveForTransmit(dir.path());
    ASSERT_TRUE(path && read.loadFromPath(*path));
    EXPECT_EQ(describe(read.getPathsForRemove()), describe({entries[1], entries[4]}));

    // Nothing writable left: the file is still written, with an empty list.
    written.setPathsForRemove({entries[0]});
    EXPECT_EQ(written.messageText(), kHeader + R"({"items":[]})");
}

}  // namespace
