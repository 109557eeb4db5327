#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <functional>
#include <mutex>
#include <thread>

#include "messages/FileMessage.h"
#include "messages/KeyedArchive.h"
#include "messages/MessageTestSupport.h"
#include "messages/OpenFilesRequest.h"
#include "support/TempDir.h"
#include "support/Warnings.h"

namespace {

using testsupport::SampleApplication;
using Array = ArchivedObject::Array;
using Dictionary = ArchivedObject::Dictionary;

std::shared_ptr<FileMessage> received(std::optional<ArchivedObject> body) {
    auto message = std::make_shared<FileMessage>(FileMessage::kTypeReceived, MessageEnvironment{});
    if (body) message->setData(std::make_shared<const ArchivedObject>(std::move(*body)));
    return message;
}

TEST(FileMessage, ReadOperationsCheckTheCommandAndTheirArguments) {
    const ArchivedObject four{platform::PlistValue(4)};
    const std::vector<std::string> none = {"untouched"};
    struct Case {
        std::shared_ptr<FileMessage> message;
        std::vector<std::string> excludePaths;  // `none`: not an exclude command
        bool isClear;
    };
    const std::vector<Case> cases = {
        {FileMessage::CreateMessageForHelperToExcludeRemovedPaths(
             Array{"/a.app", four, ArchivedObject(), "/b.app"}, {}),
         {"/a.app", "/b.app"},
         false},
        {FileMessage::CreateMessageForHelperToExcludeRemovedPaths(Array{}, {}), {}, false},
        {FileMessage::CreateMessageForHelperToCancelExcludeRemovedPaths({}), none, true},
        {received(Dictionary{{"command", "exclude-paths"}, {"paths", "/a.app"}}), none, false},
        {received(Dictionary{{"command", "exclude-paths"}}), none, false},
        {received(
             Dictionary{{"command", "exclude-paths"}, {"paths", Array{four, "/x", four, "/y"}}}),
         {"/x", "/y"},
         false},
        {received(Dictionary{{"command", four}}), none, false},
        {received(Dictionary{{"command", "exclude"}}), none, false},
        {received(Array{"exclude-paths"}), none, false},
        {received(std::nullopt), none, false},
        {nullptr, none, false},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i);
        const Case& c = cases[i];
        std::vector<std::string> paths = none;
        EXPECT_EQ(FileMessage::ReadExcludePaths(&paths, c.message), c.excludePaths != none);
        EXPECT_EQ(paths, c.excludePaths);
        EXPECT_EQ(FileMessage::ReadCancelExcludeRemovedPathsFromMessage(c.message), c.isClear);
    }
}

// A Helper's socket for the test: answers each request once it has read the
// command file it names (or closes without answering when told to), and keeps
// what it read in order.
class FakeHelper {
public:
    explicit FakeHelper(std::string path) : m_sPath(std::move(path)) {
        m_nListener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, m_sPath.c_str(), sizeof address.sun_path - 1);
        if (::bind(m_nListener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(m_nListener, 8) != 0) {
            ADD_FAILURE() << "cannot listen at " << m_sPath;
        }
        m_thread = std::thread([this] { serve(); });
    }
    ~FakeHelper() {
        ::shutdown(m_nListener, SHUT_RDWR);
        m_thread.join();
        ::close(m_nListener);
    }
    std::atomic<bool> answers{true};
    // "exclude <paths>" or "clear" per file read, in order.
    std::vector<std::string> commands() {
        std::lock_guard<std::mutex> lock(m_lock);
        return m_arrCommands;
    }

private:
    void serve() {
        for (;;) {
            const int peer = ::accept4(m_nListener, nullptr, nullptr, SOCK_CLOEXEC);
            if (peer < 0) return;
            std::string request;
            char chunk[4096];
            ssize_t got;
            while (
                (request.size() < 4 || request.size() < 4 + OpenFilesRequest::lengthOf(request)) &&
                (got = ::read(peer, chunk, sizeof chunk)) > 0) {
                request.append(chunk, static_cast<std::size_t>(got));
            }
            for (const std::string& path : OpenFilesRequest::decode(request.substr(4))) {
                const auto message = FileMessage::loadFromFile(path);
                std::vector<std::string> paths;
                std::string command =
                    FileMessage::ReadCancelExcludeRemovedPathsFromMessage(message) ? "clear" : "?";
                if (FileMessage::ReadExcludePaths(&paths, message)) {
                    command = "exclude";
                    for (const auto& excluded : paths) command += " " + excluded;
                }
                std::lock_guard<std::mutex> lock(m_lock);
                m_arrCommands.push_back(command);
            }
            if (answers) (void)!::write(peer, &OpenFilesRequest::kAcknowledgement, 1);
            ::close(peer);
        }
    }

    std::string m_sPath;
    int m_nListener = -1;
    std::thread m_thread;
    std::mutex m_lock;
    std::vector<std::string> m_arrCommands;
};

// A command goes only to a running Helper that no other user could have
// planted (one in a folder anyone may write, its script shown by "tail -f"
// and run, is passed over), over the Helper's socket; it returns once the
// Helper has read it, so commands sent one after another are read in that
// order. Without a Helper, or when it takes nothing, the sender hears so and
// nothing is left.
TEST(FileMessage, TransmitReturnsOnceTheRunningHelperHasTheCommand) {
    testsupport::TempDir dir;
    auto environment = testsupport::sampleEnvironment(dir, "Test");
    environment.helperSocket = dir / "helper.sock";
    environment.commandTimeout = std::chrono::milliseconds(500);
    SampleApplication::make(dir, "Applications/Helper.app", environment.helperAppBundleId);
    const auto helper =
        SampleApplication::make(dir, "Running/Helper.app", environment.helperAppBundleId);
    const auto planted =
        SampleApplication::make(dir, "Shared/Helper.app", environment.helperAppBundleId);
    ASSERT_EQ(::chmod((dir / "Shared").c_str(), 0777), 0);
    testsupport::RunningSample reader("/usr/bin/tail", {"-f", planted.executablePath});
    testsupport::RunningSample plantedCopy(planted.executablePath);
    ASSERT_GT(plantedCopy.pid(), 0);
    const auto exclude = [&](const std::string& path) {
        return FileMessage::CreateMessageForHelperToExcludeRemovedPaths(
            std::vector<std::string>{path}, environment);
    };
    const auto clear = [&] {
        return FileMessage::CreateMessageForHelperToCancelExcludeRemovedPaths(environment);
    };

    // Something listens, but no Helper runs: an installed one does not count.
    FakeHelper listener(environment.helperSocket);
    EXPECT_EQ(exclude("/Applications/Gone.app")->getAppPathForMessage(), std::nullopt);
    EXPECT_FALSE(exclude("/Applications/Gone.app")->transmit());
    EXPECT_TRUE(listener.commands().empty());
    EXPECT_NE(::access(environment.messageFolder.c_str(), F_OK), 0);

    testsupport::RunningSample running(helper.executablePath);
    EXPECT_EQ(clear()->getAppPathForMessage(), helper.executablePath);
    EXPECT_FALSE(received(ArchivedObject(Dictionary{}))->transmit());
    std::vector<std::string> sent;
    for (int i = 0; i < 50; ++i) {
        const std::string path = "/Applications/App" + std::to_string(i) + ".app";
        ASSERT_TRUE(exclude(path)->transmit());
        ASSERT_TRUE(clear()->transmit());
        sent.insert(sent.end(), {"exclude " + path, "clear"});
    }
    EXPECT_EQ(listener.commands(), sent);
    EXPECT_TRUE(std::filesystem::is_empty(environment.messageFolder));

    listener.answers = false;
    EXPECT_FALSE(clear()->transmit());
    EXPECT_EQ(listener.commands().size(), sent.size() + 1);

    // A running Helper that does not listen (yet): nothing is left for it.
    environment.helperSocket = dir / "nobody.sock";
    EXPECT_FALSE(exclude("/Applications/Gone.app")->transmit());
    EXPECT_TRUE(std::filesystem::is_empty(environment.messageFolder));
    EXPECT_FALSE(planted.wasStarted());
    EXPECT_FALSE(helper.wasStarted());
}

// A refused command file is silent on screen but leaves one line saying why.
TEST(FailureLog, EachRefusedCommandFileLeavesOneLineSayingWhy) {
    testsupport::TempDir dir;
    struct Case {
        const char* what;
        std::function<std::string()> make;
        const char* says;
    };
    const std::vector<Case> cases = {
        {"link", [&] { return dir.makeSymlink("link.msgforswhelp", dir.writeFile("target")); },
         "is a link"},
        {"folder", [&] { return dir.makeDir("folder.msgforswhelp"); }, "is a folder"},
        {"FIFO",
         [&] {
             ::mkfifo((dir / "fifo.msgforswhelp").c_str(), 0600);
             return dir / "fifo.msgforswhelp";
         },
         "is not a regular file"},
        {"too big",
         [&] {
             return dir.writeFile("big.msgforswhelp",
                                  std::string(FileMessage::kMaxFileSize + 1, 'x'));
         },
         "is larger than"},
        {"junk", [&] { return dir.writeFile("junk.msgforswhelp", "not an archive"); },
         "holds no command"},
        {"missing", [&] { return dir / "missing.msgforswhelp"; }, "is not there"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        testsupport::Warnings warnings;
        const std::string path = c.make();
        EXPECT_FALSE(FileMessage::loadFromFile(path));
        ASSERT_EQ(warnings.lines.size(), 1U);
        EXPECT_NE(warnings.lines[0].find("commands: command file " + path), std::string::npos);
        EXPECT_NE(warnings.lines[0].find(c.says), std::string::npos) << warnings.lines[0];
    }
}

}  // namespace
