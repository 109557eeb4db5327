#pragma once

#include <QWidget>
#include <functional>

class RichNotificationView;

// The notification's window: frameless, above other windows, kept off the
// task bar (a tool window), yet able to take the keyboard focus. It draws the
// card's rounded outline around its content view and reports losing the
// focus to whoever set the handler.
class RichNotificationWindow : public QWidget {
    Q_OBJECT

public:
    static constexpr int kCornerRadius = 10;

    explicit RichNotificationWindow(QWidget* parent = nullptr);

    bool canBecomeKeyWindow() const { return true; }
    bool canBecomeMainWindow() const { return true; }

    // The RichNotificationView of the window's resource; null before it is set up.
    RichNotificationView* contentView() const;

    // Called each time the window stops being the active window.
    void setWindowDidResignKeyHandler(std::function<void()> handler) {
        m_fnWindowDidResignKey = std::move(handler);
    }

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    std::function<void()> m_fnWindowDidResignKey;
};
