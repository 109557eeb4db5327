#pragma once

#include <QTextDocument>
#include <QWidget>
#include <optional>
#include <string>

#include "ui/AttributedString.h"

// A label of any number of lines that wraps at word boundaries and shows an
// attributed string (or a plain one in its own font and colour). Its height
// follows its width, so layouts give it exactly the lines it needs. It draws
// no background and takes no focus.
class MultilineWordWrapTextField : public QWidget {
    Q_OBJECT

public:
    explicit MultilineWordWrapTextField(QWidget* parent = nullptr);

    // Plain text in the field's font and text colour.
    void setStringValue(const std::string& value);
    std::string stringValue() const { return m_value.string(); }

    void setAttributedStringValue(const AttributedString& value);
    const AttributedString& attributedStringValue() const { return m_value; }

    // The colour of text that sets none; the palette's text colour until set.
    void setTextColor(const Color& color);
    std::optional<Color> textColor() const { return m_textColor; }

    // What is drawn (for tests and accessibility).
    const QTextDocument& document() const { return m_document; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void rebuildDocument();

    AttributedString m_value;
    std::optional<Color> m_textColor;
    // Laid out at the width asked about last, hence mutable.
    mutable QTextDocument m_document;
};
