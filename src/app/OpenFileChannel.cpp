#include "app/OpenFileChannel.h"

#include <QLocalSocket>
#include <QTimer>
#include <cstring>

#include "environment/WatcherSettings.h"
#include "platform/FileLock.h"
#include "platform/LocalSocketPeer.h"
#include "platform/TemporaryDirectory.h"

namespace {

constexpr int kConnectMilliseconds = 1000;
// How long the agent gives a peer to send its message.
constexpr int kExchangeMilliseconds = 5000;
constexpr char kAcknowledgement = 'k';

QByteArray encode(const std::vector<std::string>& paths) {
    QByteArray payload;
    for (const std::string& path : paths) {
        if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos) continue;
        payload.append(path.data(), static_cast<qsizetype>(path.size()));
        payload.append('\0');
    }
    QByteArray message(4, '\0');
    const auto length = static_cast<std::uint32_t>(payload.size());
    for (int i = 0; i < 4; ++i) message[i] = static_cast<char>((length >> (8 * i)) & 0xff);
    return message + payload;
}

std::vector<std::string> decode(const QByteArray& payload) {
    std::vector<std::string> paths;
    for (const QByteArray& part : payload.split('\0')) {
        if (!part.isEmpty() && part.front() == '/')
            paths.emplace_back(part.constData(), part.size());
    }
    return paths;
}

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
        std::uint32_t length = 0;
        for (int i = 0; i < 4; ++i) {
            length |= static_cast<std::uint32_t>(static_cast<unsigned char>(m_arrBuffer[i]))
                      << (8 * i);
        }
        if (length > OpenFileChannel::kMaxMessageBytes) {
            m_pSocket->abort();
            return;
        }
        if (static_cast<std::uint64_t>(m_arrBuffer.size()) < 4ull + length) return;
        m_bDone = true;
        std::vector<std::string> paths = decode(m_arrBuffer.mid(4, length));
        m_pSocket->write(&kAcknowledgement, 1);
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
    const std::string folder = platform::temporaryDirectory();
    if (folder.empty()) return {};
    return folder + WatcherSettings::GetInstance().getHelperAppBundleID() + ".open-files";
}

OpenFileChannel::OpenFileChannel(std::string socketPath, std::chrono::milliseconds answerTimeout)
    : m_sSocketPath(std::move(socketPath)), m_nAnswerTimeout(answerTimeout) {}

OpenFileChannel::~OpenFileChannel() {
    if (m_pServer) m_pServer->close();  // also removes the socket file
}

bool OpenFileChannel::forwardToRunningInstance(const std::vector<std::string>& paths) const {
    return forward(paths) == Forwarding::Delivered;
}

OpenFileChannel::Forwarding OpenFileChannel::forward(const std::vector<std::string>& paths) const {
    if (m_sSocketPath.empty()) return Forwarding::NoAgent;
    QLocalSocket socket;
    socket.connectToServer(QString::fromStdString(m_sSocketPath));
    if (!socket.waitForConnected(kConnectMilliseconds)) return Forwarding::NoAgent;
    // Someone listens from here on, so this process must not take the
    // socket over even if the exchange fails.
    if (!isSameUser(socket)) return Forwarding::Unanswered;
    socket.write(encode(paths));
    const int waitMilliseconds = static_cast<int>(m_nAnswerTimeout.count());
    if (!socket.waitForBytesWritten(waitMilliseconds)) return Forwarding::Unanswered;
    while (socket.bytesAvailable() < 1) {
        if (!socket.waitForReadyRead(waitMilliseconds)) return Forwarding::Unanswered;
    }
    char answer = 0;
    const bool delivered = socket.read(&answer, 1) == 1 && answer == kAcknowledgement;
    return delivered ? Forwarding::Delivered : Forwarding::Unanswered;
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
    if (forward(paths) != Forwarding::NoAgent) return true;
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
