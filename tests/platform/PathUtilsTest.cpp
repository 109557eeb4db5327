#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/PathUtils.h"
#include "support/TempDir.h"

// Rows marked "doc" are the examples of the platform's reference documentation
// of each method (and, for standardizing, of its guide to string paths); the
// other rows are our own edge cases, written from the rules those pages state.

namespace {

struct Row {
    std::string input;
    std::string expected;
};

TEST(PathUtilsTest, LastPathComponent) {
    const Row rows[] = {
        {"/tmp/scratch.tiff", "scratch.tiff"},  // doc
        {"/tmp/scratch", "scratch"},            // doc
        {"/tmp/", "tmp"},                       // doc
        {"scratch///", "scratch"},              // doc
        {"/", "/"},                             // doc
        {"", ""},
        {"///", "/"},
        {"a", "a"},
        {"/a//b", "b"},
        {".profile", ".profile"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(platform::PathUtils::lastPathComponent(row.input), row.expected) << row.input;
}

TEST(PathUtilsTest, DeletingLastPathComponent) {
    const Row rows[] = {
        {"/tmp/scratch.tiff", "/tmp"},  // doc
        {"/tmp/lock/", "/tmp"},         // doc
        {"/tmp/", "/"},                 // doc
        {"/tmp", "/"},                  // doc
        {"/", "/"},                     // doc
        {"scratch.tiff", ""},           // doc
        {"", ""},
        {"a/b", "a"},
        {"a//b//", "a"},
        {"//tmp", "/"},
        {"///", "/"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(platform::PathUtils::stringByDeletingLastPathComponent(row.input), row.expected)
            << row.input;
    }
}

TEST(PathUtilsTest, AppendingPathComponent) {
    struct Join {
        std::string path, component, expected;
    };
    const Join rows[] = {
        {"/tmp", "scratch.tiff", "/tmp/scratch.tiff"},   // doc
        {"/tmp/", "scratch.tiff", "/tmp/scratch.tiff"},  // doc
        {"/", "scratch.tiff", "/scratch.tiff"},          // doc
        {"", "scratch.tiff", "scratch.tiff"},            // doc
        {"/Users/me", "/.Trash", "/Users/me/.Trash"},    // a leading slash makes no difference
        {"/tmp//", "/b/", "/tmp/b"},
        {"./", "/foo", "./foo"},
        {"/tmp", "", "/tmp"},
        {"", "", ""},
        {"a", "b/c", "a/b/c"},
    };
    for (const Join& row : rows) {
        EXPECT_EQ(platform::PathUtils::stringByAppendingPathComponent(row.path, row.component),
                  row.expected)
            << row.path << " + " << row.component;
    }
}

TEST(PathUtilsTest, PathExtension) {
    const Row rows[] = {
        {"/tmp/scratch.tiff", "tiff"},   // doc
        {".scratch.tiff", "tiff"},       // doc
        {"/tmp/scratch", ""},            // doc
        {"/tmp/", ""},                   // doc
        {"/tmp/scratch..tiff", "tiff"},  // doc
        {".tiff", ""},                   // doc (deleting-extension page: no extension)
        {".profile", ""},
        {"a.b.c", "c"},
        {"X.app/", "app"},
        {"/a.b/c", ""},
        {"..", ""},
        {"...", ""},
        {"..tiff", ""},
        {"..name.txt", "txt"},
        {"a.", ""},
        {"", ""},
        {"/", ""},
    };
    for (const Row& row : rows)
        EXPECT_EQ(platform::PathUtils::pathExtension(row.input), row.expected) << row.input;
}

TEST(PathUtilsTest, DeletingPathExtension) {
    const Row rows[] = {
        {"/tmp/scratch.tiff", "/tmp/scratch"},  // doc
        {"/tmp/", "/tmp"},                      // doc
        {"scratch.bundle/", "scratch"},         // doc
        {"scratch..tiff", "scratch."},          // doc
        {".tiff", ".tiff"},                     // doc
        {"/", "/"},                             // doc
        {"a.b.c", "a.b"},
        {"/a.b/c", "/a.b/c"},
        {".profile", ".profile"},
        {"..", ".."},
        {"...", "..."},
        {"..name.txt", "..name"},
        {"a.", "a"},
        {"///file/123.png.smb", "/file/123.png"},
        {"", ""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(platform::PathUtils::stringByDeletingPathExtension(row.input), row.expected)
            << row.input;
    }
}

TEST(PathUtilsTest, AppendingPathExtension) {
    struct Ext {
        std::string path, ext;
        std::optional<std::string> expected;
    };
    const Ext rows[] = {
        {"/tmp/scratch.old", "tiff", "/tmp/scratch.old.tiff"},  // doc
        {"/tmp/scratch.", "tiff", "/tmp/scratch..tiff"},        // doc
        {"/tmp/", "tiff", "/tmp.tiff"},                         // doc
        {"scratch", "tiff", "scratch.tiff"},                    // doc
        {"~", "tiff", "~.tiff"},                                // doc: allowed since 10.9
        {"Notes 2", "", "Notes 2"},                             // no trailing dot
        {"", "tiff", std::nullopt},
        {"/", "tiff", std::nullopt},
        {"Plugins/File", "bundle/Contents", std::nullopt},
    };
    for (const Ext& row : rows) {
        EXPECT_EQ(platform::PathUtils::stringByAppendingPathExtension(row.path, row.ext),
                  row.expected)
            << row.path << " . " << row.ext;
    }
}

TEST(PathUtilsTest, ComponentsAndBack) {
    struct Split {
        std::string path;
        std::vector<std::string> components;
        std::string rejoined;
    };
    const Split rows[] = {
        {"tmp/scratch", {"tmp", "scratch"}, "tmp/scratch"},         // doc
        {"/tmp/scratch", {"/", "tmp", "scratch"}, "/tmp/scratch"},  // doc
        {"scratch", {"scratch"}, "scratch"},                        // doc
        {"/tmp/scratch/", {"/", "tmp", "scratch", "/"}, "/tmp/scratch/"},
        {"//a///b//", {"/", "a", "b", "/"}, "/a/b/"},
        {"/", {"/"}, "/"},
        {"///", {"/"}, "/"},
        {"", {}, ""},
    };
    for (const Split& row : rows) {
        EXPECT_EQ(platform::PathUtils::pathComponents(row.path), row.components) << row.path;
        EXPECT_EQ(platform::PathUtils::pathWithComponents(row.components), row.rejoined)
            << row.path;
    }
    // doc: a trailing empty component gives a trailing separator.
    EXPECT_EQ(platform::PathUtils::pathWithComponents({"/", "tmp", ""}), "/tmp/");
    EXPECT_EQ(platform::PathUtils::pathWithComponents({"a", "", "b"}), "a/b");
}

TEST(PathUtilsTest, IsAbsolutePath) {
    const std::pair<std::string, bool> rows[] = {
        {"/", true}, {"/tmp", true}, {"~", true},    {"~/x", true}, {"~me/x", true},
        {"", false}, {"tmp", false}, {"./a", false}, {"..", false},
    };
    for (const auto& [path, absolute] : rows)
        EXPECT_EQ(platform::PathUtils::isAbsolutePath(path), absolute) << path;
}

TEST(PathUtilsTest, StandardizingPath) {
    const std::string home = "/nonexistent-home/me";
    const Row rows[] = {
        {"/usr/bin/./grep", "/usr/bin/grep"},      // doc (guide)
        {"/usr/include/objc/..", "/usr/include"},  // doc (guide)
        {"/nonexistent/include/objc/..", "/nonexistent/include"},
        {"~", home},
        {"~/Library//Caches/", home + "/Library/Caches"},
        {"~/../x", "/nonexistent-home/x"},
        {"~no-such-user-here/x", "~no-such-user-here/x"},  // cannot be expanded: unchanged
        {"/a//b/./c/", "/a/b/c"},
        {"/a/b/.", "/a/b"},
        {"/.", "/"},
        {"/..", "/"},
        {"/../../a", "/a"},
        {"/nonexistent/a/../../b", "/b"},
        {"a/../b", "a/../b"},  // relative: ".." stays
        {"./a/./b/", "./a/b"},
        {".", "."},
        {"", ""},
        {"//", "/"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(platform::PathUtils::stringByStandardizingPath(row.input, home), row.expected)
            << row.input;
    }
}

TEST(PathUtilsTest, StandardizingPathResolvesParentThroughLinks) {
    testsupport::TempDir temp;
    temp.makeDir("real/inner");
    temp.makeDir("elsewhere/deep");
    temp.makeSymlink("real/link", temp / "elsewhere/deep");
    // ".." after a link leads to the link target's parent, as the kernel sees it.
    EXPECT_EQ(platform::PathUtils::stringByStandardizingPath(temp / "real/link/../x", "/h"),
              temp / "elsewhere/x");
    EXPECT_EQ(platform::PathUtils::stringByStandardizingPath(temp / "real/inner/../x", "/h"),
              temp / "real/x");
    // A link that is not followed by ".." is left in place.
    EXPECT_EQ(platform::PathUtils::stringByStandardizingPath(temp / "real/link/./y/", "/h"),
              temp / "real/link/y");
}

}  // namespace
