#pragma once

#include <QColor>
#include <QFont>
#include <QList>
#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <QTextLayout>
#include <QTextOption>

#include "ui/AttributedString.h"

class QTextDocument;

// Turns the toolkit-free attributed strings of the markup engine into what
// Qt's text classes draw. Positions carry over unchanged: both count UTF-16
// code units. Fonts are matched to installed ones through FontsFactory.
namespace AttributedStringAdapter {

QColor qColor(const Color& color);
Qt::Alignment qAlignment(TextAlignment alignment);

// The character format of a run: font, colours, link (anchor) and cursor
// (kept as a property, see kCursorProperty). Unset attributes stay unset, so
// the widget's own font and palette apply to them.
QTextCharFormat charFormat(const TextAttributes& attributes);
// Alignment, indents and spacing of a paragraph; a tail indent of 0 or less
// counts from the trailing edge, so it becomes that much right margin.
QTextBlockFormat blockFormat(const ParagraphStyle& style);
QTextOption::WrapMode wrapMode(LineBreakMode mode);

// Fills the document with the text: one block per line, each block laid out
// by the paragraph style at its start, each run with its character format.
void fillDocument(QTextDocument& document, const AttributedString& string);

// The runs as format ranges over QString::fromStdString(string.string()),
// for QTextLayout.
QList<QTextLayout::FormatRange> formatRanges(const AttributedString& string);

// The QTextFormat property that holds a run's Cursor (as an int).
constexpr int kCursorProperty = QTextFormat::UserProperty + 1;

}  // namespace AttributedStringAdapter
