#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/TempDir.h"
#include "watching/IncompleteArrivals.h"
#include "watching/WatchingTestSupport.h"

namespace {

using namespace std::chrono_literals;

// A bundle copied in slowly is handed on once its Info.plist is there; one
// that never completes, or goes away, is forgotten.
TEST(IncompleteArrivals, HandsOnABundleOnceItIsWholeAndForgetsOneThatNeverIs) {
    watchingtest::RealMainLoop loop;
    testsupport::TempDir trash;
    std::vector<std::string> checked, handed;
    auto arrivals = IncompleteArrivals::create(
        [&](const std::string& path) {
            checked.push_back(path);
            const bool whole = !testsupport::readFile(path + "/Contents/Info.plist").empty();
            if (whole) handed.push_back(path);
            return whole;
        },
        100ms, 1500ms);
    const std::string slow = trash.makeDir("Slow.app");
    const std::string stuck = trash.makeDir("Stuck.app");
    const std::string gone = trash.makeDir("Gone.app");
    for (const auto& path : {slow, stuck, gone, slow}) arrivals->add(path);
    EXPECT_EQ(arrivals->count(), 3U);

    // The copy goes on past the first look: Contents first, Info.plist later.
    loop->runUntil([] { return false; }, 150ms);
    trash.makeDir("Slow.app/Contents");
    std::filesystem::remove_all(gone);
    loop->runUntil([] { return false; }, 50ms);
    trash.writeFile("Slow.app/Contents/Info.plist", "<plist/>");
    // Seen through its changes, long before the silence would end the wait.
    ASSERT_TRUE(loop->runUntil([&] { return !handed.empty(); }, 500ms));
    EXPECT_EQ(handed, std::vector<std::string>{slow});
    EXPECT_FALSE(arrivals->isWaitingFor(gone));
    EXPECT_TRUE(arrivals->isWaitingFor(stuck));

    ASSERT_TRUE(loop->runUntil([&] { return arrivals->count() == 0; }, 3s));
    EXPECT_EQ(handed.size(), 1U);
    const auto looks = std::count(checked.begin(), checked.end(), stuck);
    EXPECT_GE(looks, 1);
    EXPECT_LE(looks, 2);  // after the quiet period, and when giving up
}

}  // namespace
