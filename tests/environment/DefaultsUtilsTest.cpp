#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "environment/DefaultsUtils.h"
#include "platform/UserDefaults.h"
#include "support/TempDir.h"

namespace {

using namespace platform;

constexpr unsigned long long kMax = std::numeric_limits<unsigned long long>::max();

TEST(DefaultsUtils, StoredObjectsConvertWithoutATypeCheck) {
    testsupport::TempDir dir;
    UserDefaults store(dir / "s.plist");
    const struct {
        const char* name;
        PlistValue stored;
        unsigned long long asNumber;
        bool asBool;
    } cases[] = {
        {"integer", 12, 12, true},
        {"zero", 0, 0, false},
        {"negative integer wraps", -1, kMax, true},
        {"large unsigned", kMax, kMax, true},
        {"true", true, 1, true},
        {"false", false, 0, false},
        {"real truncates", 12.9, 12, true},
        {"small real", 0.25, 0, true},
        {"negative real wraps", -2.5, kMax - 1, true},
        {"huge real saturates", 1e30, kMax, true},
        {"NaN", std::nan(""), 0, true},
        {"digits", "12", 12, true},
        {"digits then text", "  +12abc", 12, true},
        {"negative digits wrap", "-1", kMax, true},
        {"beyond 64 bits saturates", "99999999999999999999", 9223372036854775807ULL, true},
        {"leading zeros", "007", 7, true},
        {"zero text", "0", 0, false},
        {"fraction text", "0.5", 0, false},
        {"YES", "YES", 0, true},
        {"true text", "true", 0, true},
        {"NO", "NO", 0, false},
        {"empty text", "", 0, false},
        {"data", PlistData{1}, 0, false},
        {"date", PlistDate{100}, 0, false},
        {"array", PlistArray{1}, 0, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        store.setObject("key", c.stored);
        EXPECT_EQ(DefaultsUtils::getUnsignedLongLongValueForKey(store, "key", 99), c.asNumber);
        EXPECT_EQ(DefaultsUtils::getBoolValueForKey(store, "key", !c.asBool), c.asBool);
    }
}

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
