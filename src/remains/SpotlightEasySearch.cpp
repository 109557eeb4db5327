#include "remains/SpotlightEasySearch.h"

#include <cassert>
#include <chrono>
#include <map>
#include <utility>

#include "dispatch/MainQueue.h"

namespace {

// Running searches, keyed by address. Touched on the main thread only.
std::map<const SpotlightEasySearch*, std::shared_ptr<SpotlightEasySearch>>& liveSearches() {
    static auto* searches =
        new std::map<const SpotlightEasySearch*, std::shared_ptr<SpotlightEasySearch>>();
    return *searches;
}

}  // namespace

std::shared_ptr<SpotlightEasySearch> SpotlightEasySearch::create(
    std::shared_ptr<platform::MetadataQuery> query) {
    if (!query) query = platform::MetadataQuery::create();
    std::shared_ptr<SpotlightEasySearch> search(new SpotlightEasySearch(std::move(query)));
    // Any sender: each search picks out its own query's notice.
    search->m_nObserverToken = platform::MetadataQuery::defaultCenter().addObserverForName(
        platform::MetadataQuery::kDidFinishGatheringNotification, nullptr,
        [weakSearch =
             std::weak_ptr<SpotlightEasySearch>(search)](const platform::Notification& note) {
            if (auto self = weakSearch.lock()) self->endSearchingNotify(note.object);
        });
    return search;
}

SpotlightEasySearch::SpotlightEasySearch(std::shared_ptr<platform::MetadataQuery> query)
    : m_pMetadataQuery(std::move(query)) {}

SpotlightEasySearch::~SpotlightEasySearch() {
    platform::MetadataQuery::defaultCenter().removeObserver(m_nObserverToken);
}

void SpotlightEasySearch::startQuery(const std::string& predicateFormat) {
    startQuery(predicateFormat, {});
}

void SpotlightEasySearch::startQuery(const std::string& predicateFormat,
                                     const std::vector<std::string>& folders) {
    assert(dispatch::MainQueue::main().isCurrent());
    m_pMetadataQuery->setPredicateFromFormat(predicateFormat);
    if (!folders.empty()) m_pMetadataQuery->setSearchScopes(folders);
    SavePointer(shared_from_this());
    if (m_pMetadataQuery->startQuery()) {
        const auto delay = std::chrono::duration_cast<dispatch::Duration>(
            std::chrono::duration<double>(m_nMaxWaitTime));
        // Holds the search until the time-out, whether or not it has ended by then.
        dispatch::MainQueue::main().after(delay,
                                          [self = shared_from_this()] { self->stopQuery(); });
    } else {
        endSearchingNotify(std::nullopt);
    }
}

void SpotlightEasySearch::stopQuery() {
    endSearchingNotify(std::nullopt);
}

void SpotlightEasySearch::endSearchingNotify(const std::optional<const void*>& notificationObject) {
    if (notificationObject && *notificationObject != m_pMetadataQuery.get()) return;
    // The set may hold the last reference to us.
    const auto keepAlive = shared_from_this();
    if (!m_pMetadataQuery->isStopped()) m_pMetadataQuery->stopQuery();
    // Taken out before the call, so that a block that ends the search again
    // (or starts another) cannot be called twice.
    if (ResultBlock block = std::exchange(m_fnResultBlock, nullptr)) {
        block(*this, *m_pMetadataQuery);
    }
    RemovePointer(this);
}

void SpotlightEasySearch::SavePointer(const std::shared_ptr<SpotlightEasySearch>& search) {
    if (search) liveSearches()[search.get()] = search;
}

void SpotlightEasySearch::RemovePointer(const SpotlightEasySearch* search) {
    liveSearches().erase(search);
}

std::size_t SpotlightEasySearch::runningSearchCount() {
    return liveSearches().size();
}
