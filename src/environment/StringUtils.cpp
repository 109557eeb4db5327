#include "environment/StringUtils.h"

#include <limits>

#include "platform/ByteCountFormatter.h"
#include "platform/FileSystem.h"
#include "platform/PathUtils.h"

namespace StringUtils {

namespace {

char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

bool isInFolder(const std::string& path, const std::string& folder) {
    // A nil or empty prefix never matches, as with the platform's prefix test.
    if (folder.empty() || path.size() <= folder.size()) return false;
    return path.compare(0, folder.size(), folder) == 0 && path[folder.size()] == '/';
}

bool hasCaseInsensitiveSuffix(const std::string& s, const std::optional<std::string>& suffix) {
    // An empty string is never found by the anchored search, so "" is no suffix.
    if (!suffix || suffix->empty() || suffix->size() > s.size()) return false;
    const std::size_t offset = s.size() - suffix->size();
    for (std::size_t i = 0; i < suffix->size(); ++i) {
        if (asciiLower(s[offset + i]) != asciiLower((*suffix)[i])) return false;
    }
    return true;
}

std::string stringByReplacingFirstOccuranceOfString(const std::string& s, const std::string& target,
                                                    const std::string& replacement) {
    if (target.empty()) return s;
    const std::size_t at = s.find(target);
    if (at == std::string::npos) return s;
    std::string out = s;
    out.replace(at, target.size(), replacement);
    return out;
}

std::string convertToStringFromFileSize(std::int64_t bytes) {
    return platform::ByteCountFormatter::stringFromByteCount(bytes);
}

std::string convertToStringFromFileSize(std::int64_t bytes, const std::string& localeName) {
    return platform::ByteCountFormatter::stringFromByteCount(bytes, localeName);
}

std::string getNameForCopiedFile(const std::string& name, const std::string& folder) {
    const std::string base = platform::PathUtils::stringByDeletingPathExtension(name);
    const std::string extension = platform::PathUtils::pathExtension(name);
    long number = 0;  // the name itself, then "<base> 2", "<base> 3", ...
    return *platform::firstFreeName(folder, [&]() -> std::optional<std::string> {
        if (++number == 1) return name;
        const std::string numbered = base + " " + std::to_string(number);
        return platform::PathUtils::stringByAppendingPathExtension(numbered, extension)
            .value_or(numbered);
    });
}

std::string getDisplayNameAtPath(const std::string& path) {
    const std::string name = platform::PathUtils::lastPathComponent(path);
    if (platform::PathUtils::pathExtension(name) == "app")
        return platform::PathUtils::stringByDeletingPathExtension(name);
    return name;
}

std::int64_t longLongValue(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size() && (text[at] == ' ' || (text[at] >= '\t' && text[at] <= '\r'))) ++at;
    bool negative = false;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) negative = text[at++] == '-';
    // Accumulated as a negative number, which has room for the minimum.
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    std::int64_t value = 0;
    bool saturated = false;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        const int digit = text[at] - '0';
        if (value < (kMin + digit) / 10) {
            saturated = true;
            break;
        }
        value = value * 10 - digit;
    }
    if (saturated) return negative ? kMin : std::numeric_limits<std::int64_t>::max();
    if (negative) return value;
    return value == kMin ? std::numeric_limits<std::int64_t>::max() : -value;
}

}  // namespace StringUtils
