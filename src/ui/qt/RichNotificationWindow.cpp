#include "ui/qt/RichNotificationWindow.h"

#include <QEvent>
#include <QPainter>
#include <QPainterPath>
#include <QRegion>

#include "ui/qt/AttributedStringAdapter.h"
#include "ui/qt/RichNotificationView.h"

namespace {

// The card's outline: a shade darker than its ground.
const QColor kOutlineColor(0xC9, 0xCC, 0xD6);

QPainterPath roundedPath(const QRectF& rect, qreal radius) {
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

}  // namespace

RichNotificationWindow::RichNotificationWindow(QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint) {
    setAttribute(Qt::WA_ShowWithoutActivating, false);
    setAttribute(Qt::WA_DeleteOnClose, false);
    setFocusPolicy(Qt::StrongFocus);
}

RichNotificationView* RichNotificationWindow::contentView() const {
    return findChild<RichNotificationView*>(QString(), Qt::FindDirectChildrenOnly);
}

bool RichNotificationWindow::event(QEvent* event) {
    const bool handled = QWidget::event(event);
    if (event->type() == QEvent::WindowDeactivate && m_fnWindowDidResignKey) {
        // The handler may close the window; a copy outlives that.
        auto handler = m_fnWindowDidResignKey;
        handler();
    }
    return handled;
}

void RichNotificationWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF outline = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(kOutlineColor, 1));
    painter.setBrush(AttributedStringAdapter::qColor(RichNotificationView::backgroundColor()));
    painter.drawPath(roundedPath(outline, kCornerRadius - 0.5));
}

void RichNotificationWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    // Without a compositor a window cannot have soft edges, so the corners
    // are cut by a mask. The content view is cut a pixel inside it, so the
    // outline drawn above shows all round.
    setMask(QRegion(roundedPath(rect(), kCornerRadius).toFillPolygon().toPolygon()));
    if (RichNotificationView* view = contentView()) {
        const QRect inner = view->rect();
        view->setMask(QRegion(roundedPath(inner, kCornerRadius - 1).toFillPolygon().toPolygon()));
    }
}
