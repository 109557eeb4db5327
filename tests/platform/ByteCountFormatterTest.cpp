#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
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
        EXPECT_EQ(platform::ByteCountFormatter::stringFromByteCount(row.bytes), row.expected)
            << row.bytes;
    }
}

// The same counts in each language the notification is translated into:
// the file-style rounding and units, with the language's decimal separator,
// unit names and word for zero (and ICU's no-break spaces, U+00A0 or the
// narrow U+202F, where its data has them). English keeps its own text.
TEST(ByteCountFormatterTest, EachShippedLanguageWritesItsOwnNumbersAndUnits) {
    const std::int64_t counts[] = {0, 1, 532, 12000, 72500000, 1234567890, -1050000};
    const struct {
        const char* language;
        const char* expected[std::size(counts)];
    } rows[] = {
        {"en", {"Zero KB", "1 byte", "532 bytes", "12 KB", "72.5 MB", "1.23 GB", "-1.1 MB"}},
        {"de",
         {"null kB", "1\u00A0Byte", "532 Byte", "12 kB", "72,5 MB", "1,23\u00A0GB", "-1,1 MB"}},
        {"es", {"cero kB", "1 byte", "532 bytes", "12 kB", "72,5 MB", "1,23 GB", "-1,1 MB"}},
        {"fr",
         {"zéro\u202Fko", "1\u00A0octet", "532\u00A0octets", "12\u202Fko", "72,5\u202FMo",
          "1,23\u202FGo", "-1,1\u202FMo"}},
        {"it", {"zero kB", "1 byte", "532 byte", "12 kB", "72,5 MB", "1,23 GB", "-1,1 MB"}},
        {"ja", {"0 KB", "1 バイト", "532 バイト", "12 KB", "72.5 MB", "1.23 GB", "-1.1 MB"}},
        {"ko", {"0kB", "1바이트", "532바이트", "12kB", "72.5MB", "1.23GB", "-1.1MB"}},
        {"pl", {"zero kB", "1 bajt", "532 bajty", "12 kB", "72,5 MB", "1,23 GB", "-1,1 MB"}},
        {"pt-BR", {"zero kB", "1 byte", "532 bytes", "12 kB", "72,5 MB", "1,23 GB", "-1,1 MB"}},
        {"ru", {"ноль кБ", "1 байт", "532 байта", "12 кБ", "72,5 МБ", "1,23 ГБ", "-1,1 МБ"}},
        {"uk", {"нуль кБ", "1 байт", "532 байти", "12 кБ", "72,5 МБ", "1,23 ГБ", "-1,1 МБ"}},
        {"zh-Hans", {"0 kB", "1字节", "532字节", "12 kB", "72.5 MB", "1.23 GB", "-1.1 MB"}},
    };
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < std::size(counts); ++i) {
            EXPECT_EQ(platform::ByteCountFormatter::stringFromByteCount(counts[i], row.language),
                      row.expected[i])
                << row.language << " " << counts[i];
        }
    }
    // Regions and POSIX spellings reach the same rules; no name is English.
    EXPECT_EQ(platform::ByteCountFormatter::stringFromByteCount(72500000, "de_AT.UTF-8"),
              "72,5 MB");
    EXPECT_EQ(platform::ByteCountFormatter::stringFromByteCount(72500000, "fr_CA"), "72,5 Mo");
    EXPECT_EQ(platform::ByteCountFormatter::stringFromByteCount(72500000, "en_GB"), "72.5 MB");
    EXPECT_EQ(platform::ByteCountFormatter::stringFromByteCount(0, ""), "Zero KB");
}

}  // namespace
