#include "ui/qt/RichNotificationView.h"

#include <QPaintEvent>
#include <QPainter>

#include "ui/qt/AttributedStringAdapter.h"

RichNotificationView::RichNotificationView(QWidget* parent) : QWidget(parent) {
    // Every pixel is painted here, so Qt need not clear it first.
    setAttribute(Qt::WA_OpaquePaintEvent);
}

Color RichNotificationView::backgroundColor() {
    return Color::properColorWithRed(0.91764706f, 0.92156863f, 0.9411765f, 1.0f);
}

void RichNotificationView::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.fillRect(event->rect(), AttributedStringAdapter::qColor(backgroundColor()));
}
