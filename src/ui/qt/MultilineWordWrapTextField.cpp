#include "ui/qt/MultilineWordWrapTextField.h"

#include <QAbstractTextDocumentLayout>
#include <QEvent>
#include <QPainter>
#include <cmath>

#include "ui/qt/AttributedStringAdapter.h"

namespace {
// The width a field asks for before a layout gives it one.
constexpr int kPreferredWidth = 320;
}  // namespace

MultilineWordWrapTextField::MultilineWordWrapTextField(QWidget* parent) : QWidget(parent) {
    m_document.setDocumentMargin(0);
    m_document.setUndoRedoEnabled(false);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setFocusPolicy(Qt::NoFocus);
    rebuildDocument();
}

void MultilineWordWrapTextField::setStringValue(const std::string& value) {
    setAttributedStringValue(AttributedString(value, TextAttributes{}));
}

void MultilineWordWrapTextField::setAttributedStringValue(const AttributedString& value) {
    m_value = value;
    rebuildDocument();
}

void MultilineWordWrapTextField::setTextColor(const Color& color) {
    m_textColor = color;
    rebuildDocument();
}

void MultilineWordWrapTextField::rebuildDocument() {
    m_document.setDefaultFont(font());
    AttributedStringAdapter::fillDocument(m_document, m_value);
    QTextOption option = m_document.defaultTextOption();
    // Whatever the paragraph says about truncation, a multi-line field wraps.
    if (option.wrapMode() == QTextOption::NoWrap) {
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        m_document.setDefaultTextOption(option);
    }
    updateGeometry();
    update();
}

int MultilineWordWrapTextField::heightForWidth(int width) const {
    m_document.setTextWidth(std::max(1, width));
    return static_cast<int>(std::ceil(m_document.size().height()));
}

QSize MultilineWordWrapTextField::sizeHint() const {
    // As wide as the text on one line, up to the preferred width.
    m_document.setTextWidth(-1);
    const int natural = static_cast<int>(std::ceil(m_document.idealWidth()));
    const int width = std::min(natural, kPreferredWidth);
    return QSize(width, heightForWidth(width));
}

// Layouts ask heightForWidth for the height at the width they give.
QSize MultilineWordWrapTextField::minimumSizeHint() const {
    return QSize(0, 0);
}

void MultilineWordWrapTextField::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::TextAntialiasing);
    m_document.setTextWidth(width());
    QAbstractTextDocumentLayout::PaintContext context;
    context.palette = palette();
    if (m_textColor) {
        context.palette.setColor(QPalette::Text, AttributedStringAdapter::qColor(*m_textColor));
    }
    if (!isEnabled()) {
        QColor disabled = context.palette.color(QPalette::Disabled, QPalette::Text);
        context.palette.setColor(QPalette::Text, disabled);
    }
    context.clip = rect();
    m_document.documentLayout()->draw(&painter, context);
}

void MultilineWordWrapTextField::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange) rebuildDocument();
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::EnabledChange) update();
    QWidget::changeEvent(event);
}
