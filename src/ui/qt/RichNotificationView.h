#pragma once

#include <QWidget>

#include "ui/Color.h"

// The notification window's content view: a flat #EAEBF0 ground under the
// controls, nothing else.
class RichNotificationView : public QWidget {
    Q_OBJECT

public:
    explicit RichNotificationView(QWidget* parent = nullptr);

    static Color backgroundColor();

protected:
    void paintEvent(QPaintEvent* event) override;
};
