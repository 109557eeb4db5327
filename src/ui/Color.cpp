#include "ui/Color.h"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <cstdint>
#include <limits>
#include <mutex>
#include <unordered_map>

#include "platform/Utf8.h"

InvalidColorValueException::InvalidColorValueException(const std::string& colorValue)
    : std::runtime_error("Color value " + colorValue +
                         " is invalid.  It should be a hex value of the form #RBG, #ARGB, "
                         "#RRGGBB, or #AARRGGBB") {}

namespace {

// The platform scanner's idea of white space: Unicode separators plus the
// ASCII controls from tab to carriage return and NEL.
bool isScannerWhitespace(char16_t c) {
    if ((c >= 0x09 && c <= 0x0D) || c == 0x85) return true;
    const auto type = u_charType(c);
    return type == U_SPACE_SEPARATOR || type == U_LINE_SEPARATOR || type == U_PARAGRAPH_SEPARATOR;
}

int hexDigitValue(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    return -1;
}

// Hex scan as the platform does it: white space, "0x", digits; overflow
// saturates. Nothing readable gives 0.
unsigned scanHexInt(std::u16string_view s) {
    std::size_t i = 0;
    while (i < s.size() && isScannerWhitespace(s[i])) ++i;
    if (i + 1 < s.size() && s[i] == u'0' && (s[i + 1] == u'x' || s[i + 1] == u'X')) i += 2;
    std::uint64_t value = 0;
    for (; i < s.size() && hexDigitValue(s[i]) >= 0; ++i) {
        value = value * 16 + static_cast<unsigned>(hexDigitValue(s[i]));
        if (value > std::numeric_limits<unsigned>::max())
            value = std::numeric_limits<unsigned>::max();
    }
    return static_cast<unsigned>(value);
}

Color rgb(std::uint32_t hex) {
    const auto part = [hex](int shift) {
        return static_cast<float>(((hex >> shift) & 0xFF) / 255.0);
    };
    return Color::properColorWithRed(part(16), part(8), part(0), 1.0f);
}

Color cached(const char* hex) {
    return *Color::colorWithHexString(std::string(hex));
}

}  // namespace

Color Color::properColorWithRed(float red, float green, float blue, float alpha) {
    return Color(static_cast<double>(red), static_cast<double>(green), static_cast<double>(blue),
                 static_cast<double>(alpha));
}

Color Color::colorWithPatternImage(std::string imageName) {
    Color color(0, 0, 0, 1.0);
    color.m_sPatternImageName = std::move(imageName);
    return color;
}

std::shared_ptr<const Color> Color::colorWithHexString(const std::optional<std::string>& hex) {
    if (!hex) return nullptr;
    struct Cache {
        std::mutex lock;
        std::unordered_map<std::string, std::shared_ptr<const Color>> colors;
    };
    static Cache cache;  // made once, on first use, by the thread-safe static initialiser
    {
        std::lock_guard<std::mutex> guard(cache.lock);
        const auto found = cache.colors.find(*hex);
        if (found != cache.colors.end()) return found->second;
    }
    // Parse outside the lock; two threads racing on one new string both parse,
    // and the first to store wins, so every caller still gets one object.
    auto color = std::make_shared<const Color>(colorWithHexStringNotCacheable(*hex));
    std::lock_guard<std::mutex> guard(cache.lock);
    if (cache.colors.size() >= kCacheCapacity) cache.colors.clear();
    return cache.colors.emplace(*hex, std::move(color)).first->second;
}

Color Color::colorWithHexStringNotCacheable(const std::string& hex) {
    std::u16string stripped;
    for (char16_t c : platform::Utf8::toUtf16(hex)) {
        if (c != u'#') stripped += c;
    }
    icu::UnicodeString upper(stripped.data(), static_cast<int32_t>(stripped.size()));
    upper.toUpper(icu::Locale::getRoot());
    const std::u16string_view s(upper.getBuffer(), static_cast<std::size_t>(upper.length()));

    double red = 0, green = 0, blue = 0, alpha = 1.0;
    switch (s.size()) {
        case 3:  // #RGB
            red = colorComponentFrom(s, 0, 1);
            green = colorComponentFrom(s, 1, 1);
            blue = colorComponentFrom(s, 2, 1);
            break;
        case 4:  // #ARGB
            alpha = colorComponentFrom(s, 0, 1);
            red = colorComponentFrom(s, 1, 1);
            green = colorComponentFrom(s, 2, 1);
            blue = colorComponentFrom(s, 3, 1);
            break;
        case 6:  // #RRGGBB
            red = colorComponentFrom(s, 0, 2);
            green = colorComponentFrom(s, 2, 2);
            blue = colorComponentFrom(s, 4, 2);
            break;
        case 8:  // #AARRGGBB
            alpha = colorComponentFrom(s, 0, 2);
            red = colorComponentFrom(s, 2, 2);
            green = colorComponentFrom(s, 4, 2);
            blue = colorComponentFrom(s, 6, 2);
            break;
        default:
            throw InvalidColorValueException(hex);
    }
    return Color(red, green, blue, alpha);
}

double Color::colorComponentFrom(std::u16string_view string, std::size_t start,
                                 std::size_t length) {
    const std::u16string_view part = string.substr(std::min(start, string.size()), length);
    const std::u16string full =
        length == 2 ? std::u16string(part) : std::u16string(part) + std::u16string(part);
    return scanHexInt(full) / 255.0;
}

// The palette. Colours written as hex strings go through the cache; the others
// are made from their components.
Color Color::welcomeBackgroundColor() {
    return rgb(0xF4F5FA);
}
Color Color::welcomeTextColor() {
    return rgb(0x4C4E54);
}
Color Color::welcomeButtonTextColor() {
    return rgb(0x468DD6);
}
Color Color::commonBackgroundColor() {
    return rgb(0xE6E6EB);
}
Color Color::commonTextColor() {
    return rgb(0x4C4E54);
}  // the body text of the notification
Color Color::commonTableviewBackgroundColor() {
    return rgb(0xFFFFFF);
}
Color Color::bottomBarColor() {
    return rgb(0xEDEEF3);
}
Color Color::bottomBarSeparatorColor() {
    return rgb(0xDBDDE5);
}
Color Color::toolbarBackgroundColor() {
    return rgb(0xECEDF2);
}
Color Color::toolbarTitleTextColor() {
    return rgb(0x818795);
}
Color Color::grayTextureColor() {
    return colorWithPatternImage("site_bg");
}
Color Color::applicationsSeparatorColor() {
    return cached("dbdde6");
}
Color Color::appsListGroupColor() {
    return rgb(0xF2F3F7);
}
Color Color::appsListCellColor() {
    return rgb(0xFFFFFF);
}
Color Color::appsListCellSelectedSeparatorColor() {
    return rgb(0xCEDCEA);
}  // the selection border
Color Color::appsListTableHeaderColor() {
    return rgb(0x8C919E);
}
Color Color::appsListGroupItemCellColor() {
    return cached("fafafa");
}
Color Color::appsListCellSeparatorColor() {
    return rgb(0xF6F6F6);
}
Color Color::appsListTableFooterColor() {
    return rgb(0xBABCC6);
}
Color Color::appsListTableHeaderBottomSeparatorColor() {
    return rgb(0xEAEBF1);
}
Color Color::appsListTableHeaderTopSeparatorColor() {
    return rgb(0xEAEBF1);
}
Color Color::appsListSelectedCellBordersColor() {
    return cached("cedcea");
}
Color Color::appsListExtensionSelectedBordersColor() {
    return cached("d7d7d7");
}
// The dependency lists follow the look of the application list.
Color Color::dependenciesBackgroundColor() {
    return rgb(0xF4F5FA);
}
Color Color::dependenciesTableHeaderColor() {
    return rgb(0x8C919E);
}
Color Color::dependenciesGroupCellColor() {
    return rgb(0xFAFAFA);
}
Color Color::dependenciesCellColor() {
    return rgb(0xFFFFFF);
}
Color Color::dependenciesCellSeparatorColor() {
    return rgb(0xF6F6F6);
}
Color Color::dependenciesSelectedCellColor() {
    return rgb(0xE7F3FF);
}
Color Color::dragAndDropHintBackgroundColor() {
    return cached("ffffff");
}
Color Color::selectedFilesBackgroundColor() {
    return rgb(0xFFFFFF);
}
Color Color::selectedFilesBottomBarColor() {
    return rgb(0xF4F5FA);
}
Color Color::selectedFilesSeparatorColor() {
    return rgb(0xDBDDE5);
}
Color Color::selectedFilesCellTextColor() {
    return cached("5e6167");
}
Color Color::selectedFilesHeaderCellTextColor() {
    return rgb(0x838A91);
}
Color Color::categoryBackgroundColor() {
    return rgb(0xECEFF4);
}
Color Color::toolbarTopBackgroundColor() {
    return rgb(0xF5F5F5);
}
Color Color::toolbarTopShadowColor() {
    return rgb(0xC4CBCF);
}
Color Color::toolbarShadowSeparatorColor() {
    return rgb(0xC1C7CC);
}
Color Color::toolbarBottomBackgroundColor() {
    return rgb(0xDEDEE4);
}
Color Color::toolbarBottomShadowColor() {
    return rgb(0xF2F2F2);
}
Color Color::appInfoBarTopSeparatorColor() {
    return cached("d3dade");
}
Color Color::appInfoBarBackgroundColor() {
    return cached("f9f9f9");
}
Color Color::appInfoBarBottomSeparatorColor() {
    return cached("ebeff1");
}
// The platform's white is a grey-scale colour; in sRGB it is full white.
Color Color::preferencesTableViewBg() {
    return Color(1.0, 1.0, 1.0, 1.0);
}
