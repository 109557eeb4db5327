#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <thread>

#include "platform/PropertyList.h"
#include "platform/UserDefaults.h"
#include "support/TempDir.h"

using platform::PlistArray;
using platform::PlistDictionary;
using platform::PlistValue;

namespace {

using platform::UserDefaults;

unsigned modeOf(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
}

TEST(UserDefaults, ASecondInstanceSeesWhatTheFirstWrote) {
    testsupport::TempDir dir;
    const std::string path = dir / "new/folder/settings.plist";
    UserDefaults first(path);
    UserDefaults second(path);  // opened before anything was written
    EXPECT_FALSE(first.objectForKey("count"));

    EXPECT_TRUE(first.setObject("count", 3));
    EXPECT_TRUE(first.setObject("names", PlistArray{"a", "b"}));
    EXPECT_EQ(first.objectForKey("count"), PlistValue(3));  // before writing, too
    ASSERT_TRUE(first.synchronize());
    EXPECT_EQ(modeOf(path), 0600u);
    EXPECT_EQ(modeOf(dir / "new/folder"), 0700u);
    EXPECT_EQ(platform::PropertyList::readFile(path),
              PlistValue(PlistDictionary{{"count", 3}, {"names", PlistArray{"a", "b"}}}));

    EXPECT_TRUE(UserDefaults(path).objectForKey("names"));  // opened afterwards
    EXPECT_FALSE(second.objectForKey("count"));             // until it synchronizes
    ASSERT_TRUE(second.synchronize());
    EXPECT_EQ(second.objectForKey("count"), PlistValue(3));

    // Changes from both sides merge; removals carry over.
    second.setObject("theme", "dark");
    first.removeObjectForKey("count");
    ASSERT_TRUE(first.synchronize());
    ASSERT_TRUE(second.synchronize());
    ASSERT_TRUE(first.synchronize());
    for (UserDefaults* store : {&first, &second}) {
        EXPECT_FALSE(store->objectForKey("count"));
        EXPECT_EQ(store->objectForKey("theme"), PlistValue("dark"));
        EXPECT_EQ(store->objectForKey("names"), PlistValue(PlistArray{"a", "b"}));
    }
}

TEST(UserDefaults, AnUnreadableFileIsEmptyAndKeptUntilAValueIsSet) {
    testsupport::TempDir dir;
    const std::vector<std::pair<const char*, std::string>> cases = {
        {"garbage", std::string("\x00\x01garbage", 9)},
        {"truncated binary", "bplist00\xD1\x01\x02"},
        {"not a dictionary", "<plist><array><true/></array></plist>"},
    };
    for (const auto& [name, contents] : cases) {
        SCOPED_TRACE(name);
        const std::string path = dir.writeFile(std::string(name) + ".plist", contents);
        UserDefaults store(path);
        EXPECT_FALSE(store.objectForKey("anything"));
        EXPECT_TRUE(store.synchronize());
        EXPECT_EQ(testsupport::readFile(path), contents);
        store.setObject("key", true);
        ASSERT_TRUE(store.synchronize());
        EXPECT_EQ(UserDefaults(path).objectForKey("key"), PlistValue(true));
    }
}

TEST(UserDefaults, RefusesWhatCannotBeStored) {
    testsupport::TempDir dir;
    UserDefaults store(dir / "s.plist");
    store.setObject("key", "kept");
    EXPECT_FALSE(store.setObject("key", std::string("a\0b", 3)));
    EXPECT_FALSE(store.setObject("key", PlistArray{PlistValue()}));
    EXPECT_FALSE(store.setObject("\xFF", 1));
    EXPECT_EQ(store.objectForKey("key"), PlistValue("kept"));
    EXPECT_TRUE(store.setObject("key", PlistValue()));  // none removes
    EXPECT_FALSE(store.objectForKey("key"));
    EXPECT_TRUE(store.synchronize());

    // A file that cannot be written keeps its changes pending.
    dir.writeFile("blocker", "a file where a folder should be");
    UserDefaults blocked(dir / "blocker/s.plist");
    blocked.setObject("key", 1);
    EXPECT_FALSE(blocked.synchronize());
    EXPECT_EQ(blocked.objectForKey("key"), PlistValue(1));

    UserDefaults memoryOnly("");
    EXPECT_TRUE(memoryOnly.synchronize());
    memoryOnly.setObject("key", 1);
    EXPECT_FALSE(memoryOnly.synchronize());
}

TEST(UserDefaults, SuitesLiveInTheConfigFolder) {
    testsupport::TempDir dir;
    const char* saved = std::getenv("XDG_CONFIG_HOME");
    const std::string previous = saved ? saved : "";
    ::setenv("XDG_CONFIG_HOME", dir.path().c_str(), 1);

    for (const char* bad : {"", ".hidden", "a/b", "/abs"}) {
        EXPECT_EQ(UserDefaults::createWithSuiteName(bad), nullptr) << bad;
    }
    auto suite = UserDefaults::createWithSuiteName("group.example");
    ASSERT_TRUE(suite);
    EXPECT_EQ(suite->filePath(), dir / "sweepwell/group.example.plist");
    suite->setObject("k", 1);
    EXPECT_TRUE(suite->synchronize());
    EXPECT_EQ(UserDefaults::createWithSuiteName("group.example")->objectForKey("k"), PlistValue(1));

    if (saved) {
        ::setenv("XDG_CONFIG_HOME", previous.c_str(), 1);
    } else {
        ::unsetenv("XDG_CONFIG_HOME");
    }
}

TEST(UserDefaults, WorkerThreadsShareOneStore) {
    testsupport::TempDir dir;
    UserDefaults store(dir / "s.plist");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&store, t] {
            for (int i = 0; i < 50; ++i) {
                store.setObject("thread" + std::to_string(t), i);
                (void)store.objectForKey("thread0");
                if (i % 10 == 0) store.synchronize();
            }
        });
    }
    for (auto& thread : threads) thread.join();
    ASSERT_TRUE(store.synchronize());
    UserDefaults reader(dir / "s.plist");
    for (int t = 0; t < 4; ++t) {
        EXPECT_EQ(reader.objectForKey("thread" + std::to_string(t)), PlistValue(49));
    }
}

}  // namespace
