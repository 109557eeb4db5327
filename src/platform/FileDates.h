#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace platform {

using FileDate = std::chrono::system_clock::time_point;

// When the entry at the path (a final link not followed) was created; nullopt
// when it cannot be examined or its file system does not record the birth time.
std::optional<FileDate> creationDateForPath(const std::string& path);
// When the entry's contents were last read; nullopt when it cannot be examined.
std::optional<FileDate> lastAccessDateForPath(const std::string& path);

}  // namespace platform
