#include "messages/WatcherMessage.h"

#include <unistd.h>

#include <atomic>
#include <nlohmann/json.hpp>

#include "messages/MessageEnvironment.h"
#include "messages/MessageFileUtils.h"
#include "platform/PathUtils.h"

namespace {

std::atomic<std::uint64_t> s_nNameCounter{0};

bool isValidUtf8(const std::string& text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    const std::size_t size = text.size();
    for (std::size_t i = 0; i < size;) {
        const unsigned char lead = bytes[i];
        std::size_t length;
        std::uint32_t point;
        if (lead < 0x80) {
            ++i;
            continue;
        } else if ((lead & 0xE0) == 0xC0) {
            length = 2;
            point = lead & 0x1F;
        } else if ((lead & 0xF0) == 0xE0) {
            length = 3;
            point = lead & 0x0F;
        } else if ((lead & 0xF8) == 0xF0) {
            length = 4;
            point = lead & 0x07;
        } else {
            return false;
        }
        if (size - i < length) return false;
        for (std::size_t k = 1; k < length; ++k) {
            if ((bytes[i + k] & 0xC0) != 0x80) return false;
            point = (point << 6) | (bytes[i + k] & 0x3F);
        }
        static constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (point < kSmallest[length] || point > 0x10FFFF) return false;
        if (point >= 0xD800 && point <= 0xDFFF) return false;
        i += length;
    }
    return true;
}

}  // namespace

std::optional<std::string> WatcherMessage::messageText() const {
    nlohmann::json items = nlohmann::json::array();
    for (const auto& entry : m_arrObjs) {
        if (entry) items.push_back(entry->toDictionary());
    }
    const nlohmann::json document = {{"items", std::move(items)}};
    std::string json;
    try {
        json = document.dump();
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;  // a string that is not UTF-8
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
    MessageFileUtils::createFolder(folder);
    const auto text = messageText();
    if (!text) return std::nullopt;
    const std::string path = PathUtils::stringByAppendingPathComponent(
        folder, createUniqueFileNameInFolder(folder, kFileSuffix));
    if (!MessageFileUtils::writeFileAtomically(path, *text)) return std::nullopt;
    return path;
}

bool WatcherMessage::loadFromPath(const std::string& path) {
    if (!MessageFileUtils::existsWithoutFollowingLink(path)) return false;
    const auto text = MessageFileUtils::readFile(path, MessageFileUtils::kMaxMessageFileSize);
    if (!text || !loadFromText(*text)) return false;
    ::unlink(path.c_str());
    return true;
}

bool WatcherMessage::loadFromText(const std::string& text) {
    if (!isValidUtf8(text)) return false;
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
    for (;;) {
        std::string name = getRandomString() + suffix;
        if (!MessageFileUtils::existsWithoutFollowingLink(
                PathUtils::stringByAppendingPathComponent(folder, name))) {
            return name;
        }
    }
}

std::string WatcherMessage::getRandomString() {
    return MessageFileUtils::randomString(++s_nNameCounter,
                                          MessageFileUtils::secondsSinceReferenceDate());
}
