#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/MetadataQuery.h"

// Runs one metadata query and calls a block once, when the query has
// gathered its results or when maxWaitTime has passed, whichever is first.
// A running search keeps itself alive, so a caller may drop it right after
// starting it. Main thread only.
class SpotlightEasySearch : public std::enable_shared_from_this<SpotlightEasySearch> {
public:
    using ResultBlock = std::function<void(SpotlightEasySearch&, platform::MetadataQuery&)>;

    static constexpr double kDefaultMaxWaitTime = 30.0;

    // `query`: the query to run; null for a new one of the platform's.
    static std::shared_ptr<SpotlightEasySearch> create(
        std::shared_ptr<platform::MetadataQuery> query = nullptr);
    ~SpotlightEasySearch();
    SpotlightEasySearch(const SpotlightEasySearch&) = delete;
    SpotlightEasySearch& operator=(const SpotlightEasySearch&) = delete;

    void setResultBlock(ResultBlock block) { m_fnResultBlock = std::move(block); }

    void startQuery(const std::string& predicateFormat);
    // Empty `folders` leave the query's default scope. A format that cannot
    // be parsed, or a query that will not start, ends the search at once:
    // the block is called before this returns.
    void startQuery(const std::string& predicateFormat, const std::vector<std::string>& folders);
    void stopQuery();
    // The end of the search. `notificationObject`: the query that finished
    // gathering, or nullopt when the search is ended by a stop or a time-out.
    // A notification about another query is ignored.
    void endSearchingNotify(const std::optional<const void*>& notificationObject);

    double maxWaitTime() const { return m_nMaxWaitTime; }
    void setMaxWaitTime(double seconds) { m_nMaxWaitTime = seconds; }

    // The class-wide set of running searches.
    static void SavePointer(const std::shared_ptr<SpotlightEasySearch>& search);
    static void RemovePointer(const SpotlightEasySearch* search);
    // How many searches are running now.
    static std::size_t runningSearchCount();

private:
    explicit SpotlightEasySearch(std::shared_ptr<platform::MetadataQuery> query);

    std::shared_ptr<platform::MetadataQuery> m_pMetadataQuery;
    ResultBlock m_fnResultBlock;
    double m_nMaxWaitTime = kDefaultMaxWaitTime;
    platform::NotificationCenter::ObserverToken m_nObserverToken = 0;
};
