#include "ui/qt/GrayTextButton.h"

#include <QStyleOptionButton>
#include <QStylePainter>

#include "ui/qt/AttributedStringAdapter.h"

GrayTextButton::GrayTextButton(QWidget* parent) : QPushButton(parent) {}

void GrayTextButton::setTitle(const std::string& title) {
    setText(QString::fromStdString(title));
    TextAttributes attributes;
    attributes.foregroundColor = grayColor();
    m_attributedTitle = AttributedString(title, attributes);
    m_nTitleBaselineOffset = kTitleBaselineOffset;
    update();
}

void GrayTextButton::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    const QString title = option.text;
    // The style draws the bezel (and focus); the title is ours.
    option.text.clear();
    painter.drawControl(QStyle::CE_PushButton, option);
    if (title.isEmpty()) return;

    QColor color = palette().color(QPalette::ButtonText);
    if (!m_attributedTitle.runs().empty()) {
        const TextAttributes& attributes = m_attributedTitle.runs().front().attributes;
        if (attributes.foregroundColor) {
            color = AttributedStringAdapter::qColor(*attributes.foregroundColor);
        }
    }
    if (!isEnabled()) color.setAlphaF(color.alphaF() * 0.5f);
    const QRect box = style()->subElementRect(QStyle::SE_PushButtonContents, &option, this);
    painter.setPen(color);
    painter.drawText(box.translated(0, -static_cast<int>(m_nTitleBaselineOffset)),
                     Qt::AlignCenter | Qt::TextShowMnemonic, title);
}
