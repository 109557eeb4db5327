#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "platform/ByteCountFormatter.h"

namespace {

TEST(ByteCountFormatterTest, FileStyleText) {
    const struct {
        std::int64_t bytes;
        const char* expected;
    } rows[] = {
        {0, "Zero KB"},
        {1, "1 byte"},
        {2, "2 bytes"},
        {532, "532 bytes"},
        {999, "999 bytes"},
        {1000, "1 KB"},
        {1499, "1 KB"},
        {1500, "2 KB"},  // half rounds up
        {12000, "12 KB"},
        {999499, "999 KB"},
        {999500, "1 MB"},  // would be 1000 KB
        {1000000, "1 MB"},
        {1049999, "1 MB"},
        {1050000, "1.1 MB"},
        {1200000, "1.2 MB"},
        {999949999, "999.9 MB"},
        {999950000, "1 GB"},  // would be 1000.0 MB
        {1234567890, "1.23 GB"},
        {1005000000, "1.01 GB"},
        {1004999999, "1 GB"},
        {2000000000, "2 GB"},
        {1100000000, "1.1 GB"},
        {999994999999, "999.99 GB"},
        {999995000000, "1 TB"},
        {1230000000000000, "1.23 PB"},
        {std::int64_t{1} << 60, "1.15 EB"},
        {std::numeric_limits<std::int64_t>::max(), "9.22 EB"},
        {-1, "-1 byte"},
        {-532, "-532 bytes"},
        {-2000, "-2 KB"},
        {-1050000, "-1.1 MB"},
        {std::numeric_limits<std::int64_t>::min(), "-9.22 EB"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ByteCountFormatter::stringFromByteCount(row.bytes), row.expected) << row.bytes;
    }
}

}  // namespace
