#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// What both kinds of message file share: their names and their size bound.
namespace MessageFileUtils {

// Whole seconds since 1 January 2001 00:00:00 UTC, truncated toward zero and
// taken as an unsigned 64-bit number (so a clock set before 2001 wraps).
std::uint64_t secondsSinceReferenceDate();

// "random_<counter>-<seconds>": not random at all; unique through the counter
// within a run and through the caller's existence test across runs.
std::string randomString(std::uint64_t counter, std::uint64_t seconds);

// Message files are small; anything larger is not one of ours.
inline constexpr std::size_t kMaxMessageFileSize = std::size_t{64} << 20;

}  // namespace MessageFileUtils
