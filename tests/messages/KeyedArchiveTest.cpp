#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>

#include "messages/KeyedArchive.h"
#include "platform/PropertyList.h"
#include "support/DataTable.h"
#include "support/ExpandingPropertyLists.h"
#include "support/TempDir.h"

// The property-list value types, by their short names.
using namespace platform;

namespace {

using Array = ArchivedObject::Array;
using Dictionary = ArchivedObject::Dictionary;
using Fields = std::map<std::string, ArchivedObject>;

ArchivedObject number(long long value) {
    return ArchivedObject(PlistValue(value));
}
ArchivedObject instance(const std::string& name, Fields fields,
                        std::vector<std::string> chain = {}) {
    chain.insert(chain.begin(), name);
    chain.push_back("NSObject");
    return ArchivedObject(ArchivedObject::Instance{name, chain, std::move(fields)});
}

TEST(KeyedArchive, RefusesMalformedArchives) {
    // A good archive changed in one way each, named for the change.
    for (const std::string& path : testsupport::dataFiles("KeyedArchive/refused")) {
        const auto archive = platform::PropertyList::parse(testsupport::readFile(path));
        ASSERT_TRUE(archive) << path;
        EXPECT_EQ(KeyedArchive::unarchiveObjectWithArchive(*archive), std::nullopt) << path;
    }
    // Arrays each holding the next `fanOut` times, ending in a string.
    auto chain = [](std::uint64_t length, std::size_t fanOut) {
        PlistArray list{"$null"};
        for (std::uint64_t i = 0; i < length; ++i) {
            list.push_back(PlistDictionary{{"$class", PlistUid{length + 2}},
                                           {"NS.objects", PlistArray(fanOut, PlistUid{i + 2})}});
        }
        list.push_back("end");
        list.push_back(PlistDictionary{{"$classname", "NSArray"}});
        return list;
    };
    PlistValue field = "bottom";
    for (std::size_t i = 0; i < KeyedArchive::kMaxDepth + 10; ++i) field = PlistArray{field};
    const PlistArray deepField{"$null", PlistDictionary{{"$class", PlistUid{2}}, {"f", field}},
                               PlistDictionary{{"$classname", "Custom"}}};
    const PlistValue good = *KeyedArchive::archivedRootObject(ArchivedObject(Array{"/a"}));
    auto withObjects = [&](const PlistArray& objects) {
        PlistValue archive = good;
        (*archive.asDictionary())["$objects"] = objects;
        return KeyedArchive::unarchiveObjectWithArchive(archive);
    };
    EXPECT_EQ(withObjects(chain(KeyedArchive::kMaxDepth + 10, 1)), std::nullopt) << "too deep";
    EXPECT_EQ(withObjects(deepField), std::nullopt) << "a field too deep";
    // Just inside the limits.
    EXPECT_TRUE(withObjects(chain(KeyedArchive::kMaxDepth - 2, 1)).has_value());
    EXPECT_TRUE(withObjects(chain(12, 2)).has_value());
}

// What the platform's archiver writes for a command body made of mutable
// objects, one path stored as UTF-16, reads as the plain command (its every
// truncation is the property-list reader's test).
TEST(KeyedArchive, ReadsTheMutableObjectsOfThePlatformsArchiver) {
    const std::string bytes = testsupport::readFile(
        testsupport::dataPath("KeyedArchive/exclude-command-of-mutable-objects.bplist"));
    const auto body = KeyedArchive::unarchiveObjectWithData(
        std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
    ASSERT_TRUE(body);
    EXPECT_EQ(*body, ArchivedObject(Dictionary{
                         {"command", "exclude-paths"},
                         {"paths", Array{"/Applications/Old.app", "/Users/José/Été.app"}}}));
}

TEST(KeyedArchive, ReadsArchivesMadeByThePlatform) {
    const char* fixtures = std::getenv("SWEEPWELL_FIXTURES");
    const std::string folder = std::string(fixtures ? fixtures : "") + "/keyed-archives/";
    if (!fixtures || !platform::PropertyList::readFile(folder + "NSMutableSet-Empty.archive")) {
        GTEST_SKIP() << "no keyed-archive fixtures (SWEEPWELL_FIXTURES)";
    }
    const ArchivedObject font(Dictionary{{"Font", "Helvetica"}, {"Size", number(123)}});
    const ArchivedObject times(Dictionary{{"Size", number(456)}, {"Font", "Times"}});
    const std::vector<std::pair<const char*, ArchivedObject>> cases = {
        {"NSKeyedUnarchiver-ComplexTest.plist",
         Dictionary{
             {"array", Array{ArchivedObject(), "hello", number(34545), Dictionary{{"key", "val"}}}},
             {"string", "hello"},
             {"url", instance("NSURL", {{"NS.base", instance("NSURL", {{"NS.relative",
                                                                        "https://www.swift.org"}})},
                                        {"NS.relative", "index.xml"}})},
             {"uuid", instance("NSUUID", {{"NS.uuidbytes",
                                           PlistValue(PlistData{0x71, 0xdc, 0x06, 0x8e, 0x34, 0x20,
                                                                0x45, 0xff, 0x91, 0x9e, 0x3a, 0x26,
                                                                0x7d, 0x55, 0xec, 0x22})}})}}},
        {"NSMutableSet-Empty.archive",
         instance("NSMutableSet", {{"NS.objects", Array{}}}, {"NSSet"})},
        {"NSAttributedString.archive",
         instance(
             "NSAttributedString",
             {{"NSString", "0123456789"},
              {"NSAttributes", Array{Dictionary{}, font, times, times}},
              {"NSAttributeInfo", PlistValue(PlistData{1, 0, 1, 1, 4, 2, 2, 1, 1, 3, 1, 0})}})},
    };
    for (const auto& [file, expected] : cases) {
        const std::string bytes = testsupport::readFile(folder + file);
        EXPECT_EQ(KeyedArchive::unarchiveObjectWithData(
                      reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()),
                  expected)
            << file;
    }
}

// The growth of the peak memory of a child process while it runs `work`,
// and whether `work` answered true; nullopt if the child did not finish
// (it is stopped once it has used a minute of CPU time, far beyond what
// refusing a document takes, however slow or busy the machine).
struct ChildRun {
    std::size_t peakGrowth = 0;
    bool answer = false;
};
std::optional<ChildRun> runInChild(const std::function<bool()>& work) {
    int channel[2];
    if (::pipe(channel) != 0) return std::nullopt;
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(channel[0]);
        const rlimit cpu{60, 60};
        ::setrlimit(RLIMIT_CPU, &cpu);
        auto kilobytes = [](const char* field) {
            std::ifstream status("/proc/self/status");
            std::string line;
            while (std::getline(status, line)) {
                if (line.rfind(field, 0) == 0) return std::stoull(line.substr(std::strlen(field)));
            }
            return 0ull;
        };
        // Start the peak afresh from what the child has now.
        std::ofstream("/proc/self/clear_refs") << "5";
        const unsigned long long before = kilobytes("VmRSS:");
        const bool answer = work();
        const unsigned long long report[2] = {(kilobytes("VmHWM:") - before) * 1024, answer};
        (void)!::write(channel[1], report, sizeof report);
        ::_exit(0);
    }
    ::close(channel[1]);
    unsigned long long report[2] = {};
    const bool complete = ::read(channel[0], report, sizeof report) == sizeof report;
    ::close(channel[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!complete || !WIFEXITED(status)) return std::nullopt;
    return ChildRun{static_cast<std::size_t>(report[0]), report[1] != 0};
}

// A few hundred kilobytes that refer 200,000 times to one 256 KiB string
// read as nothing, without building what they describe; the same shapes at
// an honest size read in full.
TEST(KeyedArchive, ExpandingListsReadAsNothingInBoundedMemory) {
    namespace expanding = testsupport::expanding;
    using Bytes = std::vector<std::uint8_t>;
    auto plist = [](const Bytes& bytes) {
        return platform::PropertyList::parse(bytes.data(), bytes.size());
    };
    auto archive = [](const Bytes& bytes) { return KeyedArchive::unarchiveObjectWithData(bytes); };
    const struct {
        const char* shape;
        Bytes (*make)(expanding::Size);
        std::function<bool(const Bytes&)> reads;
    } cases[] = {
        {"plain array", expanding::plainArray,
         [&](const Bytes& b) {
             const auto list = plist(b);
             return list && list->asArray()->size() == 1000;
         }},
        {"Info.plist", expanding::infoPlist,
         [&](const Bytes& b) {
             const auto info = plist(b);
             const PlistValue* types = info ? info->objectForKey("CFBundleDocumentTypes") : nullptr;
             return types && types->asArray()->size() == 1000;
         }},
        {"command archive", expanding::commandArchive,
         [&](const Bytes& b) {
             const auto body = archive(b);
             const ArchivedObject* paths = body ? body->objectForKey("paths") : nullptr;
             return paths && paths->asArray()->size() == 1000;
         }},
    };
    [[maybe_unused]] constexpr std::size_t kMegabyte = 1 << 20;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.shape);
        EXPECT_TRUE(c.reads(c.make({1000, 1024})));
        const Bytes bomb = c.make({});
        EXPECT_LT(bomb.size(), 500'000u);
        const auto run = runInChild([&] { return plist(bomb).has_value() && archive(bomb); });
        ASSERT_TRUE(run) << "the reader did not come back";
        EXPECT_FALSE(run->answer);
#ifndef __SANITIZE_ADDRESS__  // its allocator's redzones and quarantine are not ours
        EXPECT_LT(run->peakGrowth, 64 * kMegabyte);
#endif
    }
}

// A command file found by fuzzing: read, written, read and written again, it
// came out different because the writer's sharing depended on addresses.
TEST(KeyedArchive, WritesAgainExactlyWhatItRead) {
    const char* fixtures = std::getenv("SWEEPWELL_FIXTURES");
    const std::string text = testsupport::readFile(std::string(fixtures ? fixtures : "") +
                                                   "/found/command-file-round-trip.bplist");
    if (!fixtures || text.empty()) GTEST_SKIP() << "no fixtures (SWEEPWELL_FIXTURES)";
    const std::vector<std::uint8_t> found(text.begin(), text.end());
    const auto body = KeyedArchive::unarchiveObjectWithData(found);
    ASSERT_TRUE(body);
    const auto bytes = KeyedArchive::archivedDataWithRootObject(*body);
    const auto again = KeyedArchive::unarchiveObjectWithData(bytes);
    ASSERT_TRUE(again);
    EXPECT_EQ(*again, *body);
    EXPECT_EQ(KeyedArchive::archivedDataWithRootObject(*again), bytes);
}

}  // namespace
