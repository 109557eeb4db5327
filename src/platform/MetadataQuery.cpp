#include "platform/MetadataQuery.h"

#include <sys/stat.h>

#include <atomic>
#include <cctype>
#include <mutex>
#include <set>
#include <utility>

#include "dispatch/MainQueue.h"
#include "dispatch/SerialQueue.h"
#include "platform/Bundle.h"
#include "platform/DirectoryLister.h"
#include "platform/FileResources.h"
#include "platform/PasswordDatabase.h"
#include "platform/PathUtils.h"

namespace platform {

struct MetadataQuery::State {
    mutable std::mutex lock;
    std::vector<MetadataItem> results;
    bool started = false;
    bool gathering = false;
    std::atomic<bool> stopped{false};
};

namespace {

bool hasApplicationExtension(const std::string& name) {
    std::string extension = PathUtils::pathExtension(name);
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension == "app";
}

// The walk of one query. It owns nothing of the query but the shared state,
// so it can run to its end (or its stop) whatever happens to the query.
class Gatherer {
public:
    Gatherer(std::shared_ptr<MetadataQuery::State> state, MetadataPredicate predicate)
        : m_pState(std::move(state)), m_predicate(std::move(predicate)) {}

    void walkScope(const std::string& scope) {
        std::vector<std::string> pending{PathUtils::stringByStandardizingPath(scope)};
        while (!pending.empty() && !stopped()) {
            const std::string folder = std::move(pending.back());
            pending.pop_back();
            struct stat info {};
            // The scope itself may be a link; below it nothing is followed.
            if (::stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) continue;
            if (!m_arrVisited.insert({info.st_dev, info.st_ino}).second) continue;
            readFolder(folder, pending);
        }
    }

private:
    bool stopped() const { return m_pState->stopped.load(std::memory_order_acquire); }

    void readFolder(const std::string& folder, std::vector<std::string>& pending) {
        DirectoryLister::forEachEntry(folder, [&](std::string_view entry) {
            if (entry[0] == '.') return true;  // hidden
            if (stopped()) return false;
            const std::string name(entry);
            const std::string path = PathUtils::stringByAppendingPathComponent(folder, name);
            struct stat info {};
            if (::lstat(path.c_str(), &info) != 0) return true;
            if (S_ISDIR(info.st_mode) && !isFilePackageAtPath(path)) pending.push_back(path);
            consider(path, name, info);
            return true;
        });
    }

    void consider(const std::string& path, const std::string& name, const struct stat& info) {
        std::map<std::string, std::string> attributes{
            {kMetadataItemPathKey, path}, {"kMDItemFSName", name}, {"kMDItemDisplayName", name}};
        if (S_ISLNK(info.st_mode)) {
            attributes["kMDItemContentType"] = "public.symlink";
        } else if (S_ISDIR(info.st_mode) && hasApplicationExtension(name)) {
            attributes["kMDItemContentType"] = "com.apple.application-bundle";
            attributes["kMDItemDisplayName"] = PathUtils::stringByDeletingPathExtension(name);
            if (auto bundle = Bundle::bundleWithPath(path)) {
                if (auto id = bundle->bundleIdentifier())
                    attributes["kMDItemCFBundleIdentifier"] = *id;
                const PlistValue* version =
                    bundle->objectForInfoDictionaryKey("CFBundleShortVersionString");
                if (version && version->asString())
                    attributes["kMDItemVersion"] = *version->asString();
            }
        } else {
            attributes["kMDItemContentType"] =
                S_ISDIR(info.st_mode) ? "public.folder" : "public.data";
        }
        if (!m_predicate.evaluateWithObject(attributes)) return;
        std::lock_guard guard(m_pState->lock);
        // Checked under the lock: once stopped, the results no longer change.
        if (stopped()) return;
        m_pState->results.emplace_back(std::move(attributes));
    }

    std::shared_ptr<MetadataQuery::State> m_pState;
    MetadataPredicate m_predicate;
    std::set<std::pair<dev_t, ino_t>> m_arrVisited;  // a folder reached twice is read once
};

}  // namespace

std::optional<std::string> MetadataItem::valueForAttribute(const std::string& name) const {
    const auto found = m_arrAttributes.find(name);
    if (found == m_arrAttributes.end()) return std::nullopt;
    return found->second;
}

NotificationCenter& MetadataQuery::defaultCenter() {
    static NotificationCenter* center = new NotificationCenter();  // lives as long as the process
    return *center;
}

std::vector<std::string> MetadataQuery::defaultSearchScopes() {
    std::vector<std::string> scopes{"/Applications"};
    const std::string home = homeFromPasswordDatabase();
    if (isUsableHomeDirectory(home))
        scopes.push_back(PathUtils::stringByAppendingPathComponent(home, "Applications"));
    return scopes;
}

std::shared_ptr<MetadataQuery> MetadataQuery::create(std::shared_ptr<dispatch::Queue> gatherQueue) {
    if (!gatherQueue) {
        // One walk at a time is plenty for the few searches the agent makes.
        // Never destroyed: a walk still running at exit must not be waited for.
        static const auto* shared = new std::shared_ptr<dispatch::SerialQueue>(
            std::make_shared<dispatch::SerialQueue>("MetadataQuery gathering"));
        gatherQueue = *shared;
    }
    return std::shared_ptr<MetadataQuery>(new MetadataQuery(std::move(gatherQueue)));
}

MetadataQuery::MetadataQuery(std::shared_ptr<dispatch::Queue> gatherQueue)
    : m_pGatherQueue(std::move(gatherQueue)), m_pState(std::make_shared<State>()) {}

bool MetadataQuery::setPredicateFromFormat(const std::string& format) {
    m_predicate = MetadataPredicate::predicateWithFormat(format);
    return m_predicate.has_value();
}

bool MetadataQuery::startQuery() {
    if (!m_predicate) return false;
    {
        std::lock_guard guard(m_pState->lock);
        if (m_pState->started) return false;
        m_pState->started = true;
        m_pState->gathering = true;
    }
    std::vector<std::string> scopes =
        m_arrSearchScopes.empty() ? defaultSearchScopes() : m_arrSearchScopes;
    m_pGatherQueue->async([state = m_pState, predicate = *m_predicate, scopes = std::move(scopes),
                           weakQuery = weak_from_this()] {
        Gatherer gatherer(state, predicate);
        for (const auto& scope : scopes) gatherer.walkScope(scope);
        dispatch::MainQueue::main().async([state, weakQuery] {
            {
                std::lock_guard guard(state->lock);
                if (state->stopped || !state->gathering) return;
                state->gathering = false;
            }
            if (auto query = weakQuery.lock()) {
                defaultCenter().postNotificationName(kDidFinishGatheringNotification, query.get());
            }
        });
    });
    return true;
}

void MetadataQuery::stopQuery() {
    std::lock_guard guard(m_pState->lock);
    m_pState->stopped = true;
    m_pState->gathering = false;
}

bool MetadataQuery::isStarted() const {
    std::lock_guard guard(m_pState->lock);
    return m_pState->started;
}

bool MetadataQuery::isGathering() const {
    std::lock_guard guard(m_pState->lock);
    return m_pState->gathering;
}

bool MetadataQuery::isStopped() const {
    return m_pState->stopped.load(std::memory_order_acquire);
}

std::vector<MetadataItem> MetadataQuery::results() const {
    std::lock_guard guard(m_pState->lock);
    return m_pState->results;
}

std::size_t MetadataQuery::resultCount() const {
    std::lock_guard guard(m_pState->lock);
    return m_pState->results.size();
}

}  // namespace platform
