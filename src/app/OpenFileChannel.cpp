#include "app/OpenFileChannel.h"

#include <QLocalSocket>
#include <QTimer>
#include <cstring>

#include "environment/WatcherSettings.h"
#include "messages/OpenFilesRequest.h"
#include "platform/FileLock.h"
#include "platform/LocalSocketPeer.h"
#include "platform/TemporaryDirectory.h"

namespace {

// How long the agent gives a peer to send its message.
constexpr int kExchangeMilliseconds = 5000;

bool isSameUser(const QLocalSocket& socket) {
    const auto peer = platform::peerUserIdOfSocket(static_cast<int>(socket.socketDescriptor()));
    return peer && *peer == platform::currentUserId();
}

// Reads one message from a connected agent-side socket, answers it and hands
// the paths on. Owned by the socket, so it goes when the socket goes.
class Exchange : public QObject {
public:
    Exchange(QLocalSocket* socket, OpenFileChannel::Receiver receiver)
        : QObject(socket), m_pSocket(socket), m_fnReceiver(std::move(receiver)) {
        connect(socket, &QLocalSocket::readyRead, this, [this] { read(); });
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        QTimer::singleShot(kExchangeMilliseconds, this, [this] { m_pSocket->abort(); });
        read();
    }

private:
    void read() {
        m_arrBuffer.append(m_pSocket->readAll());
        if (m_arrBuffer.size() < 4 || m_bDone) return;
        const std::uint32_t length =
            OpenFilesRequest::lengthOf(std::string_view(m_arrBuffer.constData(), 4));
        if (length > OpenFileChannel::kMaxMessageBytes) {
            m_pSocket->abort();
            return;
        }
        if (static_cast<std::uint64_t>(m_arrBuffer.size()) < 4ull + length) return;
        m_bDone = true;
        std::vector<std::string> paths =
            OpenFilesRequest::decode(std::string_view(m_arrBuffer.constData() + 4, length));
        // The answer goes before the paths are handed on, but nothing else is
        // read on this thread until they have been: requests are taken in
        // the order they were answered.
        m_pSocket->write(&OpenFilesRequest::kAcknowledgement, 1);
        m_pSocket->flush();
        m_pSocket->disconnectFromServer();
        // No paths: a start with nothing to open, which the receiver hears of too.
        if (m_fnReceiver) m_fnReceiver(std::move(paths));
    }

    QLocalSocket* m_pSocket;
    OpenFileChannel::Receiver m_fnReceiver;
    QByteArray m_arrBuffer;
    bool m_bDone = false;
};

}  // namespace

std::string OpenFileChannel::defaultSocketPath() {
    return OpenFilesRequest::socketPath(platform::temporaryDirectory(),
                                        WatcherSettings::GetInstance().getHelperAppBundleID());
}

OpenFileChannel::OpenFileChannel(std::string socketPath, std::chrono::milliseconds answerTimeout)
    : m_sSocketPath(std::move(socketPath)), m_nAnswerTimeout(answerTimeout) {}

OpenFileChannel::~OpenFileChannel() {
    if (m_pServer) m_pServer->close();  // also removes the socket file
}

bool OpenFileChannel::forwardToRunningInstance(const std::vector<std::string>& paths) const {
    return forward(paths) == OpenFilesRequest::Delivery::Delivered;
}

// A listener that does not answer is still there, so this process must not
// take the socket over.
OpenFilesRequest::Delivery OpenFileChannel::forward(const std::vector<std::string>& paths) const {
    return OpenFilesRequest::send(m_sSocketPath, paths, m_nAnswerTimeout);
}

bool OpenFileChannel::listen(Receiver receiver) {
    if (m_sSocketPath.empty()) return false;
    m_fnReceiver = std::move(receiver);
    m_pServer = std::make_unique<QLocalServer>();
    m_pServer->setSocketOptions(QLocalServer::UserAccessOption);
    // Whatever is left at the path belongs to an agent that is gone: a live
    // one would have answered forwardToRunningInstance under the same lock.
    QLocalServer::removeServer(QString::fromStdString(m_sSocketPath));
    if (!m_pServer->listen(QString::fromStdString(m_sSocketPath))) {
        m_pServer.reset();
        return false;
    }
    connect(m_pServer.get(), &QLocalServer::newConnection, this, [this] { accept(); });
    return true;
}

void OpenFileChannel::stopListening() {
    if (!m_pServer) return;
    m_pServer->close();  // also removes the socket file
    m_pServer.reset();
}

bool OpenFileChannel::forwardOrListen(const std::vector<std::string>& paths, Receiver receiver,
                                      const std::function<void()>& launch) {
    const auto becomeAgent = [&] {
        if (launch) launch();
    };
    if (m_sSocketPath.empty()) {
        becomeAgent();
        return false;
    }
    platform::FileLock lock(m_sSocketPath + ".lock");
    // An agent that listens but is slow to answer is still the agent: a
    // second one would show every notification twice.
    if (forward(paths) != OpenFilesRequest::Delivery::NoListener) return true;
    // The socket appears only once the agent has launched, so that whoever
    // waits for it (a second start, a test) finds the Trash already watched.
    becomeAgent();
    listen(std::move(receiver));
    return false;
}

void OpenFileChannel::accept() {
    while (QLocalSocket* socket = m_pServer->nextPendingConnection()) {
        if (!isSameUser(*socket)) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        new Exchange(socket, m_fnReceiver);
    }
}
