#include "ui/qt/AttributedStringAdapter.h"

#include <QTextCursor>
#include <QTextDocument>
#include <algorithm>

#include "ui/qt/FontsFactory.h"

namespace AttributedStringAdapter {

QColor qColor(const Color& color) {
    // A pattern needs an image brush, which text never asks for here.
    if (color.isPattern()) return QColor();
    return QColor::fromRgbF(static_cast<float>(color.red()), static_cast<float>(color.green()),
                            static_cast<float>(color.blue()), static_cast<float>(color.alpha()));
}

Qt::Alignment qAlignment(TextAlignment alignment) {
    switch (alignment) {
        case TextAlignment::Left:
            return Qt::AlignLeft | Qt::AlignAbsolute;
        case TextAlignment::Right:
            return Qt::AlignRight | Qt::AlignAbsolute;
        case TextAlignment::Center:
            return Qt::AlignHCenter;
        case TextAlignment::Justified:
            return Qt::AlignJustify;
        case TextAlignment::Natural:
            break;
    }
    // Qt's plain AlignLeft follows the text direction, as natural alignment does.
    return Qt::AlignLeft;
}

QTextCharFormat charFormat(const TextAttributes& attributes) {
    QTextCharFormat format;
    if (attributes.font) {
        format.setFont(FontsFactory::GetInstance().fontForDescription(*attributes.font),
                       QTextCharFormat::FontPropertiesAll);
    }
    if (attributes.foregroundColor) {
        const QColor color = qColor(*attributes.foregroundColor);
        if (color.isValid()) format.setForeground(color);
    }
    if (attributes.backgroundColor) {
        const QColor color = qColor(*attributes.backgroundColor);
        if (color.isValid()) format.setBackground(color);
    }
    if (attributes.link) {
        format.setAnchor(true);
        format.setAnchorHref(QString::fromStdString(*attributes.link));
    }
    if (attributes.cursor)
        format.setProperty(kCursorProperty, static_cast<int>(*attributes.cursor));
    return format;
}

QTextBlockFormat blockFormat(const ParagraphStyle& style) {
    QTextBlockFormat format;
    format.setAlignment(qAlignment(style.alignment));
    format.setLeftMargin(style.headIndent);
    format.setTextIndent(style.firstLineHeadIndent - style.headIndent);
    // A positive tail indent fixes the line length from the leading edge,
    // which depends on the width the text gets; only the usual form maps.
    if (style.tailIndent <= 0) format.setRightMargin(-style.tailIndent);
    if (style.lineSpacing > 0) {
        format.setLineHeight(style.lineSpacing, QTextBlockFormat::LineDistanceHeight);
    }
    format.setBottomMargin(style.paragraphSpacing);
    return format;
}

QTextOption::WrapMode wrapMode(LineBreakMode mode) {
    switch (mode) {
        case LineBreakMode::ByWordWrapping:
            // A word longer than the line is still broken rather than cut.
            return QTextOption::WrapAtWordBoundaryOrAnywhere;
        case LineBreakMode::ByCharWrapping:
            return QTextOption::WrapAnywhere;
        default:
            return QTextOption::NoWrap;
    }
}

void fillDocument(QTextDocument& document, const AttributedString& string) {
    document.clear();
    const QString text = QString::fromStdString(string.string());
    auto paragraphAt = [&](std::size_t index) {
        const TextAttributes& attributes = string.attributesAtIndex(index);
        return attributes.paragraphStyle ? *attributes.paragraphStyle
                                         : ParagraphStyle::defaultParagraphStyle();
    };

    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    cursor.setBlockFormat(blockFormat(paragraphAt(0)));
    QTextOption option = document.defaultTextOption();
    option.setWrapMode(wrapMode(paragraphAt(0).lineBreakMode));
    document.setDefaultTextOption(option);

    for (const AttributeRun& run : string.runs()) {
        const QTextCharFormat format = charFormat(run.attributes);
        qsizetype start = static_cast<qsizetype>(run.location);
        const qsizetype end = std::min<qsizetype>(start + run.length, text.size());
        while (start < end) {
            qsizetype lineEnd = text.indexOf(QLatin1Char('\n'), start);
            if (lineEnd < 0 || lineEnd >= end) lineEnd = end;
            if (lineEnd > start) cursor.insertText(text.mid(start, lineEnd - start), format);
            if (lineEnd < end) {
                // A new paragraph, laid out by the style of its first character.
                cursor.insertBlock(blockFormat(paragraphAt(static_cast<std::size_t>(lineEnd) + 1)),
                                   format);
                ++lineEnd;
            }
            start = lineEnd;
        }
    }
    cursor.endEditBlock();
}

QList<QTextLayout::FormatRange> formatRanges(const AttributedString& string) {
    QList<QTextLayout::FormatRange> ranges;
    for (const AttributeRun& run : string.runs()) {
        QTextLayout::FormatRange range;
        range.start = static_cast<int>(run.location);
        range.length = static_cast<int>(run.length);
        range.format = charFormat(run.attributes);
        ranges.append(range);
    }
    return ranges;
}

}  // namespace AttributedStringAdapter
