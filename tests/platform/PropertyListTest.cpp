#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>

#include "platform/PropertyList.h"
#include "support/TempDir.h"

using platform::PlistArray;
using platform::PlistData;
using platform::PlistDate;
using platform::PlistDictionary;
using platform::PlistUid;
using platform::PlistValue;

namespace {

using Bytes = std::vector<std::uint8_t>;

// Builds binary property lists object by object, so tests can describe
// graphs the writer would never produce (cycles, shared children, chains).
class BinaryBuilder {
public:
    // An array holding references to the given objects.
    std::size_t array(const std::vector<std::uint64_t>& refs) {
        Bytes object;
        if (refs.size() < 15) {
            object.push_back(static_cast<std::uint8_t>(0xA0 | refs.size()));
        } else {
            object = {0xAF, 0x12};
            appendBigEndian(object, refs.size(), 4);
        }
        for (std::uint64_t ref : refs) appendBigEndian(object, ref, 4);
        return add(object);
    }
    std::size_t integer(std::int64_t value) {
        Bytes object{0x13};
        appendBigEndian(object, static_cast<std::uint64_t>(value), 8);
        return add(object);
    }
    std::size_t raw(Bytes object) { return add(std::move(object)); }

    Bytes build(std::uint64_t root = 0) const {
        Bytes out{'b', 'p', 'l', 'i', 's', 't', '0', '0'};
        std::vector<std::uint64_t> offsets;
        for (const Bytes& object : m_objects) {
            offsets.push_back(out.size());
            out.insert(out.end(), object.begin(), object.end());
        }
        const std::uint64_t table = out.size();
        for (std::uint64_t offset : offsets) appendBigEndian(out, offset, 4);
        out.insert(out.end(), 6, 0);
        out.push_back(4);  // offset size
        out.push_back(4);  // reference size
        appendBigEndian(out, m_objects.size(), 8);
        appendBigEndian(out, root, 8);
        appendBigEndian(out, table, 8);
        return out;
    }

private:
    static void appendBigEndian(Bytes& out, std::uint64_t value, int width) {
        for (int shift = (width - 1) * 8; shift >= 0; shift -= 8) {
            out.push_back(static_cast<std::uint8_t>(value >> shift));
        }
    }
    std::size_t add(Bytes object) {
        m_objects.push_back(std::move(object));
        return m_objects.size() - 1;
    }
    std::vector<Bytes> m_objects;
};

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
        {"false", false},
        {"zero", 0},
        {"minus one", -1},
        {"int64 min", std::numeric_limits<std::int64_t>::min()},
        {"int64 max", std::numeric_limits<std::int64_t>::max()},
        {"uint64 max", std::numeric_limits<std::uint64_t>::max()},
        {"2^63", std::uint64_t{1} << 63},
        {"real", 0.1},
        {"negative real", -2.5e300},
        {"infinity", std::numeric_limits<double>::infinity()},
        {"empty string", ""},
        {"unicode string", "h\xC3\xA9llo \xF0\x9F\x98\x80"},
        {"markup string", "a<b>&c]]> \"'"},
        {"empty data", PlistData{}},
        {"all bytes", allBytes},
        {"reference date", PlistDate{0}},
        {"whole date", PlistDate{1e9}},
        {"date before 2001", PlistDate{-86400.0 * 365}},
        {"fractional date", PlistDate{1234.5}, false},
        {"fraction before the reference date", PlistDate{-0.25}, false},
        {"negative fractional date", PlistDate{-99.75}, false},
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
    // -1 and 2^64-1 share their bits but are different values.
    EXPECT_NE(
        parseBytes(platform::PropertyList::toBinary(std::numeric_limits<std::uint64_t>::max())),
        PlistValue(-1));
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

TEST(PropertyList, ValuesNoPropertyListCanHoldAreNotWritten) {
    PlistValue tooDeep = nestedArrays(513);
    const std::vector<std::pair<const char*, PlistValue>> cases = {
        {"none", PlistValue()},
        {"none inside", PlistArray{1, PlistValue()}},
        {"string with NUL", std::string("a\0b", 3)},
        {"string not UTF-8", "\xFF\xFE"},
        {"overlong UTF-8", "\xC0\xAF"},
        {"surrogate in UTF-8", "\xED\xA0\x80"},
        {"key not UTF-8", PlistDictionary{{"\xC3", 1}}},
        {"date after 2069", PlistDate{3e9}},
        {"date not finite", PlistDate{std::nan("")}},
        {"uid beyond 32 bits", PlistUid{std::uint64_t{1} << 32}},
        {"513 levels", tooDeep},
    };
    for (const auto& [name, value] : cases) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(platform::PropertyList::isSerializable(value));
        EXPECT_TRUE(platform::PropertyList::toBinary(value).empty());
        EXPECT_TRUE(platform::PropertyList::toXml(value).empty());
    }
}

TEST(PropertyList, HostileInputIsRefused) {
    const Bytes good = platform::PropertyList::toBinary(
        PlistDictionary{{"a", PlistArray{1, 2.5, "three"}}, {"b", PlistData{9, 9}}});
    ASSERT_TRUE(parseBytes(good));
    for (std::size_t length = 0; length < good.size(); ++length) {
        EXPECT_FALSE(parseBytes(Bytes(good.begin(), good.begin() + length))) << length;
    }
    const std::string goodXml =
        platform::PropertyList::toXml(PlistDictionary{{"a", PlistArray{1, "x"}}});
    ASSERT_TRUE(platform::PropertyList::parse(goodXml));
    for (std::size_t length = 0; length < goodXml.size(); length += 7) {
        (void)platform::PropertyList::parse(goodXml.substr(0, length));  // must simply not crash
    }

    BinaryBuilder selfCycle;
    selfCycle.array({0});
    BinaryBuilder longCycle;
    longCycle.array({1});
    longCycle.array({2, 2});
    longCycle.array({0});
    BinaryBuilder chain;  // 100000 arrays, each holding the next
    for (std::uint64_t i = 0; i < 100000; ++i) chain.array({i + 1});
    chain.integer(1);
    BinaryBuilder doubling;  // 64 levels, each referring twice to the next
    for (std::uint64_t i = 0; i < 64; ++i) doubling.array({i + 1, i + 1});
    doubling.integer(1);
    // 60 chains of 500 arrays, each chain ending in the previous one, all
    // held by the root: every object is shared once, the whole is 30000 deep.
    BinaryBuilder sharedChains;
    {
        const std::uint64_t chains = 60;
        const std::uint64_t length = 500;
        std::vector<std::uint64_t> tops;
        for (std::uint64_t c = 0; c < chains; ++c) tops.push_back(1 + c * length);
        sharedChains.array(tops);
        for (std::uint64_t c = 0; c < chains; ++c) {
            for (std::uint64_t i = 0; i + 1 < length; ++i) sharedChains.array({tops[c] + i + 1});
            if (c == 0) {
                sharedChains.array({});
            } else {
                sharedChains.array({tops[c - 1]});
            }
        }
    }
    BinaryBuilder hugeCount;  // claims 2^32-1 members
    hugeCount.raw({0xAF, 0x12, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0});
    BinaryBuilder badReference;
    badReference.array({5});
    BinaryBuilder badRoot;
    badRoot.integer(1);
    BinaryBuilder nulInKey;  // { "a\0b": true }, which the parser would abort on
    nulInKey.raw({0xD1, 0, 0, 0, 1, 0, 0, 0, 2});
    nulInKey.raw({0x53, 'a', 0, 'b'});
    nulInKey.raw({0x09});
    BinaryBuilder nulInUtf16Key;
    nulInUtf16Key.raw({0xD1, 0, 0, 0, 1, 0, 0, 0, 2});
    nulInUtf16Key.raw({0x62, 0, 'a', 0, 0});
    nulInUtf16Key.raw({0x09});

    const std::vector<std::pair<const char*, Bytes>> cases = {
        {"empty", {}},
        {"garbage", {'x', 'y', 0, 1, 2}},
        {"magic only", {'b', 'p', 'l', 'i', 's', 't', '0', '0'}},
        {"object refers to itself", selfCycle.build()},
        {"cycle through three objects", longCycle.build()},
        {"chain deeper than the limit", chain.build()},
        {"shared children doubling each level", doubling.build()},
        {"shared chains stacking up", sharedChains.build()},
        {"count beyond the file", hugeCount.build()},
        {"reference past the last object", badReference.build()},
        {"root past the last object", badRoot.build(3)},
        {"NUL in a key", nulInKey.build()},
        {"NUL in a UTF-16 key", nulInUtf16Key.build()},
    };
    for (const auto& [name, bytes] : cases) {
        EXPECT_FALSE(parseBytes(bytes)) << name;
    }

    const std::vector<std::pair<const char*, std::string>> xmlCases = {
        {"not XML", "hello"},
        {"unclosed", "<plist><array><string>x</string></plist>"},
        {"NUL in a key", std::string("<plist><dict><key>a\0b</key><true/></dict></plist>", 49)},
        {"513 levels", nestedXml(513)},
        {"100000 levels", nestedXml(100000)},
        {"100000 levels hidden after a comment", "<!-- <array> -->" + nestedXml(100000)},
    };
    for (const auto& [name, xml] : xmlCases) {
        EXPECT_FALSE(platform::PropertyList::parse(xml)) << name;
    }
}

TEST(PropertyList, LimitsLetReasonableInputThrough) {
    // Shared children that stay small, and nesting right at the limit.
    BinaryBuilder shared;
    for (std::uint64_t i = 0; i < 10; ++i) shared.array({i + 1, i + 1});
    shared.integer(4);
    const auto value = parseBytes(shared.build());
    ASSERT_TRUE(value);
    const PlistValue* leaf = &*value;
    for (int i = 0; i < 10; ++i) leaf = &leaf->asArray()->back();
    EXPECT_EQ(leaf->asInteger(), 4);

    // The hostile dictionaries above, without their NUL.
    BinaryBuilder dictionary;
    dictionary.raw({0xD2, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 3});
    dictionary.raw({0x53, 'a', 'x', 'b'});
    dictionary.raw({0x62, 0, 'a', 0, 'y'});
    dictionary.raw({0x09});
    EXPECT_EQ(parseBytes(dictionary.build()),
              PlistValue(PlistDictionary{{"axb", true}, {"ay", true}}));

    EXPECT_EQ(platform::PropertyList::parse(nestedXml(512)), nestedArrays(512));
    // A self-closing element opens no level.
    EXPECT_EQ(platform::PropertyList::parse("<plist><array><array/><true/></array></plist>"),
              PlistValue(PlistArray{PlistArray{}, true}));
    // Keyed archives write a UID as a one-key dictionary in XML.
    EXPECT_EQ(
        platform::PropertyList::parse("<plist><dict><key>CF$UID</key><integer>3</integer></dict>"
                                      "</plist>"),
        PlistValue(PlistUid{3}));
}

TEST(PropertyList, FilesAreReadAndWrittenWhole) {
    testsupport::TempDir dir;
    const PlistValue value = PlistDictionary{{"name", "x"}, {"n", 5}};

    for (auto format :
         {platform::PropertyList::Format::Binary, platform::PropertyList::Format::Xml}) {
        const std::string path = dir / "out.plist";
        ASSERT_TRUE(platform::PropertyList::writeFileAtomically(path, value, format, 0600));
        EXPECT_EQ(platform::PropertyList::readFile(path), value);
        struct stat info {};
        ASSERT_EQ(::stat(path.c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, 0600u);
    }
    // A write that cannot happen leaves the old file as it was.
    const std::string before = testsupport::readFile(dir / "out.plist");
    EXPECT_FALSE(platform::PropertyList::writeFileAtomically(dir / "out.plist", PlistValue(),
                                                             platform::PropertyList::Format::Xml));
    EXPECT_FALSE(platform::PropertyList::writeFileAtomically(
        dir / "missing/out.plist", value, platform::PropertyList::Format::Binary));
    EXPECT_EQ(testsupport::readFile(dir / "out.plist"), before);
    // No temporary file is left behind.
    std::size_t entries = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
        (void)entry;
        ++entries;
    }
    EXPECT_EQ(entries, 1u);

    dir.makeDir("folder");
    dir.writeFile("garbage.plist", "not a plist");
    const std::string fifo = dir / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (const char* name : {"folder", "garbage.plist", "fifo", "absent"}) {
        EXPECT_FALSE(platform::PropertyList::readFile(dir / name)) << name;
    }
}

}  // namespace
