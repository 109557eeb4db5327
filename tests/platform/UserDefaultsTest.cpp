#include <gtest/gtest.h>

#include "platform/PropertyList.h"
#include "platform/UserDefaults.h"
#include "support/TempDir.h"

using platform::PlistArray;
using platform::PlistDictionary;
using platform::PlistValue;

namespace {

using platform::UserDefaults;
using testsupport::modeOf;

TEST(UserDefaults, ASecondInstanceSeesWhatTheFirstWrote) {
    testsupport::TempDir dir;
    const std::string path = dir / "new/folder/settings.plist";
    UserDefaults first(path);
    UserDefaults second(path);  // opened before anything was written

    EXPECT_TRUE(first.setObject("count", 3));
    EXPECT_TRUE(first.setObject("names", PlistArray{"a", "b"}));
    EXPECT_EQ(first.objectForKey("count"), PlistValue(3));  // before writing, too
    ASSERT_TRUE(first.synchronize());
    EXPECT_EQ(modeOf(path), 0600u);
    EXPECT_EQ(modeOf(dir / "new/folder"), 0700u);
    EXPECT_EQ(platform::PropertyList::readFile(path),
              PlistValue(PlistDictionary{{"count", 3}, {"names", PlistArray{"a", "b"}}}));

    EXPECT_FALSE(second.objectForKey("count"));  // until it synchronizes
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

}  // namespace
