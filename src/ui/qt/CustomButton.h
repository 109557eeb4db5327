#pragma once

#include <QAbstractButton>
#include <memory>
#include <optional>
#include <string>

#include "ui/MarkupStyler.h"
#include "ui/qt/CustomButtonStyle.h"
#include "ui/qt/MojaveCompatibleSlicingNSButtonCell.h"

// A button drawn entirely from a CustomButtonStyle: its background image
// through the slicing cell, an optional leading icon, and its title as styled
// text. The title is markup (a "<b>" in it is styled by whatever the caller
// registers on the stylers; text without tags shows as written), rendered by
// normalMarkupStyler when up and by alternateMarkupStyler when pressed or, for
// a check box, checked. There is no hover look. A disabled button is drawn at
// the style's alphaValueForDisabledState; with clickEnabled off it looks
// normal but ignores the mouse and keys.
class CustomButton : public QAbstractButton {
    Q_OBJECT

public:
    // A button with the plain default style (system font, no images).
    explicit CustomButton(QWidget* parent = nullptr);
    CustomButton(CustomButtonStyle style, QWidget* parent = nullptr);

    std::string title() const { return text().toStdString(); }
    void setTitle(const std::string& title);

    // Builds the stylers from the style, once; the constructors call it.
    void awakeFromNib();
    bool isLoaded() const { return m_bIsLoaded; }

    // (Named so as not to hide QWidget::style().) Setting a style rebuilds
    // both stylers, dropping tag styles added to them.
    const CustomButtonStyle& buttonStyle() const { return m_style; }
    void setButtonStyle(CustomButtonStyle style);
    void setImage(std::optional<ButtonImage> image);
    void setAlternateImage(std::optional<ButtonImage> image);

    MarkupStyler& normalMarkupStyler() { return *m_pNormalMarkupStyler; }
    MarkupStyler& alternateMarkupStyler() { return *m_pAlternateMarkupStyler; }
    // Call after adding tag styles to a styler, so the size is measured anew.
    void markupStylersChanged();

    bool clickEnabled() const { return m_bClickEnabled; }
    void setClickEnabled(bool enabled) { m_bClickEnabled = enabled; }

    // Up: normal; pressed (or checked, for a checkable button): alternate.
    bool showsAlternateState() const { return isCheckable() ? isChecked() : isDown(); }
    // The title as the current state draws it.
    AttributedString attributedTitle() const;

    // The title's text as drawn at the current size: after a tighter
    // spacing was tried, truncated with "…" where the style truncates.
    QString displayedTitle() const;

    // The size the button asks for: the title's one-line width plus the
    // style's horizontal increase (and icon), at least minContentWidth; the
    // background image's height, or the title's. Kept until the title, the
    // style or the stylers change.
    QSize intrinsicContentSize() const;
    const std::optional<QSize>& intrinsicContentSizeCached() const {
        return m_intrinsicContentSizeCached;
    }
    QSize sizeHint() const override { return intrinsicContentSize(); }
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override;
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    // mouseDown / mouseUp
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void rebuildMarkupStylers();
    // Where the title goes: inside the indents, after a leading icon.
    QRectF titleBox() const;
    void invalidateIntrinsicContentSize();
    const ButtonImage* currentImage(ButtonImage::Placement placement) const;
    QSize leadingImageSize() const;
    bool wraps() const;

    bool m_bIsLoaded = false;
    CustomButtonStyle m_style;
    std::shared_ptr<MarkupStyler> m_pNormalMarkupStyler;
    std::shared_ptr<MarkupStyler> m_pAlternateMarkupStyler;
    bool m_bClickEnabled = true;
    mutable std::optional<QSize> m_intrinsicContentSizeCached;
    mutable QString m_sIntrinsicContentSizeTitle;
    MojaveCompatibleSlicingNSButtonCell m_cell;
};

// A kind of button: a CustomButton that selects the kind's style (and, for
// the check boxes, toggles).
template <CustomButtonKind Kind>
class CustomButtonOfKind : public CustomButton {
public:
    explicit CustomButtonOfKind(QWidget* parent = nullptr)
        : CustomButton(CustomButtonStyles::styleForKind(Kind), parent) {
        setCheckable(CustomButtonStyles::isCheckboxKind(Kind));
    }
    static constexpr CustomButtonKind kind = Kind;
};

using CustomFirstButtonInHelperMessage =
    CustomButtonOfKind<CustomButtonKind::CustomFirstButtonInHelperMessage>;
using CustomSecondButtonInHelperMessage =
    CustomButtonOfKind<CustomButtonKind::CustomSecondButtonInHelperMessage>;
using CustomFirstButtonInSelectedFiles =
    CustomButtonOfKind<CustomButtonKind::CustomFirstButtonInSelectedFiles>;
using CustomSecondButtonInSelectedFiles =
    CustomButtonOfKind<CustomButtonKind::CustomSecondButtonInSelectedFiles>;
using CustomCheckboxInSelectedFiles =
    CustomButtonOfKind<CustomButtonKind::CustomCheckboxInSelectedFiles>;
using CustomRemoveButtonInBottomBar =
    CustomButtonOfKind<CustomButtonKind::CustomRemoveButtonInBottomBar>;
using SupportDialogCheckbox = CustomButtonOfKind<CustomButtonKind::SupportDialogCheckbox>;
using SupportDialogCustomButton = CustomButtonOfKind<CustomButtonKind::SupportDialogCustomButton>;
using RateFeedbackCustomButton = CustomButtonOfKind<CustomButtonKind::RateFeedbackCustomButton>;
using ConfirmAccessToHomeFolderButton =
    CustomButtonOfKind<CustomButtonKind::ConfirmAccessToHomeFolderButton>;
using RateFirstScreenButton = CustomButtonOfKind<CustomButtonKind::RateFirstScreenButton>;
using ShowApplicationBottomBarButton =
    CustomButtonOfKind<CustomButtonKind::ShowApplicationBottomBarButton>;
using RateMeButton = CustomButtonOfKind<CustomButtonKind::RateMeButton>;
using OneClickUninstallButton = CustomButtonOfKind<CustomButtonKind::OneClickUninstallButton>;
using NewItemBadgeButton = CustomButtonOfKind<CustomButtonKind::NewItemBadgeButton>;
using ShowSystemDaemonsInAppDepExtensionsCustomButton =
    CustomButtonOfKind<CustomButtonKind::ShowSystemDaemonsInAppDepExtensionsCustomButton>;
using ShowCoreExtensionsInAppListExtensionsCustomButton =
    CustomButtonOfKind<CustomButtonKind::ShowCoreExtensionsInAppListExtensionsCustomButton>;
using FullDiskAccesButton = CustomButtonOfKind<CustomButtonKind::FullDiskAccesButton>;
using AppsListFilterCustomButton = CustomButtonOfKind<CustomButtonKind::AppsListFilterCustomButton>;
using BackToScanResultsCustomButton =
    CustomButtonOfKind<CustomButtonKind::BackToScanResultsCustomButton>;
using SelectSeviceFilesCustomButton =
    CustomButtonOfKind<CustomButtonKind::SelectSeviceFilesCustomButton>;
using SelectAllFilesCustomButton = CustomButtonOfKind<CustomButtonKind::SelectAllFilesCustomButton>;
using ExtensionsSelectAllCustomButton =
    CustomButtonOfKind<CustomButtonKind::ExtensionsSelectAllCustomButton>;
using ExtensionsSortTypeCustomButton =
    CustomButtonOfKind<CustomButtonKind::ExtensionsSortTypeCustomButton>;
using UnremovedHintButton = CustomButtonOfKind<CustomButtonKind::UnremovedHintButton>;
using UnremovedHintButtonWithIcon =
    CustomButtonOfKind<CustomButtonKind::UnremovedHintButtonWithIcon>;
using WatcherOfferNoCustomButton = CustomButtonOfKind<CustomButtonKind::WatcherOfferNoCustomButton>;
using WatcherOfferYesCustomButton =
    CustomButtonOfKind<CustomButtonKind::WatcherOfferYesCustomButton>;
using LinkCustomButton = CustomButtonOfKind<CustomButtonKind::LinkCustomButton>;
