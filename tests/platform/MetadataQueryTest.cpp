#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "dispatch/ManualMainQueue.h"
#include "platform/MetadataPredicate.h"
#include "platform/MetadataQuery.h"
#include "support/DataTable.h"
#include "support/SampleBundle.h"

namespace {

using platform::MetadataPredicate;
using platform::MetadataQuery;

TEST(MetadataPredicate, ParsesAndEvaluatesTheLanguage) {
    const std::map<std::string, std::string> item = {
        {"kMDItemCFBundleIdentifier", "com.example.App"},
        {"kMDItemPath", "/Applications/Ünï App.app"},
        {"kMDItemFSName", "Ünï App.app"},
    };
    for (const auto& row : testsupport::readDataTable("MetadataPredicate/over-one-item.tsv")) {
        ASSERT_EQ(row.size(), 2u);
        const std::string& format = row[1];
        SCOPED_TRACE(format);
        const auto predicate = MetadataPredicate::predicateWithFormat(format);
        ASSERT_EQ(predicate.has_value(), row[0] != "unparsable");
        if (!predicate) continue;
        const bool matches = row[0] == "matches";
        EXPECT_EQ(predicate->evaluateWithObject(item), matches);
        // Written back and read again, it is the same predicate.
        const std::string text = predicate->predicateFormat();
        const auto again = MetadataPredicate::predicateWithFormat(text);
        ASSERT_TRUE(again.has_value()) << text;
        EXPECT_EQ(again->predicateFormat(), text);
        EXPECT_EQ(again->evaluateWithObject(item), matches) << text;
    }
}

TEST(MetadataPredicate, NestingIsBoundedButListsAreNot) {
    const auto nested = [](int depth) {
        return std::string(depth, '(') + "TRUEPREDICATE" + std::string(depth, ')');
    };
    EXPECT_TRUE(MetadataPredicate::predicateWithFormat(nested(MetadataPredicate::kMaxNesting - 1)));
    EXPECT_FALSE(MetadataPredicate::predicateWithFormat(nested(100000)));
    std::string nots, list = "TRUEPREDICATE";
    for (int i = 0; i < 100000; ++i) nots += "NOT ";
    for (int i = 0; i < 10000; ++i) list += " AND TRUEPREDICATE";
    EXPECT_FALSE(MetadataPredicate::predicateWithFormat(nots + "TRUEPREDICATE"));
    EXPECT_TRUE(MetadataPredicate::predicateWithFormat(list));
}

class MetadataQueryWalk : public ::testing::Test {
protected:
    std::shared_ptr<dispatch::ManualMainQueue> m_pQueue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue m_scope{m_pQueue};
    testsupport::TempDir m_dir;

    void makeApp(const std::string& relative, const std::string& id) {
        testsupport::makeBundle(
            m_dir, relative, {{"CFBundleIdentifier", id}, {"CFBundleShortVersionString", "2.1"}});
    }

    // The paths a finished query found, sorted.
    std::vector<std::string> run(const std::shared_ptr<MetadataQuery>& query) {
        bool finished = false;
        const auto token = MetadataQuery::defaultCenter().addObserverForName(
            MetadataQuery::kDidFinishGatheringNotification, query.get(),
            [&](const platform::Notification&) { finished = true; });
        EXPECT_TRUE(query->startQuery());
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!finished && std::chrono::steady_clock::now() < deadline) {
            m_pQueue->runUntilIdle();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        MetadataQuery::defaultCenter().removeObserver(token);
        EXPECT_TRUE(finished);
        EXPECT_FALSE(query->isGathering());
        std::vector<std::string> paths;
        for (const auto& item : query->results()) {
            paths.push_back(item.valueForAttribute(platform::kMetadataItemPathKey).value_or(""));
        }
        std::sort(paths.begin(), paths.end());
        return paths;
    }
};

TEST_F(MetadataQueryWalk, FindsApplicationsInTheScopesWithoutEnteringPackages) {
    makeApp("Apps/Foo.app", "com.example.foo");
    makeApp("Apps/Sub/Bar.app", "com.example.bar");
    makeApp("Apps/Foo.app/Contents/Helpers/Inner.app", "com.example.inner");
    makeApp("Apps/Kit.framework/Versions/Hidden.app", "com.example.kit");
    makeApp("Apps/.Secret.app", "com.example.secret");
    makeApp("Apps/.hidden/Shy.app", "com.example.shy");
    makeApp("Elsewhere/Far.app", "com.example.far");
    makeApp("More/Baz.app", "com.other.baz");
    m_dir.makeSymlink("Apps/Linked", m_dir / "Elsewhere");
    m_dir.makeSymlink("ScopeLink", m_dir / "More");

    auto query = MetadataQuery::create();
    ASSERT_TRUE(query->setPredicateFromFormat("kMDItemCFBundleIdentifier LIKE 'com.*'"));
    // A scope that is a link is followed; a scope named twice is walked once.
    query->setSearchScopes({m_dir / "Apps", m_dir / "ScopeLink", m_dir / "Apps", m_dir / "none"});
    EXPECT_EQ(run(query),
              (std::vector<std::string>{m_dir / "Apps/Foo.app", m_dir / "Apps/Sub/Bar.app",
                                        m_dir / "ScopeLink/Baz.app"}));
    EXPECT_FALSE(query->startQuery()) << "a query runs once";

    auto byName = MetadataQuery::create();
    ASSERT_TRUE(byName->setPredicateFromFormat(
        "kMDItemContentType == 'public.symlink' OR kMDItemDisplayName == 'Bar' AND "
        "kMDItemVersion == '2.1'"));
    byName->setSearchScopes({m_dir / "Apps"});
    EXPECT_EQ(run(byName),
              (std::vector<std::string>{m_dir / "Apps/Linked", m_dir / "Apps/Sub/Bar.app"}));
}

}  // namespace
