#include "platform/LocalSocketClient.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/FileSystem.h"
#include "platform/LocalSocketPeer.h"

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

// Waits until the descriptor is ready for `events` or the deadline passes.
bool waitFor(int descriptor, short events, Clock::time_point deadline) {
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) return false;
        pollfd entry{descriptor, events, 0};
        const int ready = ::poll(&entry, 1, static_cast<int>(left.count()));
        if (ready > 0) return true;
        if (ready < 0 && errno != EINTR) return false;
    }
}

}  // namespace

LocalSocketExchange exchangeOverLocalSocket(const std::string& path, std::string_view request,
                                            std::size_t answerBytes,
                                            std::chrono::milliseconds timeout,
                                            std::string* answer) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        return LocalSocketExchange::NoListener;
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    const UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket) return LocalSocketExchange::NoListener;
    const auto deadline = Clock::now() + timeout;

    // A full backlog answers EAGAIN: the listener is there but busy.
    while (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
           0) {
        if (errno == EINTR) continue;
        if (errno != EAGAIN) return LocalSocketExchange::NoListener;
        if (Clock::now() >= deadline) return LocalSocketExchange::Unanswered;
        ::usleep(10000);
    }
    const auto peer = peerUserIdOfSocket(socket.get());
    if (!peer || *peer != currentUserId()) return LocalSocketExchange::Unanswered;

    for (std::size_t sent = 0; sent < request.size();) {
        const ssize_t wrote =
            ::send(socket.get(), request.data() + sent, request.size() - sent, MSG_NOSIGNAL);
        if (wrote > 0) {
            sent += static_cast<std::size_t>(wrote);
        } else if (wrote < 0 && errno == EINTR) {
            continue;
        } else if (wrote < 0 && errno == EAGAIN) {
            if (!waitFor(socket.get(), POLLOUT, deadline)) return LocalSocketExchange::Unanswered;
        } else {
            return LocalSocketExchange::Unanswered;
        }
    }
    std::string received;
    while (received.size() < answerBytes) {
        char chunk[64];
        const std::size_t want = std::min(sizeof chunk, answerBytes - received.size());
        const ssize_t got = ::recv(socket.get(), chunk, want, 0);
        if (got > 0) {
            received.append(chunk, static_cast<std::size_t>(got));
        } else if (got < 0 && errno == EINTR) {
            continue;
        } else if (got < 0 && errno == EAGAIN) {
            if (!waitFor(socket.get(), POLLIN, deadline)) return LocalSocketExchange::Unanswered;
        } else {
            return LocalSocketExchange::Unanswered;  // closed before answering
        }
    }
    if (answer) *answer = std::move(received);
    return LocalSocketExchange::Answered;
}

}  // namespace platform
