#include "messages/MessageFileUtils.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace MessageFileUtils {

namespace {

// 2001-01-01 00:00:00 UTC in Unix time.
constexpr std::int64_t kReferenceDateUnixSeconds = 978307200;

}  // namespace

std::uint64_t secondsSinceReferenceDate() {
    using namespace std::chrono;
    const auto sinceEpoch = system_clock::now().time_since_epoch();
    // duration_cast truncates toward zero, as the conversion to an integer does.
    const std::int64_t seconds = duration_cast<std::chrono::seconds>(
                                     sinceEpoch - std::chrono::seconds(kReferenceDateUnixSeconds))
                                     .count();
    return static_cast<std::uint64_t>(seconds);
}

std::string randomString(std::uint64_t counter, std::uint64_t seconds) {
    char text[64];
    std::snprintf(text, sizeof text, "random_%llu-%llu", static_cast<unsigned long long>(counter),
                  static_cast<unsigned long long>(seconds));
    return text;
}

}  // namespace MessageFileUtils
