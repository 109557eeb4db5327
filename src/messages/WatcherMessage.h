#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "messages/PathForRemove.h"

// The removal list the Helper hands to the Main application: a file of UTF-8
// text, the header line and a line feed, then one compact JSON document
// {"items": [entry, ...]} (see PathForRemove::toDictionary) written the way
// the platform's serializer writes it, every "/" in a string as "\/".
class WatcherMessage {
public:
    void setPathsForRemove(std::vector<std::shared_ptr<PathForRemove>> paths) {
        m_arrObjs = std::move(paths);
    }
    const std::vector<std::shared_ptr<PathForRemove>>& getPathsForRemove() const {
        return m_arrObjs;
    }

    static std::string getProtocolName2() {
        return "---=== Sweepwell Agent Watcher Message v2 ===---";
    }

    // The file's text for the entries; null entries, and entries whose path
    // or identifier is not UTF-8, are skipped. nullopt only when the JSON
    // cannot be made at all.
    std::optional<std::string> messageText() const;

    // Writes the list to a new "random_<n>-<seconds>.trforsw" file in the
    // folder (created with its parents) or, in the first form, in the shared
    // message folder; the file's full path, or nullopt on failure.
    std::optional<std::string> saveForTransmit() const;
    std::optional<std::string> saveForTransmit(const std::string& folder) const;

    // Reads a removal list. The text must start with the header line and a
    // line feed and go on with a JSON object; its "items" elements that make
    // entries become this message's entries, the others are skipped. True,
    // with the file deleted, when at least one entry was read; false, with
    // the file and this message left as they were, otherwise.
    bool loadFromPath(const std::string& path);
    // The same for the file's text, with no file to delete.
    bool loadFromText(const std::string& text);

    // The first "random_<n>-<seconds><suffix>" for which nothing is in the
    // folder (a dangling link counts as something); the name only. The suffix
    // carries its own dot.
    static std::string createUniqueFileNameInFolder(const std::string& folder,
                                                    const std::string& suffix);
    // "random_<n>-<seconds>" with this class's counter, one more each call
    // (the first is 1), and the whole seconds since 1 January 2001 UTC.
    static std::string getRandomString();

    static constexpr const char* kFileSuffix = ".trforsw";

private:
    std::vector<std::shared_ptr<PathForRemove>> m_arrObjs;
};
