#include <gtest/gtest.h>
#include <unistd.h>

#include "RemainsTestSupport.h"
#include "platform/Bundle.h"
#include "remains/SimpleRemainsInfo.h"
#include "support/DataTable.h"
#include "support/Isolated.h"

namespace {

using namespace std::chrono_literals;

class TotalsListener : public SimpleRemainsInfoListener {
public:
    void onSimpleRemainsInfoChanged(const std::shared_ptr<SimpleRemainsInfo>& info) override {
        totals.push_back(info->getTotalSize());
    }
    std::vector<std::uint64_t> totals;
};

// "path (type)" for each entry, the bundle itself included.
std::vector<std::string> entries(const SimpleRemainsInfo& info) {
    std::vector<std::shared_ptr<PathForRemove>> list;
    info.addRemoveObjectPathsToArray(list);
    std::vector<std::string> out;
    for (const auto& item : list)
        out.push_back(item->path() + " (" + std::to_string(item->type()) + ")");
    return out;
}

class SimpleRemainsInfoTest : public ::testing::Test {
protected:
    std::shared_ptr<dispatch::ManualMainQueue> m_pQueue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue m_scope{m_pQueue};
    testsupport::TempDir m_dir;
    const std::string m_sHome = m_dir.makeDir("home");
    const std::string m_sApp = m_sHome + "/.Trash/Sample.app (0)";
    PathsGenerator m_paths{"user", m_sHome};
    std::shared_ptr<SimpleSizeCalculation> m_pCalculation = SimpleSizeCalculation::create();

    std::string lib(const std::string& relative) { return m_sHome + "/Library/" + relative; }
    std::shared_ptr<SimpleRemainsInfo> find(const std::optional<std::string>& id,
                                            const std::optional<std::string>& executable,
                                            std::shared_ptr<TotalsListener> listener = nullptr) {
        auto bundle = platform::Bundle::bundleWithPath(
            remainstest::makeApp(m_dir, "home/.Trash/Sample.app", id, executable));
        return SimpleRemainsInfo::create(bundle, listener, m_paths, m_pCalculation);
    }
};

TEST_F(SimpleRemainsInfoTest, FindsEveryKindOfRemainsInOrderAndSizesThem) {
    const std::string id = "com.example.Sample";
    std::vector<std::string> expected{m_sApp};
    std::vector<std::string> listed{m_sHome + "/.Trash/Sample.app"};
    for (const auto& row : testsupport::readDataTable("SimpleRemainsInfo/remains.tsv")) {
        std::string path = row.at(0);
        const int type = std::stoi(row.at(1));
        if (const auto at = path.find('@'); at != std::string::npos) path.replace(at, 1, id);
        const bool folder = path.ends_with('/');
        if (folder) path.pop_back();
        if (type == SimpleRemainsInfo::kTypeCookies) {
            m_dir.makeSymlink("home/Library/" + path, m_dir / "gone");
        } else {
            m_dir.writeFile("home/Library/" + path + (folder ? "/data" : ""),
                            std::string(12000, 'r'));
        }
        if (type < 0) continue;
        expected.push_back(lib(path) + " (" + row.at(1) + ")");
        listed.push_back(lib(path));
    }
    // Nothing outside the home's Library is looked at.
    m_dir.writeFile("Library/Caches/" + id);

    auto listener = std::make_shared<TotalsListener>();
    auto info = find(id, "SampleExec", listener);
    ASSERT_TRUE(info);
    EXPECT_EQ(entries(*info), expected);
    std::uint64_t sum = 0;
    for (const auto& path : listed) sum += remainstest::expectedSize(path);

    // One message per task, zero-sized ones (the dangling link) included,
    // and the total only ever grows.
    ASSERT_TRUE(remainstest::pumpUntil(
        *m_pQueue, [&] { return listener->totals.size() == expected.size(); }, 1s));
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
    expected.insert(expected.begin() + 1, copy + " (0)");
    EXPECT_EQ(entries(*info), expected);
}

TEST_F(SimpleRemainsInfoTest, HostileNamesFindOnlyWhatIsTheirs) {
    const auto value = [](const std::string& field) {
        return field == "<none>" ? std::nullopt : std::optional(field);
    };
    for (const auto& row : testsupport::readDataTable("SimpleRemainsInfo/hostile.tsv")) {
        SCOPED_TRACE(testsupport::describeRow(row));
        if (row.at(0) == "file") {
            m_dir.writeFile("home/" + row.at(1));
            continue;
        }
        std::vector<std::string> expected{m_sApp};
        for (std::size_t i = 3; i + 1 < row.size(); i += 2) {
            expected.push_back(lib(row[i]) + " (" + row[i + 1] + ")");
        }
        auto info = find(value(row.at(1)), value(row.at(2)));
        ASSERT_TRUE(info);
        EXPECT_EQ(entries(*info), expected);
    }
    // Without an identifier there is nothing to list anything under.
    auto anonymous = find(std::nullopt, "Sample");
    ASSERT_TRUE(anonymous);
    EXPECT_TRUE(entries(*anonymous).empty());
    EXPECT_FALSE(SimpleRemainsInfo::create(nullptr, {}, m_paths, m_pCalculation));

    // A safe path is one entry of its folder.
    m_dir.makeDir("home/Library/Caches/a");
    const std::string folder = lib("Caches");
    EXPECT_EQ(SimpleRemainsInfo::createSafeToDeletePathInFolder(folder, "..x"), folder + "/..x");
    for (const auto& row : testsupport::readDataTable("SimpleRemainsInfo/unsafe-names.tsv")) {
        EXPECT_EQ(SimpleRemainsInfo::createSafeToDeletePathInFolder(folder, row.at(0)),
                  std::nullopt)
            << row.at(0);
    }
    EXPECT_FALSE(SimpleRemainsInfo::createSafeToDeletePathInFolder(std::nullopt, "x"));
    EXPECT_FALSE(SimpleRemainsInfo::createSafeToDeletePathInFolder(folder, std::nullopt));
}

TEST_F(SimpleRemainsInfoTest, AHomeOfTheRootFolderSearchesNothing) {
    // The system's own Library, as the root folder of an isolated child sees it.
    const std::string id = "com.example.Sample";
    for (const std::string& entry : {"Caches/" + id + "/db", "Preferences/" + id + ".plist",
                                     "LaunchAgents/" + id + ".plist"}) {
        m_dir.writeFile("Library/" + entry);
    }
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
                if (!entry.ends_with(" (0)")) found += "home '" + home + "' found " + entry + "\n";
            }
        }
        return found;
    });
    if (!problem) GTEST_SKIP() << "no mount namespace for a child";
    EXPECT_EQ(*problem, "");
}

}  // namespace
