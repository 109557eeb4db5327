#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

// The one error raised on purpose in the agent: a hex colour string of a
// length the parser does not know. Like the platform's exception it carries a
// name and a reason; what() is the reason.
class InvalidColorValueException : public std::runtime_error {
public:
    explicit InvalidColorValueException(const std::string& colorValue);

    static constexpr const char* kName = "Invalid color value";
    const char* name() const noexcept { return kName; }
    std::string reason() const { return what(); }
};

// The colour spaces a Color can be in. Every colour of the interface is made
// in sRGB, so that is the only one.
enum class ColorSpace { sRGB };

// A colour of the user interface: sRGB components and alpha as doubles in
// 0...1 (kept as given, not clamped), or a pattern that tiles a named image
// (the image is the Qt side's to load; a pattern's components are 0).
class Color {
public:
    Color() = default;
    Color(double red, double green, double blue, double alpha = 1.0)
        : m_nRed(red), m_nGreen(green), m_nBlue(blue), m_nAlpha(alpha) {}

    static ColorSpace currentColorSpace() { return ColorSpace::sRGB; }

    // The components widened from float to double, in the order red, green,
    // blue, alpha.
    static Color properColorWithRed(float red, float green, float blue, float alpha);
    static Color colorWithPatternImage(std::string imageName);

    // The colour for a hex string, from the process-wide cache when this exact
    // string was parsed before (the cache keys by the string as given, before
    // "#" is stripped or letters are upper-cased), else parsed and cached. A
    // cached string answers the same object while it stays cached; the cache
    // holds at most kCacheCapacity strings and starts afresh when full.
    // nullopt gives null. Throws InvalidColorValueException like the parser.
    static std::shared_ptr<const Color> colorWithHexString(const std::optional<std::string>& hex);
    static constexpr std::size_t kCacheCapacity = 4096;

    // Parses "#RGB", "#ARGB", "#RRGGBB" or "#AARRGGBB": every "#" is removed
    // and the rest upper-cased (full Unicode case mapping), and its length in
    // UTF-16 code units picks the form; any other length throws
    // InvalidColorValueException. Characters that are not hex digits are not
    // rejected: each component's scan stops at the first one and keeps what it
    // read (0 when nothing). Bytes that are not UTF-8 count as U+FFFD.
    static Color colorWithHexStringNotCacheable(const std::string& hex);

    // The component in `string` (UTF-16 code units) at start with the given
    // length, over 255: a length other than 2 is repeated once ("A" -> "AA");
    // scanned as hexadecimal the way the platform's scanner does it (leading
    // white space skipped, an optional "0x"/"0X", then hex digits up to the
    // first other character). A range beyond the string is cut to it.
    static double colorComponentFrom(std::u16string_view string, std::size_t start,
                                     std::size_t length);

    double red() const { return m_nRed; }
    double green() const { return m_nGreen; }
    double blue() const { return m_nBlue; }
    double alpha() const { return m_nAlpha; }
    ColorSpace colorSpace() const { return ColorSpace::sRGB; }
    // The image a pattern colour tiles; empty for a plain colour.
    const std::string& patternImageName() const { return m_sPatternImageName; }
    bool isPattern() const { return !m_sPatternImageName.empty(); }

    bool operator==(const Color&) const = default;

    // The palette shared with the Main application's screens.
    static Color welcomeBackgroundColor();
    static Color welcomeTextColor();
    static Color welcomeButtonTextColor();
    static Color commonBackgroundColor();
    static Color commonTextColor();
    static Color commonTableviewBackgroundColor();
    static Color bottomBarColor();
    static Color bottomBarSeparatorColor();
    static Color toolbarBackgroundColor();
    static Color toolbarTitleTextColor();
    static Color grayTextureColor();
    static Color applicationsSeparatorColor();
    static Color appsListGroupColor();
    static Color appsListCellColor();
    static Color appsListCellSelectedSeparatorColor();
    static Color appsListTableHeaderColor();
    static Color appsListGroupItemCellColor();
    static Color appsListCellSeparatorColor();
    static Color appsListTableFooterColor();
    static Color appsListTableHeaderBottomSeparatorColor();
    static Color appsListTableHeaderTopSeparatorColor();
    static Color appsListSelectedCellBordersColor();
    static Color appsListExtensionSelectedBordersColor();
    static Color dependenciesBackgroundColor();
    static Color dependenciesTableHeaderColor();
    static Color dependenciesGroupCellColor();
    static Color dependenciesCellColor();
    static Color dependenciesCellSeparatorColor();
    static Color dependenciesSelectedCellColor();
    static Color dragAndDropHintBackgroundColor();
    static Color selectedFilesBackgroundColor();
    static Color selectedFilesBottomBarColor();
    static Color selectedFilesSeparatorColor();
    static Color selectedFilesCellTextColor();
    static Color selectedFilesHeaderCellTextColor();
    static Color categoryBackgroundColor();
    static Color toolbarTopBackgroundColor();
    static Color toolbarTopShadowColor();
    static Color toolbarShadowSeparatorColor();
    static Color toolbarBottomBackgroundColor();
    static Color toolbarBottomShadowColor();
    static Color appInfoBarTopSeparatorColor();
    static Color appInfoBarBackgroundColor();
    static Color appInfoBarBottomSeparatorColor();
    static Color preferencesTableViewBg();

private:
    double m_nRed = 0;
    double m_nGreen = 0;
    double m_nBlue = 0;
    double m_nAlpha = 1.0;
    std::string m_sPatternImageName;
};
