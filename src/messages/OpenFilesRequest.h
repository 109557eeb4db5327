#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// What goes over an application's single-instance socket: a 4-byte
// little-endian length, then that many bytes of NUL-separated absolute paths;
// the listener answers one byte once it has taken them. Both ends of the
// socket (app/OpenFileChannel) and the Main application's commands speak it.
class OpenFilesRequest {
public:
    static constexpr std::uint32_t kMaxMessageBytes = 1u << 20;
    static constexpr char kAcknowledgement = 'k';

    enum class Delivery { Delivered, NoListener, Unanswered };

    // The request for `paths`; anything but an absolute path without a NUL is
    // left out.
    static std::string encode(const std::vector<std::string>& paths);
    // The absolute paths of a request's body (the bytes after the length).
    static std::vector<std::string> decode(std::string_view body);
    // The body's length from a request's first 4 bytes.
    static std::uint32_t lengthOf(std::string_view head);

    // The single-instance socket of the application `bundleId` in the private
    // temporary folder `folder` (which ends with "/"); empty without a folder.
    static std::string socketPath(const std::string& folder, const std::string& bundleId);

    // Hands `paths` to whoever listens at `socketPath` (only this user) and
    // returns once it has answered that it took them, or `timeout` passed.
    static Delivery send(const std::string& socketPath, const std::vector<std::string>& paths,
                         std::chrono::milliseconds timeout);
};
