#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/TempDir.h"
#include "watching/IncompleteArrivals.h"
#include "watching/WatchingTestSupport.h"

namespace {

using namespace std::chrono_literals;

// A bundle that never completes, or goes away, is forgotten, and until then
// it is looked at only after its quiet periods. (One copied in slowly is
// handed on once whole: the desktop Trash's test and the end-to-end cases.)
TEST(IncompleteArrivals, ForgetsABundleThatNeverCompletesOrGoesAway) {
    watchingtest::RealMainLoop loop;
    testsupport::TempDir trash;
    std::vector<std::string> checked;
    auto arrivals = IncompleteArrivals::create(
        [&](const std::string& path) {
            checked.push_back(path);
            return false;
        },
        100ms, 1500ms);
    const std::string stuck = trash.makeDir("Stuck.app");
    const std::string gone = trash.makeDir("Gone.app");
    for (const auto& path : {stuck, gone, stuck}) arrivals->add(path);
    EXPECT_EQ(arrivals->count(), 2U);

    loop->runUntil([] { return false; }, 150ms);
    std::filesystem::remove_all(gone);
    // Forgotten once gone, long before the silence would end the wait.
    ASSERT_TRUE(loop->runUntil([&] { return !arrivals->isWaitingFor(gone); }, 500ms));
    EXPECT_TRUE(arrivals->isWaitingFor(stuck));

    ASSERT_TRUE(loop->runUntil([&] { return arrivals->count() == 0; }, 3s));
    const auto looks = std::count(checked.begin(), checked.end(), stuck);
    EXPECT_GE(looks, 1);
    EXPECT_LE(looks, 2);  // after the quiet period, and when giving up
}

}  // namespace
