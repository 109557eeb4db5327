#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <functional>

#include "platform/ConsumeFile.h"
#include "support/TempDir.h"

namespace {

using testsupport::exists;
using testsupport::TempDir;

// Whatever was left under the name, only a regular file that fits is read;
// everything but a folder goes, and nothing a link points at is touched.
TEST(ConsumeFile, ReadsOnlyRegularFilesThatFitAndNeverFollowsOrOpensAnythingElse) {
    constexpr std::size_t kLimit = 16;
    TempDir dir;
    const std::string elsewhere = dir.writeFile("elsewhere/target", "kept");
    dir.makeDir("elsewhere/folder");
    std::string inside;
    struct Case {
        const char* what;
        std::function<std::string(const std::string& path)> make;
        std::optional<std::string> contents;
        bool stays;
    };
    const std::vector<Case> cases = {
        {"file", [&](auto& p) { return dir.writeFile(p, "command"); }, "command", false},
        {"at the limit", [&](auto& p) { return dir.writeFile(p, std::string(kLimit, 'x')); },
         std::string(kLimit, 'x'), false},
        {"over the limit", [&](auto& p) { return dir.writeFile(p, std::string(kLimit + 1, 'x')); },
         std::nullopt, false},
        {"link to a file", [&](auto& p) { return dir.makeSymlink(p, elsewhere); }, std::nullopt,
         false},
        {"link to a folder", [&](auto& p) { return dir.makeSymlink(p, dir / "elsewhere/folder"); },
         std::nullopt, false},
        // No writer: opening it to read would wait for one forever.
        {"FIFO",
         [&](auto& p) {
             EXPECT_EQ(::mkfifo((dir / p).c_str(), 0600), 0);
             return dir / p;
         },
         std::nullopt, false},
        {"folder", [&](auto& p) { return inside = dir.writeFile(p + "/inside", "x"), dir / p; },
         std::nullopt, true},
        {"trailing slash", [&](auto& p) { return dir.writeFile(p, "command") + "/"; }, "command",
         false},
        {"missing", [&](auto& p) { return dir / p; }, std::nullopt, false},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(cases[i].what);
        const std::string name = "in/" + std::to_string(i) + ".msgforswhelp";
        const std::string path = cases[i].make(name);
        EXPECT_EQ(platform::consumeFile(path, kLimit), cases[i].contents);
        EXPECT_EQ(exists(dir / name), cases[i].stays);
    }
    EXPECT_EQ(testsupport::readFile(elsewhere), "kept");
    EXPECT_TRUE(exists(dir / "elsewhere/folder"));
    EXPECT_TRUE(exists(inside));
}

// Someone with write access to the folder puts another file under the name
// after it was read: that file is not ours to remove.
TEST(ConsumeFile, LeavesAFileSwappedInAfterTheRead) {
    TempDir dir;
    const std::string path = dir.writeFile("x.msgforswhelp", "first");
    const std::string other = dir.writeFile("other", "second");
    const auto contents = platform::consumeFile(
        path, 100, [&] { ASSERT_EQ(std::rename(other.c_str(), path.c_str()), 0); });
    EXPECT_EQ(contents, "first");
    EXPECT_EQ(testsupport::readFile(path), "second");
}

}  // namespace
