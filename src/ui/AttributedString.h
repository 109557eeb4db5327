#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ui/TextAttributes.h"

// Text with attributes, the way a text widget takes it: the text in UTF-8 and
// runs of fully resolved attributes. Locations and lengths count UTF-16 code
// units, as the platform's attributed strings (and QString positions) do.
// The runs tile the text in order with no gaps, none is empty, and no two
// neighbours carry equal attributes; an empty text has no runs.
struct AttributeRun {
    std::size_t location = 0;
    std::size_t length = 0;
    TextAttributes attributes;

    bool operator==(const AttributeRun&) const = default;
};

class AttributedString {
public:
    AttributedString() = default;
    // The whole text with one set of attributes.
    AttributedString(std::string_view text, const TextAttributes& attributes);

    // Appends text (ill-formed UTF-8 bytes become U+FFFD) with its attributes.
    void append(std::string_view text, const TextAttributes& attributes);

    const std::string& string() const { return m_sText; }
    std::size_t length() const { return m_nLength; }
    const std::vector<AttributeRun>& runs() const { return m_arrRuns; }

    // The attributes at a UTF-16 index; empty attributes past the end.
    const TextAttributes& attributesAtIndex(std::size_t index) const;
    // The text of a UTF-16 range, cut to the text; a surrogate pair split by
    // either end is left out.
    std::string substringWithRange(std::size_t location, std::size_t length) const;

    bool operator==(const AttributedString&) const = default;

private:
    std::string m_sText;
    std::size_t m_nLength = 0;
    std::vector<AttributeRun> m_arrRuns;
};
