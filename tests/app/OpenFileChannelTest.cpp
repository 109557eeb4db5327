#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <atomic>
#include <future>

#include "app/OpenFileChannel.h"
#include "support/TempDir.h"

namespace {

using Paths = std::vector<std::string>;

constexpr int kPatienceMs = std::chrono::milliseconds(testsupport::kPatience).count();

// Runs the event loop until `done` or a deadline, so that the agent side
// can serve a client on another thread.
bool spinUntil(const std::function<bool()>& done) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < kPatienceMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return done();
}

// What a start in another thread answers, while this one serves as the agent.
bool startElsewhere(const std::function<bool()>& start) {
    auto answer = std::async(std::launch::async, start);
    EXPECT_TRUE(spinUntil(
        [&] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    return answer.get();
}

class OpenFileChannelTest : public ::testing::Test {
protected:
    testsupport::TempDir dir;
    const std::string socket = dir / "agent.socket";
    bool socketExists() const { return QFileInfo::exists(QString::fromStdString(socket)); }
};

TEST_F(OpenFileChannelTest, SecondStartHandsItsFilesToTheAgent) {
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
            socketExistedAtLaunch = socketExists();
        }));
    EXPECT_EQ(launches, 1);
    EXPECT_FALSE(socketExistedAtLaunch);
    EXPECT_TRUE(socketExists());

    const std::string longPath = "/" + std::string(4000, 'x');
    for (const auto& [sent, expected] : std::vector<std::pair<Paths, std::vector<Paths>>>{
             {{"/tmp/a.msgforswhelp", "/tmp/with space/b"},
              {{"/tmp/a.msgforswhelp", "/tmp/with space/b"}}},
             {{"relative/path", "", "/kept"}, {{"/kept"}}},
             {{longPath}, {{longPath}}},
             {{}, {{}}}}) {  // a start with nothing to open is heard of too
        received.clear();
        EXPECT_TRUE(startElsewhere([&] {
            return OpenFileChannel(socket).forwardOrListen(sent, nullptr, [&] { ++launches; });
        }));
        EXPECT_EQ(received, expected);
    }
    EXPECT_EQ(launches, 1) << "a second start launched as an agent";
}

TEST_F(OpenFileChannelTest, WithoutAnAgentTheNewProcessListensEvenOverALeftoverSocket) {
    EXPECT_FALSE(OpenFileChannel(socket).forwardToRunningInstance({"/x"}));
    // A socket file left by an agent that died is taken over.
    dir.writeFile("agent.socket", "");
    Paths received;
    OpenFileChannel agent(socket);
    EXPECT_FALSE(agent.forwardOrListen({"/x"}, [&](Paths paths) { received = paths; }));
    EXPECT_TRUE(
        startElsewhere([&] { return OpenFileChannel(socket).forwardToRunningInstance({"/y"}); }));
    EXPECT_EQ(received, Paths{"/y"});
}

TEST_F(OpenFileChannelTest, AnAgentTooBusyToAnswerIsNotReplaced) {
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
    EXPECT_TRUE(client.waitForConnected(kPatienceMs));
    EXPECT_TRUE(busy.waitForNewConnection(kPatienceMs));
}

TEST_F(OpenFileChannelTest, OversizedMessagesAreCutOff) {
    bool called = false;
    OpenFileChannel agent(socket);
    ASSERT_TRUE(agent.listen([&](Paths) { called = true; }));
    QLocalSocket client;
    client.connectToServer(QString::fromStdString(socket));
    ASSERT_TRUE(client.waitForConnected(kPatienceMs));
    const std::uint32_t tooLong = OpenFileChannel::kMaxMessageBytes + 1;
    QByteArray header(4, '\0');
    for (int i = 0; i < 4; ++i) header[i] = static_cast<char>((tooLong >> (8 * i)) & 0xff);
    client.write(header + QByteArray(64, '/'));
    client.flush();
    EXPECT_TRUE(spinUntil([&] { return client.state() == QLocalSocket::UnconnectedState; }));
    EXPECT_FALSE(called);
}

}  // namespace
