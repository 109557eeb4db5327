#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

#include "platform/TemporaryDirectory.h"
#include "support/TempDir.h"

namespace {

using platform::privateTemporaryDirectory;
using testsupport::TempDir;

struct Entry {
    bool exists = false;
    mode_t type = 0;
    mode_t mode = 0;
    uid_t owner = 0;
    bool operator==(const Entry&) const = default;
};

// What every folder made for us must be.
const Entry kPrivateFolder{true, S_IFDIR, 0700, ::getuid()};

Entry entryAt(const std::string& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return {};
    return {true, info.st_mode & S_IFMT, info.st_mode & 07777, info.st_uid};
}

std::string folderWithMode(const TempDir& dir, const std::string& name, mode_t mode) {
    const std::string path = dir.makeDir(name);
    ::chmod(path.c_str(), mode);
    return path;
}

std::string ownFolderIn(const std::string& base) {
    return base + "/sweepwell-" + std::to_string(::getuid());
}

TEST(TemporaryDirectory, RuntimeFolderIsTakenOnlyWhenItIsPrivateAndOurs) {
    TempDir dir;
    const std::string good = folderWithMode(dir, "good", 0700);
    const std::string file = dir.writeFile("file");
    ::chmod(file.c_str(), 0700);
    const std::string base = dir.makeDir("base");
    struct Row {
        const char* what;
        std::optional<std::string> runtimeDir;
        bool taken;
    };
    const std::vector<Row> rows = {
        {"private folder", good, true},
        {"private folder with trailing slash", good + "//", true},
        {"readable by others", folderWithMode(dir, "loose", 0755), false},
        {"extra mode bits", folderWithMode(dir, "sticky", 01700), false},
        {"link to a private folder", dir.makeSymlink("link", good), false},
        {"regular file", file, false},
        {"relative path to a private folder", std::filesystem::relative(good).string(), false},
        {"missing", dir / "missing", false},
        {"empty", std::string(), false},
        {"unset", std::nullopt, false},
    };
    // The first fallback makes the folder, the later ones find it again.
    for (const Row& row : rows) {
        EXPECT_EQ(privateTemporaryDirectory(row.runtimeDir, "", base, ::getuid()),
                  row.taken ? good + "/" : ownFolderIn(base) + "/")
            << row.what;
    }
    EXPECT_EQ(entryAt(ownFolderIn(base)), kPrivateFolder);

    // Every folder this process makes belongs to its own user, so nothing can
    // be made for another one; nor without a shared folder.
    const std::string other = dir.makeDir("other");
    EXPECT_EQ(privateTemporaryDirectory(std::nullopt, "", other, ::getuid() + 1), "");
    EXPECT_TRUE(std::filesystem::is_empty(other)) << "refused folders are cleaned up";
    EXPECT_EQ(privateTemporaryDirectory(std::nullopt, "", dir / "missing", ::getuid()), "");
    EXPECT_EQ(privateTemporaryDirectory(std::nullopt, "", "", ::getuid()), "");
}

// Another user may make our usual name in the shared folder first. The
// answer must still be one folder that every start finds again (the
// single-instance socket lives there), so it is the one in the home; the
// planted name is never touched, and with no home there is no folder at all.
TEST(TemporaryDirectory, ATakenSharedNameLeadsEveryStartToTheSameFolderInTheHome) {
    const std::string ownName = "sweepwell-" + std::to_string(::getuid());
    struct Row {
        const char* what;
        std::function<void(const TempDir&)> plant;
    };
    const std::vector<Row> rows = {
        {"folder with a looser mode",
         [&](const TempDir& dir) { folderWithMode(dir, ownName, 0755); }},
        {"link to a private folder",
         [&](const TempDir& dir) {
             dir.makeSymlink(ownName, folderWithMode(dir, "elsewhere", 0700));
         }},
        {"regular file",
         [&](const TempDir& dir) { ::chmod(dir.writeFile(ownName).c_str(), 0700); }},
        {"someone else's folder",
         [&](const TempDir& dir) {
             const std::string path = folderWithMode(dir, ownName, 0700);
             // Only a privileged run can give a folder away; others plant a
             // folder that is private but open to the group instead.
             if (::geteuid() == 0) {
                 EXPECT_EQ(::chown(path.c_str(), ::getuid() + 1000, static_cast<gid_t>(-1)), 0);
             } else {
                 ::chmod(path.c_str(), 0750);
             }
         }},
    };
    for (const Row& row : rows) {
        TempDir shared, home;
        row.plant(shared);
        const std::string planted = shared / ownName;
        const Entry before = entryAt(planted);

        const std::string expected = home / ".cache/sweepwell-helper/";
        EXPECT_EQ(privateTemporaryDirectory(std::nullopt, home.path(), shared.path(), ::getuid()),
                  expected)
            << row.what;
        EXPECT_EQ(privateTemporaryDirectory(std::nullopt, home.path(), shared.path(), ::getuid()),
                  expected)
            << row.what << ": a second start";
        EXPECT_EQ(entryAt(home / ".cache/sweepwell-helper"), kPrivateFolder) << row.what;
        EXPECT_EQ(privateTemporaryDirectory(std::nullopt, "", shared.path(), ::getuid()), "")
            << row.what << ": no home";

        EXPECT_EQ(entryAt(planted), before) << row.what << ": the planted name is untouched";
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(shared.path()), {}),
                  row.what == std::string("link to a private folder") ? 2 : 1)
            << row.what << ": nothing else made in the shared folder";
    }
}

// In the home, the cache folder is only used when it is the user's own and
// closed to others, and never through a link.
TEST(TemporaryDirectory, TheHomeFolderIsUsedOnlyWhenItsCacheIsOurs) {
    struct Row {
        const char* what;
        std::string folder;  // a folder of this mode, or with mode 0 a link to a private one
        mode_t mode;
        bool used;
    };
    const std::vector<Row> rows = {
        {"no cache folder yet", "", 0, true},
        {"a cache folder of ours", ".cache", 0755, true},
        {"a cache folder others may write", ".cache", 0777, false},
        {"a link for the cache folder", ".cache", 0, false},
        {"a link for our folder", ".cache/sweepwell-helper", 0, false},
    };
    for (const Row& row : rows) {
        TempDir home, shared;
        if (row.mode != 0) {
            folderWithMode(home, row.folder, row.mode);
        } else if (!row.folder.empty()) {
            home.makeSymlink(row.folder, folderWithMode(home, "elsewhere", 0700));
        }
        const std::string answer =
            privateTemporaryDirectory(std::nullopt, home.path(), shared.path(), ::getuid());
        EXPECT_EQ(answer,
                  row.used ? home / ".cache/sweepwell-helper/" : ownFolderIn(shared.path()) + "/")
            << row.what;
    }
}

}  // namespace
