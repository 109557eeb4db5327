#pragma once

#include <optional>
#include <string>

// The per-user private temporary folder: a folder only this user can reach,
// answered with a trailing "/". Empty when no safe folder can be had.
namespace platform {

// $XDG_RUNTIME_DIR when it is a safe folder of ours, else "/tmp/sweepwell-<uid>"
// (or a fresh "/tmp/sweepwell-<uid>-XXXXXX" when that name is taken by
// something we must not use). Worked out once per process; thread-safe.
std::string temporaryDirectory();

// The rule behind temporaryDirectory(), with its inputs given: the value of
// $XDG_RUNTIME_DIR (nullopt when unset), the folder in which our own folder
// is made, and the user id that must own the answer. Not cached: each call
// looks again and may create a folder in baseFolder.
std::string privateTemporaryDirectory(const std::optional<std::string>& runtimeDir,
                                      const std::string& baseFolder, unsigned int uid);

}  // namespace platform
