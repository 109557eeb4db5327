#pragma once

// Paragraph layout of attributed text. The raw values of the enumerations are
// the platform's, so stored layouts and resources can name them by number.
enum class TextAlignment { Left = 0, Right = 1, Center = 2, Justified = 3, Natural = 4 };

enum class LineBreakMode {
    ByWordWrapping = 0,
    ByCharWrapping = 1,
    ByClipping = 2,
    ByTruncatingHead = 3,
    ByTruncatingTail = 4,
    ByTruncatingMiddle = 5,
};

struct ParagraphStyle {
    TextAlignment alignment = TextAlignment::Natural;
    LineBreakMode lineBreakMode = LineBreakMode::ByWordWrapping;
    // Indents in points; a tail indent of 0 or less is measured from the
    // trailing margin, a positive one from the leading margin.
    double firstLineHeadIndent = 0;
    double headIndent = 0;
    double tailIndent = 0;
    double lineSpacing = 0;
    double paragraphSpacing = 0;

    // The platform's default paragraph style: natural alignment, word
    // wrapping, no indents or extra spacing.
    static ParagraphStyle defaultParagraphStyle() { return ParagraphStyle{}; }

    bool operator==(const ParagraphStyle&) const = default;
};
