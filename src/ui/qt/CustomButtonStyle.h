#pragma once

#include <optional>
#include <string>

#include "ui/Color.h"
#include "ui/FontDescription.h"
#include "ui/ParagraphStyle.h"

// An image of a button, by name (see ImagesFactory): either the background,
// stretched over the whole button by the slicing cell, or an icon drawn
// before the title (centred when there is no title).
struct ButtonImage {
    enum class Placement { Background, Leading };

    std::string name;
    Placement placement = Placement::Background;

    bool operator==(const ButtonImage&) const = default;
};

// How the title sits on its background, as the platform names it. Raised
// and Lowered draw the title embossed: a light copy one pixel below it
// (raised) or a dark one one pixel above (lowered). Normal and Emphasized
// draw it plainly; the colours of the style already suit the background.
enum class ButtonBackgroundStyle { Normal = 0, Emphasized = 1, Raised = 2, Lowered = 3 };

enum class ButtonUnderlineStyle { None = 0, Single = 1 };

// Everything that sets a CustomButton's look. Sizes are in points
// (device-independent pixels).
class CustomButtonStyle {
public:
    // The title's font and its colour when up, and when pressed (or checked).
    FontDescription font;
    Color textColor{0, 0, 0};
    Color alternateTextColor{0, 0, 0};
    // Moves the title up (positive) or down from where it is centred.
    double fontBaselineOffset = 0;
    // Added to the title's width for the intrinsic width: all the room left
    // and right of the title, indents included.
    double horizontalСontentSizeIncrease = 0;
    // The least intrinsic width.
    double minContentWidth = 0;
    // The title's box: this far from the leading edge, and from the trailing
    // edge (0 or less: -tailIndent from it).
    double headIndent = 0;
    double tailIndent = 0;
    TextAlignment alignment = TextAlignment::Center;
    // Truncating modes cut the title with "…" where it does not fit;
    // wrapping modes break it into lines; clipping cuts it at the edge.
    LineBreakMode lineBreakMode = LineBreakMode::ByTruncatingTail;
    // Whether a title that does not fit is first set a little tighter
    // (down to 95 % letter spacing) before it is truncated.
    bool allowsDefaultTighteningForTruncation = false;
    // The opacity of the whole button when it is disabled.
    double alphaValueForDisabledState = 0.5;
    // The images when up, and when pressed (or checked); none draws nothing.
    std::optional<ButtonImage> image;
    std::optional<ButtonImage> alternateImage;
    ButtonBackgroundStyle backgroundStyle = ButtonBackgroundStyle::Normal;
    ButtonUnderlineStyle underlineStyle = ButtonUnderlineStyle::None;
    // The title's paragraph layout; when unset it is made from alignment,
    // lineBreakMode, headIndent and tailIndent.
    std::optional<ParagraphStyle> paragraphStyle;

    // The paragraph style the title is laid out with.
    ParagraphStyle effectiveParagraphStyle() const;

    bool operator==(const CustomButtonStyle&) const = default;
};

// Every kind of styled button. Each kind is a CustomButton with the style
// that CustomButtonStyle::styleForKind gives it.
enum class CustomButtonKind {
    CustomFirstButtonInHelperMessage,
    CustomSecondButtonInHelperMessage,
    CustomFirstButtonInSelectedFiles,
    CustomSecondButtonInSelectedFiles,
    CustomCheckboxInSelectedFiles,
    CustomRemoveButtonInBottomBar,
    SupportDialogCheckbox,
    SupportDialogCustomButton,
    RateFeedbackCustomButton,
    ConfirmAccessToHomeFolderButton,
    RateFirstScreenButton,
    ShowApplicationBottomBarButton,
    RateMeButton,
    OneClickUninstallButton,
    NewItemBadgeButton,
    ShowSystemDaemonsInAppDepExtensionsCustomButton,
    ShowCoreExtensionsInAppListExtensionsCustomButton,
    FullDiskAccesButton,
    AppsListFilterCustomButton,
    BackToScanResultsCustomButton,
    SelectSeviceFilesCustomButton,
    SelectAllFilesCustomButton,
    ExtensionsSelectAllCustomButton,
    ExtensionsSortTypeCustomButton,
    UnremovedHintButton,
    UnremovedHintButtonWithIcon,
    WatcherOfferNoCustomButton,
    WatcherOfferYesCustomButton,
    LinkCustomButton,
};
inline constexpr int kCountOfCustomButtonKinds = 29;

namespace CustomButtonStyles {

// The style of a kind of button.
CustomButtonStyle styleForKind(CustomButtonKind kind);
// Whether the kind is a check box: it toggles, and shows its alternate
// image and text colour while checked.
bool isCheckboxKind(CustomButtonKind kind);
// The kind's name as written in the window resources.
const char* nameOfKind(CustomButtonKind kind);

}  // namespace CustomButtonStyles
