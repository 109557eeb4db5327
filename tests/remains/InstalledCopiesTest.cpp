#include <gtest/gtest.h>

#include <map>
#include <thread>

#include "RemainsTestSupport.h"
#include "platform/MetadataQuery.h"
#include "remains/InstalledCopies.h"
#include "remains/SpotlightEasySearch.h"
#include "support/DataTable.h"

namespace {

using namespace std::chrono_literals;

enum class Rule { Shows, BlockedByInstalledCopy, BlockedBySearch };

// Keeps what is sent to it until the test runs it on a thread of its own.
class HeldQueue : public dispatch::Queue {
public:
    void async(dispatch::Block block) override { blocks.push_back(std::move(block)); }
    bool isCurrent() const override { return false; }
    void runElsewhere() {
        std::thread([&] {
            for (auto& block : blocks) block();
        }).join();
        blocks.clear();
    }
    std::vector<dispatch::Block> blocks;
};

class InstalledCopiesTest : public ::testing::Test {
protected:
    // What the check decides for an application whose other copies lie at
    // the given places, and by which route.
    Rule decide(const std::string& id, const std::vector<std::string>& copies,
                bool withLaunchServices = true) {
        testsupport::TempDir place;
        for (const auto& copy : copies) remainstest::makeApp(place, copy, id);
        InstalledCopies::Locations locations;
        locations.systemApplicationsFolder = place / "Applications";
        locations.volumesFolder = place / "Volumes";
        locations.paths = PathsGenerator("user", place / "home");
        if (withLaunchServices) {
            locations.launchServicesRoots = {place / "Applications", place / "home/Applications",
                                             place / "Volumes", place / "home/.Trash"};
        }
        auto scan = std::make_shared<HeldQueue>();
        locations.scanQueue = scan;
        int calls = 0;
        bool gathered = false;
        const auto token = platform::MetadataQuery::defaultCenter().addObserverForName(
            platform::MetadataQuery::kDidFinishGatheringNotification, nullptr,
            [&](const platform::Notification&) { gathered = true; });
        const std::size_t searches = SpotlightEasySearch::runningSearchCount();
        InstalledCopies(locations).whenNoneInstalled(id, [&] { ++calls; });
        // Nothing is read on the caller's thread: the scan waits for its queue.
        EXPECT_EQ(scan->blocks.size(), 1u);
        EXPECT_EQ(SpotlightEasySearch::runningSearchCount(), searches);
        scan->runElsewhere();
        m_pQueue->runUntilIdle();
        // A quick search may already have ended here.
        const bool searching = gathered || SpotlightEasySearch::runningSearchCount() > searches;
        // The search's own observer runs in the same post as ours.
        if (searching) remainstest::pumpUntil(*m_pQueue, [&] { return gathered; });
        platform::MetadataQuery::defaultCenter().removeObserver(token);
        m_pQueue->advance(31s);
        EXPECT_LE(calls, 1);
        if (calls > 0) return Rule::Shows;
        return searching ? Rule::BlockedBySearch : Rule::BlockedByInstalledCopy;
    }

    std::shared_ptr<dispatch::ManualMainQueue> m_pQueue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue m_scope{m_pQueue};
};

TEST_F(InstalledCopiesTest, OnlyCopiesInTheApplicationsFoldersCount) {
    const std::map<std::string, Rule> rules = {{"shows", Rule::Shows},
                                               {"installed", Rule::BlockedByInstalledCopy},
                                               {"search", Rule::BlockedBySearch}};
    for (const auto& row : testsupport::readDataTable("InstalledCopies/rule.tsv")) {
        EXPECT_EQ(decide("com.example.app", {row.begin() + 2, row.end()}, row.at(0) == "listed"),
                  rules.at(row.at(1)))
            << testsupport::describeRow(row);
    }
    // An identifier that breaks the search's predicate finds nothing.
    EXPECT_EQ(decide("it's", {}), Rule::Shows);
}

}  // namespace
