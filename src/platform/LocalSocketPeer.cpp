#include "platform/LocalSocketPeer.h"

#include <sys/socket.h>
#include <unistd.h>

namespace platform {

std::optional<unsigned> peerUserIdOfSocket(int descriptor) {
    struct ucred credentials {};
    socklen_t length = sizeof credentials;
    if (::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0 ||
        length != sizeof credentials) {
        return std::nullopt;
    }
    return static_cast<unsigned>(credentials.uid);
}

unsigned currentUserId() {
    return static_cast<unsigned>(::getuid());
}

}  // namespace platform
