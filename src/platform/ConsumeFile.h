#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace platform {

// Takes in a file that another program left for us: reads it and removes its
// name. Whoever can write to the folder may have put anything under that
// name, so only a regular file of at most `limit` bytes is read; a link is
// never followed, and a FIFO, a device or a folder is never opened. Every
// kind but a folder is removed all the same (a folder is never removed, and
// neither is anything inside it). The name is removed only while it still
// refers to the very entry that was examined: one swapped in meanwhile stays.
//
// The contents, or nullopt when nothing was read; then `refusal`, when
// given, says why. `beforeRemoving`, when given, runs between the read and
// the removal (tests swap the name there).
std::optional<std::string> consumeFile(const std::string& path, std::size_t limit,
                                       const std::function<void()>& beforeRemoving = {},
                                       std::string* refusal = nullptr);

}  // namespace platform
