#pragma once

#include <QPushButton>
#include <string>

#include "ui/AttributedString.h"

// A standard push button whose title is drawn in the platform's gray and
// raised by kTitleBaselineOffset points above where it would sit.
class GrayTextButton : public QPushButton {
    Q_OBJECT

public:
    static constexpr double kTitleBaselineOffset = 2.0;

    explicit GrayTextButton(QWidget* parent = nullptr);

    std::string title() const { return text().toStdString(); }
    // Sets the plain title, then the attributed one: the title in gray over
    // its whole length, with the baseline offset beside it.
    void setTitle(const std::string& title);
    const AttributedString& attributedTitle() const { return m_attributedTitle; }
    double titleBaselineOffset() const { return m_nTitleBaselineOffset; }

    // The platform's gray: 50 % white.
    static Color grayColor() { return Color(0.5, 0.5, 0.5); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    AttributedString m_attributedTitle;
    double m_nTitleBaselineOffset = 0;
};
