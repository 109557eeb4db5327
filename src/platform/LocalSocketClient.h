#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

// How one request over a local (Unix) socket went.
enum class LocalSocketExchange {
    // The listener took the request and answered.
    Answered,
    // Nobody listens at the path (no socket, or a socket left by a process
    // that is gone).
    NoListener,
    // Someone listens but did not answer in time, closed early, or is not
    // this user: the request may or may not have been taken.
    Unanswered,
};

// Connects to the socket at `path`, sends `request` when the listener is this
// user, and reads exactly `answerBytes` bytes of answer into `answer` (may be
// null), all within `timeout`. Blocks the calling thread; never raises a
// signal when the listener goes away.
LocalSocketExchange exchangeOverLocalSocket(const std::string& path, std::string_view request,
                                            std::size_t answerBytes,
                                            std::chrono::milliseconds timeout,
                                            std::string* answer = nullptr);

}  // namespace platform
