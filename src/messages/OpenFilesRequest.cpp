#include "messages/OpenFilesRequest.h"

#include "platform/LocalSocketClient.h"

std::string OpenFilesRequest::encode(const std::vector<std::string>& paths) {
    std::string payload;
    for (const std::string& path : paths) {
        if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos) continue;
        payload.append(path);
        payload.push_back('\0');
    }
    std::string message(4, '\0');
    const auto length = static_cast<std::uint32_t>(payload.size());
    for (int i = 0; i < 4; ++i) message[i] = static_cast<char>((length >> (8 * i)) & 0xff);
    return message + payload;
}

std::vector<std::string> OpenFilesRequest::decode(std::string_view body) {
    std::vector<std::string> paths;
    std::size_t start = 0;
    while (start < body.size()) {
        std::size_t end = body.find('\0', start);
        if (end == std::string_view::npos) end = body.size();
        if (end > start && body[start] == '/') paths.emplace_back(body.substr(start, end - start));
        start = end + 1;
    }
    return paths;
}

std::uint32_t OpenFilesRequest::lengthOf(std::string_view head) {
    std::uint32_t length = 0;
    for (std::size_t i = 0; i < 4 && i < head.size(); ++i) {
        length |= static_cast<std::uint32_t>(static_cast<unsigned char>(head[i])) << (8 * i);
    }
    return length;
}

std::string OpenFilesRequest::socketPath(const std::string& folder, const std::string& bundleId) {
    if (folder.empty()) return {};
    return folder + bundleId + ".open-files";
}

OpenFilesRequest::Delivery OpenFilesRequest::send(const std::string& socketPath,
                                                  const std::vector<std::string>& paths,
                                                  std::chrono::milliseconds timeout) {
    std::string answer;
    switch (platform::exchangeOverLocalSocket(socketPath, encode(paths), 1, timeout, &answer)) {
        case platform::LocalSocketExchange::NoListener:
            return Delivery::NoListener;
        case platform::LocalSocketExchange::Unanswered:
            return Delivery::Unanswered;
        case platform::LocalSocketExchange::Answered:
            break;
    }
    return answer.front() == kAcknowledgement ? Delivery::Delivered : Delivery::Unanswered;
}
