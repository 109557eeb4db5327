#pragma once

#include <functional>
#include <optional>
#include <string>

namespace testsupport {

// Runs `body` in a forked child with a mount namespace of its own (and a user
// namespace of its own when not run by the superuser), so that it may mount
// file systems or change what "/" is without touching the machine. The child
// answers the text `body` returns: empty for success, else what went wrong.
// nullopt when the system allows no such child; the caller then skips.
//
// The child has one thread and must start no other (thread sanitizer builds
// forbid it): `body` may queue work but must not wait for queues or workers.
std::optional<std::string> runIsolated(const std::function<std::string()>& body);

}  // namespace testsupport
