#pragma once

#include <optional>
#include <string>

#include "ui/Color.h"
#include "ui/FontDescription.h"
#include "ui/ParagraphStyle.h"

// The mouse cursors text can ask for over its range.
enum class Cursor {
    Arrow,
    IBeam,
    PointingHand,
    OpenHand,
    ClosedHand,
    Crosshair,
    OperationNotAllowed
};

// The attributes a range of text can carry; an unset attribute is absent, and
// the renderer uses its own default for it.
struct TextAttributes {
    std::optional<FontDescription> font;
    std::optional<Color> foregroundColor;
    std::optional<Color> backgroundColor;
    std::optional<ParagraphStyle> paragraphStyle;
    std::optional<std::string> link;  // a URL
    std::optional<Cursor> cursor;

    // Every attribute that `other` sets replaces this one's.
    void overlay(const TextAttributes& other) {
        if (other.font) font = other.font;
        if (other.foregroundColor) foregroundColor = other.foregroundColor;
        if (other.backgroundColor) backgroundColor = other.backgroundColor;
        if (other.paragraphStyle) paragraphStyle = other.paragraphStyle;
        if (other.link) link = other.link;
        if (other.cursor) cursor = other.cursor;
    }
    bool empty() const { return *this == TextAttributes{}; }

    bool operator==(const TextAttributes&) const = default;
};
