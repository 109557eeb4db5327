#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"

// What both kinds of message file share: their names, their folder, and
// writing them whole.
namespace MessageFileUtils {

// Whole seconds since 1 January 2001 00:00:00 UTC, truncated toward zero and
// taken as an unsigned 64-bit number (so a clock set before 2001 wraps).
std::uint64_t secondsSinceReferenceDate();

// "random_<counter>-<seconds>": not random at all; unique through the counter
// within a run and through the caller's existence test across runs.
std::string randomString(std::uint64_t counter, std::uint64_t seconds);

// The platform's chores under the names FileMessage still calls them by.
inline bool existsWithoutFollowingLink(const std::string& path) {
    return platform::existsWithoutFollowingLink(path);
}
// Failures are left to show up when the folder is used.
inline void createFolder(const std::string& folder) {
    platform::makePrivateFolders(folder);
}

// Writes a temporary file in the same folder, flushes it to disk and renames
// it over `path`, so a reader sees the whole file or none. The file gets
// `permissions`. False on any failure, with nothing left behind.
bool writeFileAtomically(const std::string& path, std::string_view contents,
                         unsigned permissions = 0600);

// Message files are small; anything larger is not one of ours.
inline constexpr std::size_t kMaxMessageFileSize = std::size_t{64} << 20;

}  // namespace MessageFileUtils
