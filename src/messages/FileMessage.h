#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "messages/ArchivedObject.h"
#include "messages/MessageEnvironment.h"

// A command file between the Main application and the Helper: a keyed
// archive of one dictionary, {"command": "exclude-paths", "paths": [...]} or
// {"command": "clear-exclude-paths"}, in a "random_<n>-<seconds>.msgforswhelp"
// file that the receiver opens and deletes.
class FileMessage {
public:
    // Received: loaded from a file; nobody to send it to.
    static constexpr std::int64_t kTypeReceived = 0;
    // Addressed to the Helper.
    static constexpr std::int64_t kTypeForHelper = 1;

    static constexpr const char* kCommandKey = "command";
    static constexpr const char* kPathsKey = "paths";
    static constexpr const char* kExcludePathsCommand = "exclude-paths";
    static constexpr const char* kClearExcludePathsCommand = "clear-exclude-paths";
    static constexpr const char* kMessageExtension = "msgforswhelp";
    // A command is a few paths; anything much larger is not one.
    static constexpr std::size_t kMaxFileSize = std::size_t{1} << 20;

    explicit FileMessage(std::int64_t type,
                         MessageEnvironment environment = MessageEnvironment::standard());

    // A message for the Helper with the string elements of `paths`, in
    // order (other elements are dropped; none at all still makes a message).
    static std::shared_ptr<FileMessage> CreateMessageForHelperToExcludeRemovedPaths(
        const ArchivedObject::Array& paths,
        MessageEnvironment environment = MessageEnvironment::standard());
    static std::shared_ptr<FileMessage> CreateMessageForHelperToExcludeRemovedPaths(
        const std::vector<std::string>& paths,
        MessageEnvironment environment = MessageEnvironment::standard());
    static std::shared_ptr<FileMessage> CreateMessageForHelperToCancelExcludeRemovedPaths(
        MessageEnvironment environment = MessageEnvironment::standard());

    // True for an exclude command whose "paths" is an array; `paths` (may be
    // null) then gets its string elements in order. False otherwise, with
    // `paths` untouched.
    static bool ReadExcludePaths(std::vector<std::string>* paths,
                                 const std::shared_ptr<const FileMessage>& message);
    // True for a clear command.
    static bool ReadCancelExcludeRemovedPathsFromMessage(
        const std::shared_ptr<const FileMessage>& message);

    // Reads and removes a command file, whatever it holds (see
    // platform::consumeFile: only a regular file of at most kMaxFileSize is
    // read, no link is followed, a folder stays). A received message whose
    // body is the archive's root object (of any kind), or null when there is
    // no path, nothing was read, or it is not a keyed archive. It may block
    // on a slow disk: callers keep it off the main thread.
    static std::shared_ptr<FileMessage> loadFromFile(const std::optional<std::string>& path);

    std::int64_t type() const { return m_nType; }
    // The body; null when there is none. Safe to call from any thread.
    std::shared_ptr<const ArchivedObject> data() const;
    void setData(std::shared_ptr<const ArchivedObject> data);

    // The Helper's identifier and "msgforswhelp" for a message to the Helper;
    // nullopt for a received one.
    std::optional<std::string> receiverAppBundleId() const;
    std::optional<std::string> messageExtension() const;

    // When the receiver runs (getAppPathForMessage), writes the message and
    // hands it to the running Helper over its socket (only one of this
    // user), returning once the Helper has taken it, so that messages sent
    // one after another arrive in that order. Blocks for up to the
    // environment's commandTimeout: keep it off a window's thread. False for
    // a message without a body, one not addressed to anyone, when no Helper
    // runs or listens (nothing is left behind) or it did not answer in time.
    bool transmit() const;

    // The receiver's executable when it is running. For the Main application
    // only, also the bundle that encloses the running Helper, or else an
    // installed copy. nullopt when none is found: a Helper that is not
    // running receives nothing.
    std::optional<std::string> getAppPathForMessage() const;
    // The application bundle that encloses the running program, when the
    // program is the Helper, `bundleId` is the Main application's, and that
    // bundle has it; nullopt otherwise.
    std::optional<std::string> findRelativeAppWithBundleId(const std::string& bundleId) const;

    // Writes the body as a keyed archive into a new file of the shared
    // message folder (created with its parents); its full path, or nullopt
    // when there is no body or extension or the file cannot be written.
    std::optional<std::string> saveToFile() const;

    // The first "random_<n>-<seconds>.<extension>" for which nothing is in
    // the folder (a dangling link counts as something); the name only. Empty
    // for an extension that cannot be appended (it holds a "/").
    static std::string createUniqueFileNameInFolder(const std::string& folder,
                                                    const std::string& extension);
    // "random_<n>-<seconds>" with this class's own counter (see
    // WatcherMessage::getRandomString).
    static std::string getRandomString();

private:
    const std::int64_t m_nType;
    const MessageEnvironment m_environment;
    mutable std::mutex m_dataLock;
    std::shared_ptr<const ArchivedObject> m_pData;
};
