#include <gtest/gtest.h>
#include <unistd.h>

#include <regex>

#include "messages/FileMessage.h"
#include "messages/KeyedArchive.h"
#include "messages/MessageTestSupport.h"
#include "support/TempDir.h"

namespace {

using Array = ArchivedObject::Array;
using Dictionary = ArchivedObject::Dictionary;
using testsupport::SampleApplication;

MessageEnvironment testEnvironment(const testsupport::TempDir& dir) {
    return testsupport::sampleEnvironment(dir, "Test");
}

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
        EXPECT_EQ(FileMessage::ReadExcludePaths(nullptr, c.message), c.excludePaths != none);
        EXPECT_EQ(FileMessage::ReadCancelExcludeRemovedPathsFromMessage(c.message), c.isClear);
    }
}

// The folder is open to whoever can write to it: a name there may be a link
// to someone else's command, or a command far larger than any honest one.
// Neither is read, and both are consumed.
TEST(FileMessage, LoadsNoLinkAndNoFileLargerThanACommand) {
    testsupport::TempDir dir;
    const auto environment = testEnvironment(dir);
    const auto small = *FileMessage::CreateMessageForHelperToExcludeRemovedPaths(
                            std::vector<std::string>{"/Applications/A.app"}, environment)
                            ->saveToFile();
    const std::string target = dir / "elsewhere.msgforswhelp";
    ASSERT_EQ(::rename(small.c_str(), target.c_str()), 0);
    const std::string link = dir.makeSymlink("shared/link.msgforswhelp", target);
    EXPECT_EQ(FileMessage::loadFromFile(link), nullptr);
    EXPECT_NE(::access(link.c_str(), F_OK), 0);
    EXPECT_EQ(::access(target.c_str(), F_OK), 0);

    // Distinct paths, so that the archive cannot share one string.
    std::vector<std::string> paths;
    for (std::size_t total = 0; total <= FileMessage::kMaxFileSize; total += 1000) {
        paths.push_back("/" + std::to_string(paths.size()) + std::string(1000, 'x'));
    }
    const auto large =
        *FileMessage::CreateMessageForHelperToExcludeRemovedPaths(paths, environment)->saveToFile();
    EXPECT_EQ(FileMessage::loadFromFile(large), nullptr);
    EXPECT_NE(::access(large.c_str(), F_OK), 0);
}

TEST(FileMessage, ReachesOnlyARunningHelper) {
    testsupport::TempDir dir;
    const auto environment = testEnvironment(dir);
    SampleApplication::make(dir, "Applications/Helper.app", environment.helperAppBundleId);
    const auto helper =
        SampleApplication::make(dir, "Running/Helper.app", environment.helperAppBundleId);
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
}

TEST(FileMessage, APlantedHelperReceivesNothing) {
    testsupport::TempDir dir;
    const auto environment = testEnvironment(dir);
    const auto planted =
        SampleApplication::make(dir, "Shared/Helper.app", environment.helperAppBundleId);
    ASSERT_EQ(::chmod((dir / "Shared").c_str(), 0777), 0);
    testsupport::RunningSample reader("/usr/bin/tail", {"-f", planted.executablePath});
    testsupport::RunningSample plantedCopy(planted.executablePath);
    ASSERT_GT(plantedCopy.pid(), 0);

    const auto message = FileMessage::CreateMessageForHelperToExcludeRemovedPaths(
        std::vector<std::string>{"/Applications/Gone.app"}, environment);
    EXPECT_EQ(message->getAppPathForMessage(), std::nullopt);
}

}  // namespace
