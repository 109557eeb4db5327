#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>

#include "platform/BundleTrust.h"
#include "support/SampleBundle.h"
#include "support/TempDir.h"

namespace {

using platform::BundleTrust;

constexpr uid_t kUser = 1000;
constexpr uid_t kOther = 1001;

struct Entry {
    uid_t owner;
    mode_t mode;  // type and permission bits
};

// A file system of the given entries; paths resolve to themselves.
BundleTrust trustOver(std::map<std::string, Entry> entries, const std::string& root = "/") {
    BundleTrust::FileSystem fileSystem;
    fileSystem.resolve = [entries](const std::string& path) -> std::optional<std::string> {
        return entries.count(path) ? std::optional(path) : std::nullopt;
    };
    fileSystem.lstat = [entries](const std::string& path) -> std::optional<struct stat> {
        auto it = entries.find(path);
        if (it == entries.end()) return std::nullopt;
        struct stat info {};
        info.st_uid = it->second.owner;
        info.st_mode = it->second.mode;
        return info;
    };
    return BundleTrust(kUser, root, fileSystem);
}

TEST(BundleTrust, EveryFolderUpToTheRootMustBeOwnedAndClosedToOthers) {
    const std::string program = "/opt/Main.app/Contents/MacOS/Main";
    const std::map<std::string, Entry> sound = {
        {"/", {0, S_IFDIR | 0755}},
        {"/opt", {0, S_IFDIR | 0755}},
        {"/opt/Main.app", {kUser, S_IFDIR | 0700}},
        {"/opt/Main.app/Contents", {kUser, S_IFDIR | 0755}},
        {"/opt/Main.app/Contents/MacOS", {kUser, S_IFDIR | 0755}},
        {program, {kUser, S_IFREG | 0755}},
    };
    struct Row {
        const char* what;
        std::string path;
        Entry entry;
        bool trusted;
    };
    const std::vector<Row> rows = {
        {"as installed", "/opt", {0, S_IFDIR | 0755}, true},
        {"a folder open to everybody", "/opt", {0, S_IFDIR | 0777}, false},
        {"a sticky shared folder of root's, like /tmp", "/opt", {0, S_IFDIR | 01777}, true},
        {"a sticky shared folder of another user", "/opt", {kOther, S_IFDIR | 01777}, false},
        {"a sticky shared folder of the user's own", "/opt", {kUser, S_IFDIR | 01777}, true},
        {"a folder the group may write", "/opt/Main.app", {kUser, S_IFDIR | 0775}, false},
        {"a folder of another user", "/opt/Main.app/Contents", {kOther, S_IFDIR | 0755}, false},
        {"the program of another user", program, {kOther, S_IFREG | 0755}, false},
        {"a program others may write", program, {kUser, S_IFREG | 0757}, false},
        {"a program that is a pipe", program, {kUser, S_IFIFO | 0700}, false},
        {"a link inside the chain", "/opt", {0, S_IFLNK | 0777}, false},
        {"the root open to everybody", "/", {0, S_IFDIR | 0777}, false},
    };
    for (const Row& row : rows) {
        auto entries = sound;
        entries[row.path] = row.entry;
        EXPECT_EQ(trustOver(entries).isTrustedPath(program), row.trusted) << row.what;
    }
    auto missing = sound;
    missing.erase("/opt/Main.app/Contents/MacOS");
    EXPECT_FALSE(trustOver(missing).isTrustedPath(program)) << "a folder that cannot be seen";
    EXPECT_FALSE(trustOver(sound).isTrustedPath("/opt/Other")) << "nothing there";

    // A trusted root ends the walk: only what lies above it may be loose.
    auto looseAbove = sound;
    looseAbove["/opt"] = {kOther, S_IFDIR | 0777};
    EXPECT_TRUE(trustOver(looseAbove, "/opt/Main.app").isTrustedPath(program));
    looseAbove["/opt/Main.app"] = {kUser, S_IFDIR | 0777};
    EXPECT_FALSE(trustOver(looseAbove, "/opt/Main.app").isTrustedPath(program));
}

TEST(BundleTrust, ABundleVouchesOnlyForAnExecutableItHolds) {
    testsupport::TempDir dir;
    const auto trust = testsupport::trustInside(dir);
    const auto held = testsupport::SampleApplication::make(dir, "Held.app", "com.example.Held");
    EXPECT_EQ(trust.trustedExecutableOfBundle(held.bundlePath), held.executablePath);
    EXPECT_EQ(trust.trustedProgram(held.bundlePath), held.executablePath);
    EXPECT_EQ(trust.trustedProgram(held.executablePath), held.executablePath);

    // The executable is a link to a program outside the bundle.
    const auto linked = testsupport::SampleApplication::make(dir, "Linked.app", "com.example.L");
    ::unlink(linked.executablePath.c_str());
    dir.makeSymlink("Linked.app/Contents/MacOS/Sample", held.executablePath);
    EXPECT_EQ(trust.trustedExecutableOfBundle(linked.bundlePath), std::nullopt);

    // The bundle itself is fine, but a folder inside it is open to everybody.
    const auto loose = testsupport::SampleApplication::make(dir, "Loose.app", "com.example.Lo");
    ::chmod((loose.bundlePath + "/Contents/MacOS").c_str(), 0777);
    EXPECT_EQ(trust.trustedExecutableOfBundle(loose.bundlePath), std::nullopt);
    EXPECT_EQ(trust.trustedProgram(loose.executablePath), std::nullopt);

    EXPECT_TRUE(BundleTrust().isTrustedPath("/bin/sh"));
}

}  // namespace
