#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "platform/PropertyList.h"
#include "support/BinaryPlist.h"
#include "support/DataTable.h"
#include "support/TempDir.h"

// The property-list value types, by their short names.
using namespace platform;

namespace {

using Bytes = std::vector<std::uint8_t>;
using testsupport::BinaryPlist;

PlistValue nestedArrays(std::size_t depth) {
    PlistValue value = PlistArray{};
    for (std::size_t i = 1; i < depth; ++i) value = PlistArray{std::move(value)};
    return value;
}

std::string nestedXml(std::size_t depth) {
    std::string xml = "<plist>";
    for (std::size_t i = 0; i < depth; ++i) xml += "<array>";
    for (std::size_t i = 0; i < depth; ++i) xml += "</array>";
    return xml + "</plist>";
}

std::optional<PlistValue> parseBytes(const Bytes& bytes) {
    return platform::PropertyList::parse(bytes.data(), bytes.size());
}

TEST(PropertyList, EveryKindRoundTripsThroughBothFormats) {
    Bytes allBytes;
    for (int i = 0; i < 256; ++i) allBytes.push_back(static_cast<std::uint8_t>(i));
    struct Case {
        const char* name;
        PlistValue value;
        bool xmlKeepsIt = true;  // XML dates have whole seconds only
    };
    const std::vector<Case> cases = {
        {"true", true},
        {"zero", 0},
        {"minus one", -1},
        {"int64 min", std::numeric_limits<std::int64_t>::min()},
        {"int64 max", std::numeric_limits<std::int64_t>::max()},
        {"uint64 max", std::numeric_limits<std::uint64_t>::max()},
        {"real", 0.1},
        {"infinity", std::numeric_limits<double>::infinity()},
        {"empty string", ""},
        {"unicode string", "h\xC3\xA9llo \xF0\x9F\x98\x80"},
        {"markup string", "a<b>&c]]> \"'"},
        {"empty data", PlistData{}},
        {"all bytes", allBytes},
        {"reference date", PlistDate{0}},
        {"date before 2001", PlistDate{-86400.0 * 365}},
        {"fractional date", PlistDate{1234.5}, false},
        {"fraction before the reference date", PlistDate{-0.25}, false},
        {"uid", PlistUid{7}},
        {"largest uid", PlistUid{0xFFFFFFFF}},
        {"empty array", PlistArray{}},
        {"empty dictionary", PlistDictionary{}},
        {"nested", PlistDictionary{{"", PlistArray{1, "two", PlistDictionary{{"k", 3.5}}}},
                                   {"uids", PlistArray{PlistUid{0}, PlistUid{1}}},
                                   {"z", PlistData{1, 2, 3}}}},
        {"512 levels", nestedArrays(512)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_TRUE(platform::PropertyList::isSerializable(c.value));
        const Bytes binary = platform::PropertyList::toBinary(c.value);
        ASSERT_FALSE(binary.empty());
        EXPECT_EQ(parseBytes(binary), c.value);
        const std::string xml = platform::PropertyList::toXml(c.value);
        ASSERT_FALSE(xml.empty());
        const auto fromXml = platform::PropertyList::parse(xml);
        ASSERT_TRUE(fromXml.has_value());
        if (c.xmlKeepsIt) {
            EXPECT_EQ(*fromXml, c.value);
        }
    }
}

// Equal values share one object, whichever copies they are, so the bytes
// depend on the value alone: a writer that shared equal data only when their
// addresses happened to hash alike wrote one command two ways.
TEST(PropertyList, EqualValuesShareOneObjectWhateverTheirAddresses) {
    const PlistValue value(PlistArray(64, PlistValue(PlistData{1, 2, 3})));
    const Bytes binary = platform::PropertyList::toBinary(value);
    ASSERT_GE(binary.size(), 32u);
    std::uint64_t objects = 0;  // the trailer's second 8-byte field
    for (std::size_t i = binary.size() - 24; i < binary.size() - 16; ++i) {
        objects = objects << 8 | binary[i];
    }
    EXPECT_EQ(objects, 2u);  // the array and one data object
    EXPECT_EQ(parseBytes(binary), value);
}

TEST(PropertyList, HostileInputIsRefused) {
    const Bytes good = platform::PropertyList::toBinary(
        PlistDictionary{{"a", PlistArray{1, 2.5, "three"}}, {"b", PlistData{9, 9}}});
    ASSERT_TRUE(parseBytes(good));
    for (std::size_t length = 0; length < good.size(); ++length) {
        EXPECT_FALSE(parseBytes(Bytes(good.begin(), good.begin() + length))) << length;
    }

    // Hand-made files, each refused for the reason its name gives.
    for (const std::string& path : testsupport::dataFiles("PropertyList/refused")) {
        EXPECT_FALSE(platform::PropertyList::parse(testsupport::readFile(path))) << path;
    }

    BinaryPlist chain(4);  // 100000 arrays, each holding the next
    for (std::uint32_t i = 0; i < 100000; ++i) chain.array({i + 1});
    chain.integer(1);
    EXPECT_FALSE(parseBytes(chain.build(0))) << "chain deeper than the limit";
    // 60 chains of 500 arrays, each chain ending in the previous one, all
    // held by the root: every object is shared once, the whole is 30000 deep.
    BinaryPlist sharedChains(4);
    const std::uint32_t chains = 60, length = 500;
    std::vector<BinaryPlist::Ref> tops;
    for (std::uint32_t c = 0; c < chains; ++c) tops.push_back(1 + c * length);
    sharedChains.array(tops);
    for (std::uint32_t c = 0; c < chains; ++c) {
        for (std::uint32_t i = 0; i + 1 < length; ++i) sharedChains.array({tops[c] + i + 1});
        sharedChains.array(c == 0 ? std::vector<BinaryPlist::Ref>{} : std::vector{tops[c - 1]});
    }
    EXPECT_FALSE(parseBytes(sharedChains.build(0))) << "shared chains stacking up";

    for (const std::string& xml : {nestedXml(100000), "<!-- <array> -->" + nestedXml(100000)}) {
        EXPECT_FALSE(platform::PropertyList::parse(xml)) << xml.substr(0, 30);
    }
}

}  // namespace
