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

TEST_F(SpotlightEasySearchTest, EachSearchHearsOnlyItsOwnQuery) {
    const std::string app = remainstest::makeApp(m_dir, "Apps/One.app", "com.example.one");
    auto slowQueue = std::make_shared<dispatch::ManualMainQueue>();
    auto stuck =
        start("TRUEPREDICATE", {m_dir / "Apps"}, platform::MetadataQuery::create(slowQueue));
    auto quick = start("kMDItemFSName == 'One.app'", {m_dir / "Apps"});
    ASSERT_TRUE(remainstest::pumpUntil(*m_pQueue, [&] { return quick->count > 0; }));
    EXPECT_EQ(quick->paths, std::vector<std::string>{app});
    EXPECT_EQ(stuck->count, 0);
    slowQueue->runUntilIdle();
    m_pQueue->runUntilIdle();
    EXPECT_EQ(stuck->count + quick->count, 2);
    EXPECT_EQ(stuck->paths, std::vector<std::string>{app})
        << "its own results, packages not entered";
}

TEST_F(SpotlightEasySearchTest, APredicateThatCannotBeParsedEndsAtOnce) {
    for (const char* format : {"kMDItemCFBundleIdentifier == 'it's' AND kMDItemPath LIKE '?*'", "",
                               "kMDItemPath LIKE"}) {
        auto calls = start(format, {m_dir.path()});
        EXPECT_EQ(calls->count, 1) << "called before startQuery returned: " << format;
        EXPECT_TRUE(calls->paths.empty());
        m_pQueue->advance(31s);
        EXPECT_EQ(calls->count, 1);
    }
}

}  // namespace
