#include "messages/FileMessage.h"

#include <unistd.h>

#include <atomic>

#include "environment/ApplicationDirectoryUtils.h"
#include "messages/KeyedArchive.h"
#include "messages/MessageFileUtils.h"
#include "messages/OpenFilesRequest.h"
#include "platform/Bundle.h"
#include "platform/ConsumeFile.h"
#include "platform/FileSystem.h"
#include "platform/LaunchServices.h"
#include "platform/Log.h"
#include "platform/PathUtils.h"
#include "platform/Workspace.h"

namespace {

std::atomic<std::uint64_t> s_nNameCounter{0};

// The body's command when it is a dictionary with a string "command".
const std::string* commandOf(const std::shared_ptr<const FileMessage>& message) {
    if (!message) return nullptr;
    const auto body = message->data();
    if (!body) return nullptr;
    const ArchivedObject* command = body->objectForKey(FileMessage::kCommandKey);
    return command ? command->asString() : nullptr;
}

}  // namespace

FileMessage::FileMessage(std::int64_t type, MessageEnvironment environment)
    : m_nType(type), m_environment(std::move(environment)) {}

std::shared_ptr<FileMessage> FileMessage::CreateMessageForHelperToExcludeRemovedPaths(
    const ArchivedObject::Array& paths, MessageEnvironment environment) {
    ArchivedObject::Array strings;
    for (const ArchivedObject& path : paths) {
        if (path.asString()) strings.push_back(path);
    }
    auto message = std::make_shared<FileMessage>(kTypeForHelper, std::move(environment));
    message->setData(std::make_shared<const ArchivedObject>(ArchivedObject::Dictionary{
        {ArchivedObject(kCommandKey), ArchivedObject(kExcludePathsCommand)},
        {ArchivedObject(kPathsKey), ArchivedObject(std::move(strings))}}));
    return message;
}

std::shared_ptr<FileMessage> FileMessage::CreateMessageForHelperToExcludeRemovedPaths(
    const std::vector<std::string>& paths, MessageEnvironment environment) {
    ArchivedObject::Array objects(paths.begin(), paths.end());
    return CreateMessageForHelperToExcludeRemovedPaths(objects, std::move(environment));
}

std::shared_ptr<FileMessage> FileMessage::CreateMessageForHelperToCancelExcludeRemovedPaths(
    MessageEnvironment environment) {
    auto message = std::make_shared<FileMessage>(kTypeForHelper, std::move(environment));
    message->setData(std::make_shared<const ArchivedObject>(ArchivedObject::Dictionary{
        {ArchivedObject(kCommandKey), ArchivedObject(kClearExcludePathsCommand)}}));
    return message;
}

bool FileMessage::ReadExcludePaths(std::vector<std::string>* paths,
                                   const std::shared_ptr<const FileMessage>& message) {
    const std::string* command = commandOf(message);
    if (!command || *command != kExcludePathsCommand) return false;
    const ArchivedObject* list = message->data()->objectForKey(kPathsKey);
    if (!list || !list->asArray()) return false;
    if (paths) {
        std::vector<std::string> strings;
        for (const ArchivedObject& element : *list->asArray()) {
            if (const std::string* path = element.asString()) strings.push_back(*path);
        }
        *paths = std::move(strings);
    }
    return true;
}

bool FileMessage::ReadCancelExcludeRemovedPathsFromMessage(
    const std::shared_ptr<const FileMessage>& message) {
    const std::string* command = commandOf(message);
    return command && *command == kClearExcludePathsCommand;
}

std::shared_ptr<FileMessage> FileMessage::loadFromFile(const std::optional<std::string>& path) {
    if (!path) return nullptr;
    // Consumed by the first attempt to read it, good or bad, so that a bad
    // file is never offered twice.
    std::string refusal;
    const auto bytes = platform::consumeFile(*path, kMaxFileSize, {}, &refusal);
    if (!bytes) {
        platform::Log::warning("commands", "command file " + *path + " refused: it " + refusal);
        return nullptr;
    }
    auto body = KeyedArchive::unarchiveObjectWithData(
        reinterpret_cast<const std::uint8_t*>(bytes->data()), bytes->size());
    if (!body) {
        platform::Log::warning("commands", "command file " + *path + " holds no command");
        return nullptr;
    }
    auto message = std::make_shared<FileMessage>(kTypeReceived, MessageEnvironment{});
    message->setData(std::make_shared<const ArchivedObject>(std::move(*body)));
    return message;
}

std::shared_ptr<const ArchivedObject> FileMessage::data() const {
    std::lock_guard<std::mutex> lock(m_dataLock);
    return m_pData;
}

void FileMessage::setData(std::shared_ptr<const ArchivedObject> data) {
    std::lock_guard<std::mutex> lock(m_dataLock);
    m_pData = std::move(data);
}

std::optional<std::string> FileMessage::receiverAppBundleId() const {
    if (m_nType != kTypeForHelper) return std::nullopt;
    return m_environment.helperAppBundleId;
}

std::optional<std::string> FileMessage::messageExtension() const {
    if (m_nType != kTypeForHelper) return std::nullopt;
    return std::string(kMessageExtension);
}

bool FileMessage::transmit() const {
    if (!data() || m_nType != kTypeForHelper) return false;
    // A command is only ever written for a Helper that runs.
    if (!getAppPathForMessage()) return false;
    const auto file = saveToFile();
    if (!file) return false;
    // Straight to the running agent's socket, one command at a time: the
    // agent answers once it has queued the file, so whatever is sent next
    // comes after it.
    switch (
        OpenFilesRequest::send(m_environment.helperSocket, {*file}, m_environment.commandTimeout)) {
        case OpenFilesRequest::Delivery::Delivered:
            return true;
        case OpenFilesRequest::Delivery::NoListener:
            // No agent runs: nobody would ever read the file we just wrote.
            ::unlink(file->c_str());
            return false;
        case OpenFilesRequest::Delivery::Unanswered:
            break;
    }
    platform::Log::warning("commands", "the Helper did not take " + *file + " in time");
    return false;
}

std::optional<std::string> FileMessage::getAppPathForMessage() const {
    const auto receiver = receiverAppBundleId();
    if (!receiver) return std::nullopt;
    // Every route answers only a copy that no other user could have planted.
    std::optional<std::string> candidate = m_environment.runningCopyToStart(*receiver);
    if (*receiver == m_environment.mainAppBundleId && !candidate) {
        candidate = m_environment.startable(findRelativeAppWithBundleId(*receiver));
        if (!candidate) candidate = m_environment.installedCopyToStart(*receiver);
    }
    return candidate;
}

std::optional<std::string> FileMessage::findRelativeAppWithBundleId(
    const std::string& bundleId) const {
    if (m_environment.ownBundleId != m_environment.helperAppBundleId ||
        bundleId != m_environment.mainAppBundleId) {
        return std::nullopt;
    }
    auto enclosing = ApplicationDirectoryUtils::parentAppPathForPath(m_environment.ownBundlePath);
    if (!enclosing) return std::nullopt;
    auto bundle = platform::Bundle::bundleWithPath(*enclosing);
    if (!bundle || bundle->bundleIdentifier() != bundleId) return std::nullopt;
    return enclosing;
}

std::optional<std::string> FileMessage::saveToFile() const {
    const std::string& folder = m_environment.messageFolder;
    const auto body = data();
    if (folder.empty() || !body) return std::nullopt;
    platform::makePrivateFolders(folder);  // a failure shows when the file is written
    const std::vector<std::uint8_t> bytes = KeyedArchive::archivedDataWithRootObject(*body);
    if (bytes.empty()) return std::nullopt;
    const auto extension = messageExtension();
    if (!extension) return std::nullopt;
    const std::string name = createUniqueFileNameInFolder(folder, *extension);
    if (name.empty()) return std::nullopt;
    const std::string path = platform::PathUtils::stringByAppendingPathComponent(folder, name);
    const std::string_view contents(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!platform::writeFileAtomically(path, contents, 0600)) return std::nullopt;
    return path;
}

std::string FileMessage::createUniqueFileNameInFolder(const std::string& folder,
                                                      const std::string& extension) {
    return platform::firstFreeName(folder, [&] {
               return platform::PathUtils::stringByAppendingPathExtension(getRandomString(),
                                                                        extension);
           }).value_or("");
}

std::string FileMessage::getRandomString() {
    return MessageFileUtils::randomString(++s_nNameCounter,
                                          MessageFileUtils::secondsSinceReferenceDate());
}
