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
        EXPECT_EQ(predicate->evaluateWithObject(item), row[0] == "matches");
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

TEST(MetadataQueryWalk, FindsApplicationsInTheScopesWithoutEnteringPackages) {
    auto queue = std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue scope{queue};
    testsupport::TempDir dir;
    for (const char* relative :
         {"Apps/Foo.app", "Apps/Sub/Bar.app", "Apps/Foo.app/Contents/Helpers/Inner.app",
          "Apps/Kit.framework/Versions/Hidden.app", "Apps/.Secret.app", "Apps/.hidden/Shy.app",
          "Elsewhere/Far.app", "More/Baz.app"}) {
        testsupport::makeBundle(dir, relative);
    }
    testsupport::makeBundle(dir, "Apps/Other.app", {{"CFBundleIdentifier", "org.example.other"}});
    dir.makeSymlink("Apps/Linked", dir / "Elsewhere");
    dir.makeSymlink("ScopeLink", dir / "More");

    auto query = MetadataQuery::create();
    ASSERT_TRUE(query->setPredicateFromFormat("kMDItemCFBundleIdentifier LIKE 'com.*'"));
    // A scope that is a link is followed; a scope named twice is walked once.
    query->setSearchScopes({dir / "Apps", dir / "ScopeLink", dir / "Apps", dir / "none"});
    bool finished = false;
    const auto token = MetadataQuery::defaultCenter().addObserverForName(
        MetadataQuery::kDidFinishGatheringNotification, query.get(),
        [&](const platform::Notification&) { finished = true; });
    EXPECT_TRUE(query->startQuery());
    const auto deadline = std::chrono::steady_clock::now() + testsupport::kPatience;
    while (!finished && std::chrono::steady_clock::now() < deadline) {
        queue->runUntilIdle();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    MetadataQuery::defaultCenter().removeObserver(token);
    ASSERT_TRUE(finished);
    std::vector<std::string> paths;
    for (const auto& item : query->results()) {
        paths.push_back(item.valueForAttribute(platform::kMetadataItemPathKey).value_or(""));
    }
    std::sort(paths.begin(), paths.end());
    EXPECT_EQ(paths, (std::vector<std::string>{dir / "Apps/Foo.app", dir / "Apps/Sub/Bar.app",
                                               dir / "ScopeLink/Baz.app"}));
    EXPECT_FALSE(query->startQuery()) << "a query runs once";
}

}  // namespace
