#include <gtest/gtest.h>

#include <limits>

#include "environment/DefaultsUtils.h"
#include "platform/PropertyList.h"
#include "platform/UserDefaults.h"
#include "support/DataTable.h"
#include "support/TempDir.h"

namespace {

using namespace platform;

constexpr unsigned long long kMax = std::numeric_limits<unsigned long long>::max();

TEST(DefaultsUtils, DefaultsOnlyWhenNothingIsStoredAndSavesReachTheFile) {
    testsupport::TempDir dir;
    UserDefaults store(dir / "s.plist");
    const PlistArray paths{"/a", "/b"};
    const PlistDictionary options{{"depth", 2}};
    EXPECT_EQ(DefaultsUtils::getUnsignedLongLongValueForKey(store, "missing", 99), 99u);
    EXPECT_TRUE(DefaultsUtils::getBoolValueForKey(store, "missing", true));
    EXPECT_EQ(DefaultsUtils::getArrayValueForKey(store, "missing", paths), paths);
    EXPECT_EQ(DefaultsUtils::getDictionaryValueForKey(store, "missing", options), options);
    // Something of another kind is stored: empty, not the default.
    store.setObject("text", "x");
    EXPECT_EQ(DefaultsUtils::getArrayValueForKey(store, "text", paths), PlistArray{});
    EXPECT_EQ(DefaultsUtils::getDictionaryValueForKey(store, "text", options), PlistDictionary{});

    DefaultsUtils::saveUnsignedLongLongValue(store, "size", kMax);
    DefaultsUtils::saveBoolValue(store, "flag", true);
    DefaultsUtils::saveArrayValue(store, "paths", paths);
    DefaultsUtils::saveDictionaryValue(store, "options", options);
    UserDefaults reader(dir / "s.plist");
    EXPECT_EQ(DefaultsUtils::getUnsignedLongLongValueForKey(reader, "size", 0), kMax);
    EXPECT_TRUE(DefaultsUtils::getBoolValueForKey(reader, "flag", false));
    EXPECT_EQ(DefaultsUtils::getArrayValueForKey(reader, "paths", {}), paths);
    EXPECT_EQ(DefaultsUtils::getDictionaryValueForKey(reader, "options", {}), options);
}

}  // namespace
