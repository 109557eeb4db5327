#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/PathUtils.h"
#include "support/DataTable.h"
#include "support/TempDir.h"

namespace {

namespace PathUtils = platform::PathUtils;

std::vector<std::string> split(const std::string& joined) {
    std::vector<std::string> parts;
    if (joined.empty()) return parts;
    std::size_t start = 0;
    for (std::size_t bar; (bar = joined.find('|', start)) != std::string::npos; start = bar + 1) {
        parts.push_back(joined.substr(start, bar - start));
    }
    parts.push_back(joined.substr(start));
    return parts;
}

// One row per call: the operation, its arguments, the answer it must give.
std::string answer(const std::vector<std::string>& row) {
    const std::string& op = row[0];
    const std::string& input = row[1];
    if (op == "last") return PathUtils::lastPathComponent(input);
    if (op == "deleteLast") return PathUtils::stringByDeletingLastPathComponent(input);
    if (op == "append") return PathUtils::stringByAppendingPathComponent(input, row[2]);
    if (op == "extension") return PathUtils::pathExtension(input);
    if (op == "deleteExtension") return PathUtils::stringByDeletingPathExtension(input);
    if (op == "appendExtension") {
        return PathUtils::stringByAppendingPathExtension(input, row[2]).value_or("(none)");
    }
    if (op == "components") {
        const auto components = PathUtils::pathComponents(input);
        EXPECT_EQ(components, split(row[2]));
        return PathUtils::pathWithComponents(components);
    }
    if (op == "join") return PathUtils::pathWithComponents(split(input));
    if (op == "absolute") return PathUtils::isAbsolutePath(input) ? "yes" : "no";
    if (op == "standardize")
        return PathUtils::stringByStandardizingPath(input, "/nonexistent-home/me");
    ADD_FAILURE() << "unknown operation " << op;
    return {};
}

TEST(PathUtilsTest, EveryOperationGivesTheAnswersOfItsTable) {
    for (const auto& row : testsupport::readDataTable("PathUtils/operations.tsv")) {
        ASSERT_GE(row.size(), 3u);
        SCOPED_TRACE(row[0] + " '" + row[1] + "'" + (row.size() > 3 ? " '" + row[2] + "'" : ""));
        EXPECT_EQ(answer(row), row.back());
    }
}

TEST(PathUtilsTest, StandardizingPathResolvesParentThroughLinks) {
    testsupport::TempDir temp;
    temp.makeDir("real/inner");
    temp.makeDir("elsewhere/deep");
    temp.makeSymlink("real/link", temp / "elsewhere/deep");
    // ".." after a link leads to the link target's parent, as the kernel sees it.
    EXPECT_EQ(PathUtils::stringByStandardizingPath(temp / "real/link/../x", "/h"),
              temp / "elsewhere/x");
    EXPECT_EQ(PathUtils::stringByStandardizingPath(temp / "real/inner/../x", "/h"),
              temp / "real/x");
    // A link that is not followed by ".." is left in place.
    EXPECT_EQ(PathUtils::stringByStandardizingPath(temp / "real/link/./y/", "/h"),
              temp / "real/link/y");
}

}  // namespace
