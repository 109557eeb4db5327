#include "app/OpenFileChannel.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <atomic>
#include <future>
#include <thread>

#include "support/TempDir.h"

namespace {

using testsupport::TempDir;

using Paths = std::vector<std::string>;

// Runs the event loop until `done` or a deadline, so that the agent side
// can serve a client on another thread.
bool spinUntil(const std::function<bool()>& done, int milliseconds = 5000) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < milliseconds) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return done();
}

TEST(OpenFileChannel, SecondStartHandsItsFilesToTheAgent) {
    TempDir dir;
    const std::string socket = dir / "agent.socket";
    std::vector<Paths> received;
    OpenFileChannel agent(socket);
    // The agent launches before its socket appears: whoever waits for the
    // socket finds a launched agent.
    std::atomic<int> launches = 0;
    bool socketExistedAtLaunch = true;
    ASSERT_FALSE(agent.forwardOrListen(
        {}, [&](Paths paths) { received.push_back(paths); },
        [&] {
            ++launches;
            socketExistedAtLaunch = QFileInfo::exists(QString::fromStdString(socket));
        }));
    EXPECT_EQ(launches, 1);
    EXPECT_FALSE(socketExistedAtLaunch);
    EXPECT_TRUE(QFileInfo::exists(QString::fromStdString(socket)));

    struct Case {
        Paths sent;
        Paths expected;
    };
    const std::vector<Case> cases = {
        {{"/tmp/a.msgforswhelp", "/tmp/with space/b"}, {"/tmp/a.msgforswhelp", "/tmp/with space/b"}},
        {{"relative/path", "", "/kept"}, {"/kept"}},
        {{std::string(4000, 'x').insert(0, "/")}, {std::string(4000, 'x').insert(0, "/")}},
    };
    for (const Case& c : cases) {
        received.clear();
        auto sent = std::async(std::launch::async, [&] {
            return OpenFileChannel(socket).forwardOrListen(c.sent, nullptr, [&] { ++launches; });
        });
        EXPECT_TRUE(spinUntil([&] { return !received.empty(); }));
        EXPECT_TRUE(sent.get());
        ASSERT_EQ(received.size(), 1u);
        EXPECT_EQ(received.front(), c.expected);
    }
    EXPECT_EQ(launches, 1) << "a second start launched as an agent";

    // A start with nothing to open still finds the agent and leaves it be.
    received.clear();
    auto empty = std::async(std::launch::async,
                            [&] { return OpenFileChannel(socket).forwardToRunningInstance({}); });
    EXPECT_TRUE(spinUntil([&] { return empty.wait_for(std::chrono::seconds(0)) ==
                                       std::future_status::ready; }));
    EXPECT_TRUE(empty.get());
    EXPECT_TRUE(received.empty());
}

TEST(OpenFileChannel, WithoutAnAgentTheNewProcessListensEvenOverALeftoverSocket) {
    TempDir dir;
    const std::string socket = dir / "agent.socket";
    EXPECT_FALSE(OpenFileChannel(socket).forwardToRunningInstance({"/x"}));

    // A socket file left by an agent that died is taken over.
    dir.writeFile("agent.socket", "");
    Paths received;
    OpenFileChannel agent(socket);
    EXPECT_FALSE(agent.forwardOrListen({"/x"}, [&](Paths paths) { received = paths; }));
    auto sent = std::async(std::launch::async,
                           [&] { return OpenFileChannel(socket).forwardToRunningInstance({"/y"}); });
    EXPECT_TRUE(spinUntil([&] { return !received.empty(); }));
    EXPECT_TRUE(sent.get());
    EXPECT_EQ(received, Paths{"/y"});
}

TEST(OpenFileChannel, AnAgentTooBusyToAnswerIsNotReplaced) {
    TempDir dir;
    const std::string socket = dir / "agent.socket";
    // An agent that listens but does not get round to answering: its
    // connections wait in the kernel's backlog.
    QLocalServer busy;
    ASSERT_TRUE(busy.listen(QString::fromStdString(socket)));

    OpenFileChannel second(socket, std::chrono::milliseconds(200));
    EXPECT_TRUE(second.forwardOrListen({"/x"}, [](Paths) {}));
    EXPECT_FALSE(second.forwardToRunningInstance({"/x"}));
    // The busy agent still owns the socket: a later start reaches it.
    QLocalSocket client;
    client.connectToServer(QString::fromStdString(socket));
    EXPECT_TRUE(client.waitForConnected(1000));
    EXPECT_TRUE(busy.waitForNewConnection(1000));
}

TEST(OpenFileChannel, OversizedMessagesAreCutOff) {
    TempDir dir;
    const std::string socket = dir / "agent.socket";
    bool called = false;
    OpenFileChannel agent(socket);
    ASSERT_TRUE(agent.listen([&](Paths) { called = true; }));

    QLocalSocket client;
    client.connectToServer(QString::fromStdString(socket));
    ASSERT_TRUE(client.waitForConnected(1000));
    const std::uint32_t tooLong = OpenFileChannel::kMaxMessageBytes + 1;
    QByteArray header(4, '\0');
    for (int i = 0; i < 4; ++i) header[i] = static_cast<char>((tooLong >> (8 * i)) & 0xff);
    client.write(header + QByteArray(64, '/'));
    client.flush();
    EXPECT_TRUE(spinUntil([&] { return client.state() == QLocalSocket::UnconnectedState; }));
    EXPECT_FALSE(called);
}

}  // namespace
