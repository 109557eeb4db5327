#include <gtest/gtest.h>

#include <string>

#include "platform/ByteCountFormatter.h"
#include "support/DataTable.h"

namespace {

TEST(ByteCountFormatterTest, FileStyleTextInEachShippedLanguage) {
    using platform::ByteCountFormatter::stringFromByteCount;
    for (const auto& row : testsupport::readDataTable("ByteCountFormatter/file-style.tsv")) {
        ASSERT_EQ(row.size(), 3u);
        SCOPED_TRACE(row[0] + " " + row[1]);
        const std::int64_t bytes = std::stoll(row[0]);
        EXPECT_EQ(stringFromByteCount(bytes, row[1]), row[2]);
        if (row[1].empty()) {
            EXPECT_EQ(stringFromByteCount(bytes), row[2]);
        }
    }
}

}  // namespace
