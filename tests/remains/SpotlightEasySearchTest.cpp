#include <gtest/gtest.h>

#include "RemainsTestSupport.h"
#include "remains/SpotlightEasySearch.h"

namespace {

using namespace std::chrono_literals;

class SpotlightEasySearchTest : public ::testing::Test {
protected:
    std::shared_ptr<dispatch::ManualMainQueue> m_pQueue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue m_scope{m_pQueue};
    testsupport::TempDir m_dir;

    struct Calls {
        int count = 0;
        std::vector<std::string> paths;
    };

    // A search whose block records its calls; the caller keeps no reference.
    std::shared_ptr<Calls> start(const std::string& format, std::vector<std::string> folders,
                                 std::shared_ptr<platform::MetadataQuery> query = nullptr,
                                 double maxWaitTime = SpotlightEasySearch::kDefaultMaxWaitTime) {
        auto calls = std::make_shared<Calls>();
        auto search = SpotlightEasySearch::create(std::move(query));
        search->setMaxWaitTime(maxWaitTime);
        search->setResultBlock([calls](SpotlightEasySearch&, platform::MetadataQuery& found) {
            ++calls->count;
            for (const auto& item : found.results()) {
                calls->paths.push_back(*item.valueForAttribute(platform::kMetadataItemPathKey));
            }
        });
        search->startQuery(format, folders);
        return calls;
    }
};

TEST_F(SpotlightEasySearchTest, TimesOutWithWhatWasGathered) {
    // Walks that run only when their queue is driven: these never finish by themselves.
    auto slowQueue = std::make_shared<dispatch::ManualMainQueue>();
    auto standard =
        start("TRUEPREDICATE", {m_dir.path()}, platform::MetadataQuery::create(slowQueue));
    auto quick =
        start("TRUEPREDICATE", {m_dir.path()}, platform::MetadataQuery::create(slowQueue), 5.0);
    m_pQueue->advance(4900ms);
    EXPECT_EQ(quick->count, 0);
    m_pQueue->advance(200ms);
    EXPECT_EQ(quick->count, 1);
    m_pQueue->advance(24s);
    EXPECT_EQ(standard->count, 0);
    m_pQueue->advance(1s);
    EXPECT_EQ(standard->count, 1);
    // Walks that finish after the time-out change nothing.
    m_dir.writeFile("late");
    slowQueue->runUntilIdle();
    m_pQueue->runUntilIdle();
    EXPECT_EQ(standard->count, 1);
    EXPECT_EQ(quick->count, 1);
    EXPECT_TRUE(standard->paths.empty());
}

}  // namespace
