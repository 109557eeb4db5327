#include <gtest/gtest.h>
#include <sys/stat.h>

#include <vector>

#include "messages/FileMessage.h"
#include "platform/Log.h"
#include "support/TempDir.h"

namespace {

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
