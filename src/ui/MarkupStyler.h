#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "ui/AttributedString.h"

// Turns light tag markup into attributed text:
//
//   "<b>Photon</b> left &lt;12 MB&gt;"
//
// A tag is "<" name ">" ... "</" name ">", a name being an ASCII letter or "_"
// followed by letters, digits, "_", "-" or "."; nothing else may stand between
// the angle brackets (no attributes, no blanks, no "<br/>"). A closing tag
// closes the most recent open tag of its name, so tags nest, and tags of
// different names may even cross ("<b>x<i>y</b>z</i>" styles "xy" and "yz").
// Entities: &quot; &amp; &apos; &lt; &gt; and the numeric &#NNN; and &#xHHH;
// for any Unicode scalar value but NUL.
//
// Bad markup never loses text: an opening tag that is never closed, a closing
// tag with nothing open of its name, "<" or "&" that start no tag or entity
// all stay in the text as written. Ill-formed UTF-8 bytes become U+FFFD.
//
// Styling: the default style covers the whole text; each tag with a style of
// its name sets that style's attributes over its range. Where tags that set
// the same attribute overlap, the tag opened later wins, so an inner tag beats
// the tag around it. Tags without a style only lose their markup.
class MarkupStyler {
public:
    struct Style {
        std::string name;
        TextAttributes attributes;
        bool operator==(const Style&) const = default;
    };

    // A matched tag pair of parsed markup; its range is in bytes of the
    // parsed text.
    struct Tag {
        std::string name;
        std::size_t location = 0;
        std::size_t length = 0;
        bool operator==(const Tag&) const = default;
    };
    struct ParsedMarkup {
        std::string text;             // the plain text, entities replaced, UTF-8
        std::vector<Tag> tags;        // in the order they were opened
        std::size_t literalTags = 0;  // tag-like pieces left in the text as written
    };
    static ParsedMarkup parse(std::string_view markup);

    // The tag name that addresses the default style in the setters; "" until
    // changed. Shared by every styler of the process.
    static std::string DefaultTag();
    static void setDefaultTag(std::string tag);

    // Makes any text safe to put into markup: "&" becomes "&amp;", then "<"
    // becomes "&lt;". ">" alone is plain text and stays.
    static std::string prepareString(std::string_view text);

    // Each setter changes the default style when tag is DefaultTag(), else the
    // style named tag, made on first use. A later value replaces an earlier one.
    void setFont(const FontDescription& font, const std::string& tag);
    void setForegroundColor(const Color& color, const std::string& tag);
    void setBackgroundColor(const Color& color, const std::string& tag);
    // The platform default paragraph style with only the alignment changed.
    void setDefaultParagraphStyleWithAlignment(TextAlignment alignment, const std::string& tag);
    void setParagraphStyle(const ParagraphStyle& style, const std::string& tag);
    void setLink(const std::string& url, const std::string& tag);
    void setCursor(Cursor cursor, const std::string& tag);

    AttributedString convertString(std::string_view markup) const;

    const Style& defaultStyle() const { return m_defaultStyle; }
    const std::map<std::string, Style>& styles() const { return m_arrStyles; }

private:
    Style& styleForTag(const std::string& tag);

    Style m_defaultStyle;
    std::map<std::string, Style> m_arrStyles;
};
