#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>

#include "messages/FileMessage.h"
#include "messages/KeyedArchive.h"
#include "messages/MessageTestSupport.h"
#include "platform/Log.h"
#include "support/TempDir.h"

namespace {

using Array = ArchivedObject::Array;
using Dictionary = ArchivedObject::Dictionary;
using testsupport::SampleApplication;

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

// The running Helper is the only receiver, and only a copy no other user
// could have planted: one in a folder anyone may write, its script shown by
// "tail -f" and run, is passed over.
TEST(FileMessage, ReachesOnlyARunningHelperNoOneElseCouldHavePlanted) {
    testsupport::TempDir dir;
    const auto environment = testsupport::sampleEnvironment(dir, "Test");
    SampleApplication::make(dir, "Applications/Helper.app", environment.helperAppBundleId);
    const auto helper =
        SampleApplication::make(dir, "Running/Helper.app", environment.helperAppBundleId);
    const auto planted =
        SampleApplication::make(dir, "Shared/Helper.app", environment.helperAppBundleId);
    ASSERT_EQ(::chmod((dir / "Shared").c_str(), 0777), 0);
    testsupport::RunningSample reader("/usr/bin/tail", {"-f", planted.executablePath});
    testsupport::RunningSample plantedCopy(planted.executablePath);
    ASSERT_GT(plantedCopy.pid(), 0);

    const std::vector<std::string> paths = {"/Applications/Gone.app"};
    auto message = FileMessage::CreateMessageForHelperToExcludeRemovedPaths(paths, environment);
    // An installed Helper does not count, and a received message goes nowhere.
    EXPECT_EQ(message->getAppPathForMessage(), std::nullopt);
    message->transmit();
    received(ArchivedObject(Dictionary{}))->transmit();
    EXPECT_NE(::access(environment.messageFolder.c_str(), F_OK), 0);

    testsupport::RunningSample running(helper.executablePath);
    EXPECT_EQ(message->getAppPathForMessage(), helper.executablePath);
    message->transmit();
    const auto record = helper.waitForRecord();
    ASSERT_EQ(record.size(), 2u);
    std::vector<std::string> got;
    ASSERT_TRUE(FileMessage::ReadExcludePaths(&got, FileMessage::loadFromFile(record[1])));
    EXPECT_EQ(got, paths);
    EXPECT_FALSE(planted.wasStarted());
}

// The warnings logged while it lives.
struct Lines {
    std::vector<std::string> warnings;
    platform::Log::Sink previous = platform::Log::setSink(
        [this](platform::Log::Level level, std::string_view part, std::string_view message) {
            if (level == platform::Log::Level::Warning) {
                warnings.push_back(std::string(part) + ": " + std::string(message));
            }
        });
    ~Lines() { platform::Log::setSink(std::move(previous)); }
};

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
        Lines lines;
        const std::string path = c.make();
        EXPECT_FALSE(FileMessage::loadFromFile(path));
        ASSERT_EQ(lines.warnings.size(), 1U);
        EXPECT_NE(lines.warnings[0].find("commands: command file " + path), std::string::npos);
        EXPECT_NE(lines.warnings[0].find(c.says), std::string::npos) << lines.warnings[0];
    }
}

}  // namespace
