#pragma once

#include <optional>
#include <string>

namespace platform {

// The user id of the process at the other end of a connected local (Unix)
// socket, as the kernel recorded it at connect time; nullopt when the
// descriptor is not such a socket.
std::optional<unsigned> peerUserIdOfSocket(int descriptor);

// The real user id of this process.
unsigned currentUserId();

}  // namespace platform
