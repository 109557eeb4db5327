#include <gtest/gtest.h>

#include <cstdio>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/DataTable.h"
#include "ui/Color.h"

// Readable failures.
void PrintTo(const Color& c, std::ostream* os) {
    *os << "(" << c.red() << ", " << c.green() << ", " << c.blue() << ", " << c.alpha() << ")";
}

namespace {

TEST(ColorTest, ParsesEveryLengthTheWayThePlatformScannerDoes) {
    for (const auto& row : testsupport::readDataTable("Color/hex.tsv")) {
        const auto byte = [&](int i) {
            return std::stoi(row.at(1).substr(2 * i, 2), nullptr, 16) / 255.0;
        };
        EXPECT_EQ(Color::colorWithHexStringNotCacheable(row.at(0)),
                  Color(byte(0), byte(1), byte(2), byte(3)))
            << testsupport::describeRow(row);
    }
    EXPECT_EQ(Color::colorWithHexStringNotCacheable("#abc").colorSpace(), ColorSpace::sRGB);
}

TEST(ColorTest, OtherLengthsRaiseTheDocumentedException) {
    for (const char* hex : {"", "#", "1", "12", "#12345", "1234567", "123456789", "##ab"}) {
        EXPECT_THROW(Color::colorWithHexStringNotCacheable(hex), InvalidColorValueException) << hex;
        EXPECT_THROW(Color::colorWithHexString(std::string(hex)), InvalidColorValueException);
    }
    try {
        Color::colorWithHexStringNotCacheable("#12345");
    } catch (const InvalidColorValueException& e) {
        EXPECT_STREQ(e.name(), "Invalid color value");
        EXPECT_EQ(e.reason(),
                  "Color value #12345 is invalid.  It should be a hex value of the form "
                  "#RBG, #ARGB, #RRGGBB, or #AARRGGBB");
    }
}

TEST(ColorTest, CacheKeysByTheStringAsGivenAndHandsEveryThreadTheSameObject) {
    EXPECT_EQ(Color::colorWithHexString(std::nullopt), nullptr);
    const auto shortForm = Color::colorWithHexString("#a1b");
    const auto longForm = Color::colorWithHexString("AA11BB");
    ASSERT_TRUE(shortForm && longForm);
    EXPECT_EQ(*shortForm, *longForm);
    EXPECT_NE(shortForm, longForm);  // two spellings, two entries
    EXPECT_EQ(Color::colorWithHexString("#a1b"), shortForm);
    // The palette's hex entries are read through the same cache.
    EXPECT_EQ(Color::applicationsSeparatorColor(), *Color::colorWithHexString("dbdde6"));

    std::vector<std::shared_ptr<const Color>> seen(8);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < seen.size(); ++i) {
        threads.emplace_back([&seen, i] {
            for (int n = 0; n < 200; ++n) {
                seen[i] = Color::colorWithHexString("#0a0b0c");
                char other[16];
                std::snprintf(other, sizeof other, "#%08zx",
                              i * 1000 + static_cast<std::size_t>(n));
                Color::colorWithHexString(std::string(other));
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(std::set<std::shared_ptr<const Color>>(seen.begin(), seen.end()).size(), 1u);
}

}  // namespace
