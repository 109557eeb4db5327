#include <gtest/gtest.h>
#include <unistd.h>

#include "RemainsTestSupport.h"
#include "platform/Bundle.h"
#include "remains/SimpleRemainsInfo.h"
#include "support/Isolated.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

class TotalsListener : public SimpleRemainsInfoListener {
public:
    void onSimpleRemainsInfoChanged(const std::shared_ptr<SimpleRemainsInfo>& info) override {
        totals.push_back(info->getTotalSize());
    }
    std::vector<std::uint64_t> totals;
};

class SimpleRemainsInfoTest : public ::testing::Test {
protected:
    std::shared_ptr<dispatch::ManualMainQueue> m_pQueue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue m_scope{m_pQueue};
    testsupport::TempDir m_dir;
    const std::string m_sHome = m_dir.makeDir("home");
    PathsGenerator m_paths{"user", m_sHome};
    std::shared_ptr<SimpleSizeCalculation> m_pCalculation = SimpleSizeCalculation::create();

    std::string lib(const std::string& relative) { return m_sHome + "/Library/" + relative; }
    void file(const std::string& relative, std::size_t bytes = 3000) {
        m_dir.writeFile("home/Library/" + relative, std::string(bytes, 'r'));
    }

    struct Entry {
        std::string path;
        std::int32_t type;
        bool operator==(const Entry&) const = default;
        friend void PrintTo(const Entry& entry, std::ostream* out) {
            *out << entry.path << " (" << entry.type << ")";
        }
    };
    static std::vector<Entry> entries(const SimpleRemainsInfo& info) {
        std::vector<std::shared_ptr<PathForRemove>> list;
        info.addRemoveObjectPathsToArray(list);
        std::vector<Entry> out;
        for (const auto& item : list) out.push_back({item->path(), item->type()});
        return out;
    }
    std::shared_ptr<SimpleRemainsInfo> find(const std::optional<std::string>& id,
                                            const std::optional<std::string>& executable,
                                            std::shared_ptr<TotalsListener> listener = nullptr) {
        auto bundle = platform::Bundle::bundleWithPath(
            remainstest::makeApp(m_dir, "home/.Trash/Sample.app", id, executable));
        return SimpleRemainsInfo::create(bundle, listener, m_paths, m_pCalculation);
    }
};

TEST_F(SimpleRemainsInfoTest, FindsEveryKindOfRemainsInOrderAndSizesThem) {
    const std::string id = "com.example.Sample",
                      helpd = "Application Support/Caches/com.apple.helpd/";
    // Entries made under Library ("@": the identifier; a trailing "/": a
    // folder with a file in it), each listed with its type in this order, or
    // not at all (-1). The cookies are a dangling link, which is listed too.
    const std::pair<std::string, std::int32_t> rows[] = {
        {"Caches/@/", 8},
        {"Caches/@/fsCachedData/", -1},
        {"Saved Application State/@.savedState/", 8},
        {"Preferences/@.plist", 10},
        {"Preferences/SampleExec/", 10},
        {"Logs/SampleExec.log", 11},
        {"Cookies/@.cookies", 12},
        {"Containers/@/", 9},
        {helpd + "Generated/@.help/", 3},
        {helpd + "SDMHelpData/Other/English/HelpSDMIndexFile/@.help", 3},
        {"Application Support/Growl/Tickets/SampleExec.growlTicket", 3},
        {"Application Support/SampleExec/", 3},
        {"LaunchAgents/@.helper.plist", 3},
        {"LaunchAgents/@.plist", 3},
        {"Application Support/CrashReporter/SampleExec.plist", 13},
        {"Application Support/CrashReporter/SampleExec_A1B2.plist", 13},
        // Names that merely start the same, or differ in case.
        {"LaunchAgents/@.helper.txt", -1},
        {"LaunchAgents/com.example.sample.plist", -1},
        {"LaunchAgents/other.@.plist", -1},
        {"Application Support/CrashReporter/SampleExecutor.plist", -1},
        {"Application Support/CrashReporter/sampleexec_C3.plist", -1},
        {"Caches/com.example.sample", -1},
    };
    std::vector<Entry> expected{{m_sHome + "/.Trash/Sample.app", 0}};
    for (auto [path, type] : rows) {
        if (const auto at = path.find('@'); at != std::string::npos) path.replace(at, 1, id);
        const bool folder = path.ends_with('/');
        if (folder) path.pop_back();
        if (type == SimpleRemainsInfo::kTypeCookies) {
            m_dir.makeSymlink("home/Library/" + path, m_dir / "gone");
        } else {
            file(folder ? path + "/data" : path, 12000);
        }
        if (type >= 0) expected.push_back({lib(path), type});
    }
    // Nothing outside the home's Library is looked at.
    m_dir.writeFile("Library/Caches/" + id);

    auto listener = std::make_shared<TotalsListener>();
    auto info = find(id, "SampleExec", listener);
    ASSERT_TRUE(info);
    EXPECT_EQ(entries(*info), expected);

    // One message per task, zero-sized ones (the dangling link) included,
    // and the total only ever grows.
    ASSERT_TRUE(remainstest::pumpUntil(
        *m_pQueue, [&] { return listener->totals.size() == expected.size(); }, 1s));
    std::uint64_t sum = 0;
    for (const auto& entry : expected) sum += remainstest::expectedSize(entry.path);
    EXPECT_TRUE(std::is_sorted(listener->totals.begin(), listener->totals.end()));
    EXPECT_EQ(listener->totals.back(), sum);
    EXPECT_EQ(info->getTotalSize(), sum);
    EXPECT_GT(sum, 170000u);

    // A second copy of the same application adds to the list and the total;
    // another application does not.
    const std::string copy =
        remainstest::makeApp(m_dir, "home/.Trash/Copy/Sample.app", id, "SampleExec");
    info->addBundle(platform::Bundle::bundleWithPath(copy));
    info->addBundle(platform::Bundle::bundleWithPath(
        remainstest::makeApp(m_dir, "home/.Trash/Other.app", "com.example.sample")));
    info->addBundle(nullptr);
    ASSERT_TRUE(remainstest::pumpUntil(
        *m_pQueue, [&] { return listener->totals.size() == expected.size() + 1; }, 1s));
    EXPECT_EQ(info->getTotalSize(), sum + remainstest::expectedSize(copy));
    const auto withCopy = entries(*info);
    ASSERT_EQ(withCopy.size(), expected.size() + 1);
    EXPECT_EQ(withCopy[1], (Entry{copy, 0}));
}

TEST_F(SimpleRemainsInfoTest, HostileNamesFindOnlyWhatIsTheirs) {
    // Other applications' data, and what a careless search would reach.
    file("x");
    file("x.plist");
    file("Caches/com.example.backup/db");
    file("Application Support/Vendor/Browser/profile");
    file("LaunchAgents/com.example.backup.plist");
    file("LaunchAgents/com.plist");
    file("LaunchAgents/ab.c.plist");
    file("Application Support/CrashReporter/.plist");
    file("Application Support/CrashReporter/anything.plist");
    file("Application Support/CrashReporter/ab_host.plist");
    file("Application Support/CrashReporter/Vendor_host.plist");
    file("Logs/.log");
    m_dir.writeFile("home/secret.cookies");
    file("Preferences/Sample");
    const struct {
        std::optional<std::string> id;
        std::optional<std::string> executable;
        std::vector<Entry> found;  // beyond the bundle itself
    } cases[] = {
        {"com.", "Vendor/Browser", {}},
        {"com", "Vend", {}},
        {".com", "/Vendor", {}},
        {"com.example.back", "Browser", {}},
        {"com..example", "Vendor/", {}},
        {"ab", "ab", {}},
        {"../x", "", {}},
        {"../../secret", "", {}},
        {"./x", "../x", {}},
        {"a/../x", "", {}},
        {"..", ".", {}},
        {".", "..", {}},
        {"", "", {}},
        // The owner of the data finds it.
        {"com.example.backup",
         "Vendor",
         {{lib("Caches/com.example.backup"), 8},
          {lib("Application Support/Vendor"), 3},
          {lib("LaunchAgents/com.example.backup.plist"), 3},
          {lib("Application Support/CrashReporter/Vendor_host.plist"), 13}}},
        // Without an executable the bundle folder's name stands in.
        {"com.example.none", std::nullopt, {{lib("Preferences/Sample"), 10}}},
    };
    for (const auto& c : cases) {
        auto info = find(c.id, c.executable);
        ASSERT_TRUE(info);
        auto found = entries(*info);
        const std::string label = c.id.value_or("nil") + " / " + c.executable.value_or("nil");
        ASSERT_FALSE(found.empty()) << label;
        EXPECT_EQ(found.front(), (Entry{m_sHome + "/.Trash/Sample.app", 0}));
        found.erase(found.begin());
        EXPECT_EQ(found, c.found) << label;
    }
    // Without an identifier there is nothing to list anything under.
    auto anonymous = find(std::nullopt, "Sample");
    ASSERT_TRUE(anonymous);
    EXPECT_TRUE(entries(*anonymous).empty());
    EXPECT_FALSE(SimpleRemainsInfo::create(nullptr, {}, m_paths, m_pCalculation));
}

TEST_F(SimpleRemainsInfoTest, SafePathsAreOneEntryOfTheirFolder) {
    const std::string folder = m_dir.makeDir("home/Library/Caches");
    m_dir.makeDir("home/Library/Caches/a");
    EXPECT_EQ(SimpleRemainsInfo::createSafeToDeletePathInFolder(folder, "..x"), folder + "/..x");
    for (const std::string& name :
         std::vector<std::string>{"a/../b", "a/b", "a/", "/a", "../x", "..", "", ".",
                                  "a\0/../../x"s, "com.example\0x"s}) {
        EXPECT_EQ(SimpleRemainsInfo::createSafeToDeletePathInFolder(folder, name), std::nullopt)
            << name;
    }
    EXPECT_FALSE(SimpleRemainsInfo::createSafeToDeletePathInFolder(std::nullopt, "x"));
    EXPECT_FALSE(SimpleRemainsInfo::createSafeToDeletePathInFolder(folder, std::nullopt));
}

TEST_F(SimpleRemainsInfoTest, AHomeOfTheRootFolderSearchesNothing) {
    // The system's own Library, as the root folder of an isolated child sees it.
    const std::string id = "com.example.Sample";
    m_dir.writeFile("Library/Caches/" + id + "/db");
    m_dir.writeFile("Library/Preferences/" + id + ".plist");
    m_dir.writeFile("Library/LaunchAgents/" + id + ".plist");
    remainstest::makeApp(m_dir, ".Trash/Sample.app", id, "Sample");
    const std::string root = m_dir.path();
    const auto problem = testsupport::runIsolated([&]() -> std::string {
        if (::chroot(root.c_str()) != 0 || ::chdir("/") != 0) return "no chroot";
        auto bundle = platform::Bundle::bundleWithPath("/.Trash/Sample.app");
        if (!bundle) return "no bundle";
        std::string found;
        for (const std::string home : {"/", "//", "/.Trash/..", ""}) {
            // The parent's idle pool only queues the sizes: a child may start no threads.
            auto info =
                SimpleRemainsInfo::create(bundle, {}, PathsGenerator("root", home), m_pCalculation);
            for (const auto& entry : entries(*info)) {
                if (entry.type != SimpleRemainsInfo::kTypeApplication) {
                    found += "home '" + home + "' found " + entry.path + "\n";
                }
            }
        }
        return found;
    });
    if (!problem) GTEST_SKIP() << "no mount namespace for a child";
    EXPECT_EQ(*problem, "");
}

}  // namespace
