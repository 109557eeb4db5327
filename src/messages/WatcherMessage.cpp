#include "messages/WatcherMessage.h"

#include <unistd.h>

#include <atomic>
#include <nlohmann/json.hpp>

#include "messages/MessageEnvironment.h"
#include "messages/MessageFileUtils.h"
#include "platform/FileSystem.h"
#include "platform/PathUtils.h"
#include "platform/Utf8.h"

namespace {

std::atomic<std::uint64_t> s_nNameCounter{0};

}  // namespace

std::optional<std::string> WatcherMessage::messageText() const {
    nlohmann::json items = nlohmann::json::array();
    for (const auto& entry : m_arrObjs) {
        if (!entry) continue;
        // One entry that cannot be written is skipped, not the whole list.
        if (nlohmann::json item = entry->toDictionary(); !item.is_null()) {
            items.push_back(std::move(item));
        }
    }
    const nlohmann::json document = {{"items", std::move(items)}};
    std::string json;
    try {
        json = document.dump();
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
    // No structural character of JSON is a "/", so every one is inside a
    // string, where the platform's serializer escapes it.
    std::string text = getProtocolName2() + "\n";
    text.reserve(text.size() + json.size() + json.size() / 8);
    for (char c : json) {
        if (c == '/') text += '\\';
        text += c;
    }
    return text;
}

std::optional<std::string> WatcherMessage::saveForTransmit() const {
    return saveForTransmit(MessageEnvironment::standard().messageFolder);
}

std::optional<std::string> WatcherMessage::saveForTransmit(const std::string& folder) const {
    if (folder.empty()) return std::nullopt;
    // Failures show up when the file is written.
    platform::makePrivateFolders(folder);
    const auto text = messageText();
    if (!text) return std::nullopt;
    const std::string path = platform::PathUtils::stringByAppendingPathComponent(
        folder, createUniqueFileNameInFolder(folder, kFileSuffix));
    if (!platform::writeFileAtomically(path, *text, 0600)) return std::nullopt;
    return path;
}

bool WatcherMessage::loadFromPath(const std::string& path) {
    if (!platform::existsWithoutFollowingLink(path)) return false;
    const auto text = platform::readWholeFile(path, MessageFileUtils::kMaxMessageFileSize);
    if (!text || !loadFromText(*text)) return false;
    ::unlink(path.c_str());
    return true;
}

bool WatcherMessage::loadFromText(const std::string& text) {
    if (!platform::Utf8::isValid(text)) return false;
    const std::string header = getProtocolName2() + "\n";
    if (text.compare(0, header.size(), header) != 0) return false;

    const nlohmann::json document =
        nlohmann::json::parse(text.begin() + static_cast<std::ptrdiff_t>(header.size()), text.end(),
                              nullptr, /*allow_exceptions=*/false);
    if (!document.is_object()) return false;
    std::vector<std::shared_ptr<PathForRemove>> entries;
    if (const auto items = document.find("items"); items != document.end() && items->is_array()) {
        for (const nlohmann::json& item : *items) {
            if (auto entry = PathForRemove::createFromDictionary(item)) {
                entries.push_back(std::move(entry));
            }
        }
    }
    if (entries.empty()) return false;
    m_arrObjs = std::move(entries);
    return true;
}

std::string WatcherMessage::createUniqueFileNameInFolder(const std::string& folder,
                                                         const std::string& suffix) {
    return *platform::firstFreeName(
        folder, [&]() -> std::optional<std::string> { return getRandomString() + suffix; });
}

std::string WatcherMessage::getRandomString() {
    return MessageFileUtils::randomString(++s_nNameCounter,
                                          MessageFileUtils::secondsSinceReferenceDate());
}
