#pragma once

#include <QByteArray>
#include <QLocalServer>
#include <QObject>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "messages/OpenFilesRequest.h"

// The single-instance channel. The first Helper of a user listens on a Unix
// socket in the private temporary folder; a later start hands its file
// arguments over that socket and exits, so that files opened "with the
// Helper" always reach the running agent.
//
// Wire format: see messages/OpenFilesRequest. Peers of another user are
// refused, and so is anything larger than kMaxMessageBytes or slower than a
// few seconds.
class OpenFileChannel : public QObject {
public:
    using Receiver = std::function<void(std::vector<std::string>)>;

    static constexpr std::uint32_t kMaxMessageBytes = 1u << 20;  // as OpenFilesRequest's

    // The socket of this user's agent: <private temp>/<Helper id>/open-files.
    // Empty when there is no private temporary folder.
    static std::string defaultSocketPath();

    // `answerTimeout`: how long a second start waits for a busy agent to
    // take its files.
    explicit OpenFileChannel(std::string socketPath,
                             std::chrono::milliseconds answerTimeout = std::chrono::seconds(30));
    ~OpenFileChannel() override;

    // Hands `paths` to a running agent. False when none answers; the caller
    // then becomes the agent itself.
    bool forwardToRunningInstance(const std::vector<std::string>& paths) const;

    // Starts listening; `receiver` gets each message's paths on this thread
    // (none for a start with nothing to open).
    // False when the socket cannot be made (the agent then runs without it).
    bool listen(Receiver receiver);

    // Stops listening and removes the socket, so that the next agent can take
    // it; listen() again resumes with the same receiver.
    void stopListening();
    bool isListening() const { return m_pServer != nullptr; }
    const Receiver& receiver() const { return m_fnReceiver; }

    // Both steps under one lock, so that two simultaneous starts cannot both
    // become the agent: answers true when an agent listens (the caller should
    // exit; the paths reached it unless it failed to answer in time). Answers
    // false when this process is to be the agent: `launch` has then run, and
    // the process listens (or runs without a channel when it cannot).
    bool forwardOrListen(const std::vector<std::string>& paths, Receiver receiver,
                         const std::function<void()>& launch = nullptr);

private:
    OpenFilesRequest::Delivery forward(const std::vector<std::string>& paths) const;
    void accept();

    std::string m_sSocketPath;
    std::chrono::milliseconds m_nAnswerTimeout;
    Receiver m_fnReceiver;
    std::unique_ptr<QLocalServer> m_pServer;
};
