#include "platform/TrashInfo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/FileSystem.h"

namespace platform {

namespace {

constexpr std::string_view kGroupHeader = "[Trash Info]";

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t\r");
    return text.substr(first, last - first + 1);
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// URL percent-decoding; nullopt for a "%" without two hex digits after it
// and for an escaped NUL, which no path can hold.
std::optional<std::string> percentDecoded(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out += text[i];
            continue;
        }
        if (i + 2 >= text.size()) return std::nullopt;
        const int high = hexValue(text[i + 1]);
        const int low = hexValue(text[i + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        const char byte = static_cast<char>(high * 16 + low);
        if (byte == '\0') return std::nullopt;
        out += byte;
        i += 2;
    }
    return out;
}

bool isCommentOrBlank(std::string_view line) {
    const auto text = trimmed(line);
    return text.empty() || text.front() == '#';
}

}  // namespace

std::optional<TrashInfo> TrashInfo::parse(std::string_view text) {
    if (text.size() > kMaxFileSize || text.find('\0') != std::string_view::npos) {
        return std::nullopt;
    }
    enum class Where { BeforeGroup, InGroup, AfterGroup } where = Where::BeforeGroup;
    std::optional<std::string_view> encodedPath;
    std::optional<std::string_view> deletionDate;
    while (!text.empty()) {
        const auto end = text.find('\n');
        const auto line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        if (isCommentOrBlank(line)) continue;
        const auto content = trimmed(line);
        if (content.front() == '[') {
            // Only the first group is ours; whatever follows it is someone else's.
            if (where == Where::BeforeGroup && content != kGroupHeader) return std::nullopt;
            where = where == Where::BeforeGroup ? Where::InGroup : Where::AfterGroup;
            continue;
        }
        if (where == Where::BeforeGroup) return std::nullopt;
        if (where == Where::AfterGroup) continue;
        const auto equals = content.find('=');
        if (equals == std::string_view::npos) continue;
        const auto key = trimmed(content.substr(0, equals));
        const auto value = trimmed(content.substr(equals + 1));
        auto* slot = key == "Path" ? &encodedPath : key == "DeletionDate" ? &deletionDate : nullptr;
        if (!slot) continue;
        // Two values for one key leave it unknown which one the trashing
        // program meant.
        if (slot->has_value()) return std::nullopt;
        *slot = value;
    }
    if (!encodedPath || encodedPath->empty()) return std::nullopt;
    auto path = percentDecoded(*encodedPath);
    if (!path) return std::nullopt;
    return TrashInfo{std::move(*path), std::string(deletionDate.value_or(""))};
}

std::optional<TrashInfo> TrashInfo::readForItem(const std::string& trashFolder,
                                                const std::string& storedName) {
    if (storedName.empty() || storedName == "." || storedName == ".." ||
        storedName.find('/') != std::string::npos) {
        return std::nullopt;
    }
    const std::string infoPath = trashFolder + "/info/" + storedName + ".trashinfo";
    const UniqueFd fd(::open(infoPath.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!fd || ::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    const auto text = readToEnd(fd.get(), kMaxFileSize, static_cast<std::size_t>(status.st_size));
    if (!text) return std::nullopt;
    return parse(*text);
}

std::optional<std::string> TrashInfo::originalName() const {
    std::string_view rest = path;
    while (rest.size() > 1 && rest.back() == '/') rest.remove_suffix(1);
    const auto slash = rest.rfind('/');
    const auto name = slash == std::string_view::npos ? rest : rest.substr(slash + 1);
    if (name.empty() || name == "." || name == "..") return std::nullopt;
    return std::string(name);
}

}  // namespace platform
