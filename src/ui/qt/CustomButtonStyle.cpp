#include "ui/qt/CustomButtonStyle.h"

#include "ui/qt/FontsFactory.h"

ParagraphStyle CustomButtonStyle::effectiveParagraphStyle() const {
    if (paragraphStyle) return *paragraphStyle;
    ParagraphStyle style = ParagraphStyle::defaultParagraphStyle();
    style.alignment = alignment;
    style.lineBreakMode = lineBreakMode;
    style.firstLineHeadIndent = headIndent;
    style.headIndent = headIndent;
    style.tailIndent = tailIndent;
    return style;
}

namespace CustomButtonStyles {

namespace {

Color hex(const char* value) {
    return Color::colorWithHexStringNotCacheable(value);
}

FontDescription face(FontCase name, double size) {
    return FontsFactory::fontDescriptionWithName(name, size);
}

// The families of looks the kinds are made from.

// The one action a screen is about: white on blue.
CustomButtonStyle primary(FontCase font, double size, double minWidth = 96) {
    CustomButtonStyle style;
    style.font = face(font, size);
    style.textColor = Color(1, 1, 1);
    style.alternateTextColor = Color(1, 1, 1, 0.85);
    style.horizontalСontentSizeIncrease = 36;
    style.headIndent = 10;
    style.tailIndent = -10;
    style.minContentWidth = minWidth;
    style.allowsDefaultTighteningForTruncation = true;
    style.alphaValueForDisabledState = 0.45;
    style.image = ButtonImage{"btn_blue", ButtonImage::Placement::Background};
    style.alternateImage = ButtonImage{"btn_blue_click", ButtonImage::Placement::Background};
    return style;
}

// Its neighbours: dark text on a white, outlined button.
CustomButtonStyle secondary(FontCase font, double size, double minWidth = 80) {
    CustomButtonStyle style;
    style.font = face(font, size);
    style.textColor = Color::welcomeTextColor();
    style.alternateTextColor = hex("#2F3136");
    style.horizontalСontentSizeIncrease = 32;
    style.headIndent = 10;
    style.tailIndent = -10;
    style.minContentWidth = minWidth;
    style.allowsDefaultTighteningForTruncation = true;
    style.alphaValueForDisabledState = 0.45;
    style.image = ButtonImage{"btn_white", ButtonImage::Placement::Background};
    style.alternateImage = ButtonImage{"btn_white_click", ButtonImage::Placement::Background};
    return style;
}

// Text that acts: no background, darker while pressed.
CustomButtonStyle text(FontCase font, double size, Color color, Color pressed,
                       TextAlignment alignment = TextAlignment::Center) {
    CustomButtonStyle style;
    style.font = face(font, size);
    style.textColor = color;
    style.alternateTextColor = pressed;
    style.horizontalСontentSizeIncrease = 4;
    style.alignment = alignment;
    style.alphaValueForDisabledState = 0.4;
    return style;
}

CustomButtonStyle link(FontCase font, double size) {
    return text(font, size, Color::welcomeButtonTextColor(), hex("#336ABB"));
}

CustomButtonStyle checkbox(FontCase font, double size, Color color) {
    CustomButtonStyle style = text(font, size, color, color, TextAlignment::Left);
    style.image = ButtonImage{"checkbox", ButtonImage::Placement::Leading};
    style.alternateImage = ButtonImage{"checkbox_checked", ButtonImage::Placement::Leading};
    return style;
}

// A hint of several lines, left aligned and wrapped.
CustomButtonStyle hint(bool withIcon) {
    CustomButtonStyle style = text(FontCase::HelveticaNeue, 12, Color::toolbarTitleTextColor(),
                                   Color::welcomeTextColor(), TextAlignment::Left);
    style.lineBreakMode = LineBreakMode::ByWordWrapping;
    style.horizontalСontentSizeIncrease = 0;
    if (withIcon) style.image = ButtonImage{"icon_hint", ButtonImage::Placement::Leading};
    return style;
}

constexpr const char* kNames[kCountOfCustomButtonKinds] = {
    "CustomFirstButtonInHelperMessage",
    "CustomSecondButtonInHelperMessage",
    "CustomFirstButtonInSelectedFiles",
    "CustomSecondButtonInSelectedFiles",
    "CustomCheckboxInSelectedFiles",
    "CustomRemoveButtonInBottomBar",
    "SupportDialogCheckbox",
    "SupportDialogCustomButton",
    "RateFeedbackCustomButton",
    "ConfirmAccessToHomeFolderButton",
    "RateFirstScreenButton",
    "ShowApplicationBottomBarButton",
    "RateMeButton",
    "OneClickUninstallButton",
    "NewItemBadgeButton",
    "ShowSystemDaemonsInAppDepExtensionsCustomButton",
    "ShowCoreExtensionsInAppListExtensionsCustomButton",
    "FullDiskAccesButton",
    "AppsListFilterCustomButton",
    "BackToScanResultsCustomButton",
    "SelectSeviceFilesCustomButton",
    "SelectAllFilesCustomButton",
    "ExtensionsSelectAllCustomButton",
    "ExtensionsSortTypeCustomButton",
    "UnremovedHintButton",
    "UnremovedHintButtonWithIcon",
    "WatcherOfferNoCustomButton",
    "WatcherOfferYesCustomButton",
    "LinkCustomButton",
};
static_assert(static_cast<int>(CustomButtonKind::LinkCustomButton) + 1 ==
              kCountOfCustomButtonKinds);

}  // namespace

CustomButtonStyle styleForKind(CustomButtonKind kind) {
    using K = CustomButtonKind;
    switch (kind) {
        // The notification window: the offer itself and the way out. Both
        // are 30 points high (their images) so they line up; the medium face
        // gives the offer a little more weight than its neighbour.
        case K::CustomFirstButtonInHelperMessage:
            return primary(FontCase::HelveticaNeueMedium, 13, 112);
        case K::CustomSecondButtonInHelperMessage:
            return secondary(FontCase::HelveticaNeue, 13, 80);

        case K::CustomFirstButtonInSelectedFiles:
        case K::OneClickUninstallButton:
            return primary(FontCase::OpenSansSemibold, 13);
        case K::CustomSecondButtonInSelectedFiles:
        case K::RateMeButton:
            return secondary(FontCase::OpenSans, 13);
        case K::CustomRemoveButtonInBottomBar:
            return primary(FontCase::OpenSansSemibold, 14, 120);
        case K::RateFirstScreenButton:
            return primary(FontCase::OpenSansSemibold, 14, 140);
        case K::ConfirmAccessToHomeFolderButton:
        case K::FullDiskAccesButton:
        case K::WatcherOfferYesCustomButton:
            return primary(FontCase::HelveticaNeueMedium, 13);
        case K::SupportDialogCustomButton:
        case K::WatcherOfferNoCustomButton:
            return secondary(FontCase::HelveticaNeue, 13);

        case K::CustomCheckboxInSelectedFiles:
            return checkbox(FontCase::OpenSans, 12, Color::selectedFilesCellTextColor());
        case K::SupportDialogCheckbox:
            return checkbox(FontCase::HelveticaNeue, 12, Color::welcomeTextColor());

        case K::RateFeedbackCustomButton:
        case K::SelectSeviceFilesCustomButton:
        case K::SelectAllFilesCustomButton:
        case K::ExtensionsSelectAllCustomButton:
            return link(FontCase::OpenSans, 12);
        case K::ShowSystemDaemonsInAppDepExtensionsCustomButton:
        case K::ShowCoreExtensionsInAppListExtensionsCustomButton:
            return link(FontCase::OpenSansSemibold, 12);
        case K::BackToScanResultsCustomButton: {
            CustomButtonStyle style = link(FontCase::OpenSans, 13);
            style.alignment = TextAlignment::Left;
            return style;
        }
        case K::LinkCustomButton: {
            CustomButtonStyle style = link(FontCase::HelveticaNeue, 13);
            style.underlineStyle = ButtonUnderlineStyle::Single;
            style.horizontalСontentSizeIncrease = 0;
            return style;
        }

        case K::ShowApplicationBottomBarButton: {
            // Etched into the bottom bar.
            CustomButtonStyle style =
                text(FontCase::HelveticaNeue, 12, Color::toolbarTitleTextColor(),
                     Color::welcomeTextColor());
            style.backgroundStyle = ButtonBackgroundStyle::Raised;
            return style;
        }
        case K::AppsListFilterCustomButton:
            return text(FontCase::OpenSansSemibold, 11, Color::appsListTableHeaderColor(),
                        Color::welcomeTextColor());
        case K::ExtensionsSortTypeCustomButton:
            return text(FontCase::OpenSansSemibold, 11, Color::selectedFilesHeaderCellTextColor(),
                        Color::welcomeTextColor());
        case K::NewItemBadgeButton: {
            CustomButtonStyle style =
                text(FontCase::OpenSansBold, 10, Color(1, 1, 1), Color(1, 1, 1, 0.85));
            style.image = ButtonImage{"btn_badge", ButtonImage::Placement::Background};
            style.horizontalСontentSizeIncrease = 14;
            style.headIndent = 5;
            style.tailIndent = -5;
            style.fontBaselineOffset = 0.5;
            return style;
        }
        case K::UnremovedHintButton:
            return hint(false);
        case K::UnremovedHintButtonWithIcon:
            return hint(true);
    }
    return CustomButtonStyle();
}

bool isCheckboxKind(CustomButtonKind kind) {
    return kind == CustomButtonKind::CustomCheckboxInSelectedFiles ||
           kind == CustomButtonKind::SupportDialogCheckbox;
}

const char* nameOfKind(CustomButtonKind kind) {
    const int index = static_cast<int>(kind);
    return index >= 0 && index < kCountOfCustomButtonKinds ? kNames[index] : "";
}

}  // namespace CustomButtonStyles
