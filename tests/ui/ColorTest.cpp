#include <gtest/gtest.h>

#include <cstdio>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ui/Color.h"

// Readable failures.
void PrintTo(const Color& c, std::ostream* os) {
    *os << "(" << c.red() << ", " << c.green() << ", " << c.blue() << ", " << c.alpha() << ")";
}

namespace {

constexpr double b(int byte) {
    return byte / 255.0;
}

TEST(ColorTest, ParsesEveryLengthTheWayThePlatformScannerDoes) {
    const struct {
        const char* hex;
        Color expected;
    } rows[] = {
        {"#abc", Color(b(0xAA), b(0xBB), b(0xCC), 1.0)},
        {"AABBCC", Color(b(0xAA), b(0xBB), b(0xCC), 1.0)},
        {"#8f00", Color(b(0xFF), b(0x00), b(0x00), b(0x88))},  // ARGB
        {"80FF0000", Color(1.0, 0.0, 0.0, b(0x80))},           // AARRGGBB
        {"#12#34#56", Color(b(0x12), b(0x34), b(0x56), 1.0)},  // every "#" goes
        {"1G2H3Z", Color(b(0x01), b(0x02), b(0x03), 1.0)},     // scan stops at G, H, Z
        {"GG0000", Color(0.0, 0.0, 0.0, 1.0)},                 // nothing read is 0
        {" F\t10A", Color(b(0x0F), b(0x01), b(0x0A), 1.0)},    // white space skipped
        {"0X0x0x", Color(0.0, 0.0, 0.0, 1.0)},                 // a bare "0x" prefix reads 0
        {"\xC3\x9F"
         "A",
         Color(0.0, 0.0, b(0xAA), 1.0)},  // "ß" upper-cases to "SS"
        {"\xEF\xBC\xA1"
         "BC",
         Color(0.0, b(0xBB), b(0xCC), 1.0)},  // a full-width A is no digit
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Color::colorWithHexStringNotCacheable(row.hex), row.expected) << row.hex;
    }
    EXPECT_EQ(Color::colorWithHexStringNotCacheable("#abc").colorSpace(), ColorSpace::sRGB);
}

TEST(ColorTest, OtherLengthsRaiseTheDocumentedException) {
    for (const char* hex : {"", "#", "1", "12", "#12345", "1234567", "123456789", "##ab"}) {
        try {
            Color::colorWithHexStringNotCacheable(hex);
            ADD_FAILURE() << "no exception for \"" << hex << "\"";
        } catch (const InvalidColorValueException& e) {
            EXPECT_STREQ(e.name(), "Invalid color value");
            EXPECT_EQ(e.reason(), std::string("Color value ") + hex +
                                      " is invalid.  It should be a hex value of the form #RBG, "
                                      "#ARGB, #RRGGBB, or #AARRGGBB");
        }
        EXPECT_THROW(Color::colorWithHexString(std::string(hex)), InvalidColorValueException);
    }
}

TEST(ColorTest, CacheKeysByTheStringAsGiven) {
    EXPECT_EQ(Color::colorWithHexString(std::nullopt), nullptr);
    const auto shortForm = Color::colorWithHexString("#a1b");
    const auto longForm = Color::colorWithHexString("AA11BB");
    ASSERT_TRUE(shortForm && longForm);
    EXPECT_EQ(*shortForm, *longForm);
    EXPECT_NE(shortForm, longForm);  // two spellings, two entries
    EXPECT_EQ(Color::colorWithHexString("#a1b"), shortForm);
    EXPECT_EQ(Color::colorWithHexString("AA11BB"), longForm);
    // The palette's hex entries are read through the same cache.
    EXPECT_EQ(Color::applicationsSeparatorColor(), *Color::colorWithHexString("dbdde6"));
}

TEST(ColorTest, CacheHandsEveryThreadTheSameObject) {
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

TEST(ColorTest, ProperColorWidensFloatComponents) {
    const Color c = Color::properColorWithRed(0.29803923f, 0.30588236f, 0.32941177f, 0.5f);
    EXPECT_EQ(c.red(), static_cast<double>(0.29803923f));
    EXPECT_EQ(c.green(), static_cast<double>(0.30588236f));
    EXPECT_EQ(c.blue(), static_cast<double>(0.32941177f));
    EXPECT_EQ(c.alpha(), 0.5);
    EXPECT_EQ(Color::grayTextureColor().patternImageName(), "site_bg");
    EXPECT_FALSE(Color::welcomeTextColor().isPattern());
}

}  // namespace
