#pragma once

#include <optional>
#include <string>

// The per-user private temporary folder: a folder only this user can reach,
// answered with a trailing "/". Empty when no safe folder can be had.
namespace platform {

// The first safe one of: $XDG_RUNTIME_DIR when it is a private folder of
// ours; "~/.cache/sweepwell-helper/" in the user's home; "/tmp/sweepwell-<uid>"
// when it is ours or can be made. Never a folder with a random name: every
// process of the user must find the same one, or the single-instance socket
// and lock would differ between them. Worked out once per process;
// thread-safe.
std::string temporaryDirectory();

// The rule behind temporaryDirectory(), with its inputs given: the value of
// $XDG_RUNTIME_DIR (nullopt when unset), the home folder (empty: none), the
// shared folder in which our own folder is made last, and the user id that
// must own the answer. Not cached: each call looks again and may create
// folders.
std::string privateTemporaryDirectory(const std::optional<std::string>& runtimeDir,
                                      const std::string& homeFolder, const std::string& baseFolder,
                                      unsigned int uid);

}  // namespace platform
