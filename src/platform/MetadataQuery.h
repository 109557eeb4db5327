#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "dispatch/Queue.h"
#include "platform/MetadataPredicate.h"
#include "platform/NotificationCenter.h"

namespace platform {

// One item a metadata query found: its attributes by name.
//   kMDItemPath               the absolute path
//   kMDItemFSName             the entry's name
//   kMDItemDisplayName        the name, without ".app" for an application
//   kMDItemContentType        "com.apple.application-bundle", "public.folder",
//                             "public.symlink" or "public.data"
//   kMDItemCFBundleIdentifier an application's CFBundleIdentifier, when it has one
//   kMDItemVersion            an application's CFBundleShortVersionString, when it has one
class MetadataItem {
public:
    explicit MetadataItem(std::map<std::string, std::string> attributes)
        : m_arrAttributes(std::move(attributes)) {}

    std::optional<std::string> valueForAttribute(const std::string& name) const;
    const std::map<std::string, std::string>& attributes() const { return m_arrAttributes; }

private:
    std::map<std::string, std::string> m_arrAttributes;
};

inline constexpr const char* kMetadataItemPathKey = "kMDItemPath";

// A search of the file system by metadata. The system has no index to ask, so
// a query walks its scopes on a background queue: every entry below a scope
// (hidden ones left out) is an item, application bundles are read for their
// identifier and version, and packages are not entered. Symbolic links are
// items but are not followed, except a scope that is itself a link.
//
// Use from the main thread. When the walk is done the query posts
// kDidFinishGatheringNotification on defaultCenter() from the main queue,
// with the query as the object; a query stopped before that posts nothing.
class MetadataQuery : public std::enable_shared_from_this<MetadataQuery> {
public:
    static constexpr const char* kDidFinishGatheringNotification =
        "NSMetadataQueryDidFinishGatheringNotification";

    // The centre that queries post on.
    static NotificationCenter& defaultCenter();
    // Where a query with no scopes looks: "/Applications" and the user's
    // Applications folder.
    static std::vector<std::string> defaultSearchScopes();

    // `gatherQueue`: where the walk runs; null for a shared background queue.
    static std::shared_ptr<MetadataQuery> create(
        std::shared_ptr<dispatch::Queue> gatherQueue = nullptr);

    void setPredicate(std::optional<MetadataPredicate> predicate) {
        m_predicate = std::move(predicate);
    }
    // Parses the format; an unparsable one leaves the query without a predicate.
    bool setPredicateFromFormat(const std::string& format);
    const std::optional<MetadataPredicate>& predicate() const { return m_predicate; }

    // Folders to search; empty for the default scopes.
    void setSearchScopes(std::vector<std::string> scopes) { m_arrSearchScopes = std::move(scopes); }
    const std::vector<std::string>& searchScopes() const { return m_arrSearchScopes; }

    // Starts gathering. False when there is no predicate or the query was
    // started before.
    bool startQuery();
    // Ends gathering; the results stay as they were at this moment.
    void stopQuery();

    bool isStarted() const;
    bool isGathering() const;
    bool isStopped() const;

    // The items found so far, in the order they were met.
    std::vector<MetadataItem> results() const;
    std::size_t resultCount() const;

    struct State;

private:
    explicit MetadataQuery(std::shared_ptr<dispatch::Queue> gatherQueue);

    std::shared_ptr<dispatch::Queue> m_pGatherQueue;
    std::optional<MetadataPredicate> m_predicate;
    std::vector<std::string> m_arrSearchScopes;
    std::shared_ptr<State> m_pState;  // shared with the walk
};

}  // namespace platform
