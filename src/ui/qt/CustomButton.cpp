#include "ui/qt/CustomButton.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTextLayout>
#include <cmath>

#include "ui/qt/AttributedStringAdapter.h"
#include "ui/qt/FontsFactory.h"
#include "ui/qt/ImagesFactory.h"

namespace {

constexpr qreal kUnlimitedWidth = 1e6;
// Between a leading icon and the title.
constexpr int kIconSpacing = 6;
// The letter spacings tried before a title is truncated, tightest last.
constexpr int kTighterSpacings[] = {98, 96, 95};

bool truncates(LineBreakMode mode) {
    return mode == LineBreakMode::ByTruncatingHead || mode == LineBreakMode::ByTruncatingTail ||
           mode == LineBreakMode::ByTruncatingMiddle;
}

// A title ready to lay out: its text and formats, which truncation and
// tightening rewrite.
struct StyledTitle {
    QString text;
    QList<QTextLayout::FormatRange> formats;
    QFont font;
};

StyledTitle styledTitle(const AttributedString& title, const CustomButtonStyle& style) {
    StyledTitle result;
    // Lines of a title break where it says; QTextLayout breaks at U+2028.
    result.text = QString::fromStdString(title.string());
    result.text.replace(QLatin1Char('\n'), QChar::LineSeparator);
    result.formats = AttributedStringAdapter::formatRanges(title);
    result.font = FontsFactory::GetInstance().fontForDescription(style.font);
    if (style.underlineStyle == ButtonUnderlineStyle::Single) {
        for (auto& range : result.formats) range.format.setFontUnderline(true);
    }
    return result;
}

StyledTitle withLetterSpacing(StyledTitle title, int percent) {
    for (auto& range : title.formats) {
        range.format.setFontLetterSpacingType(QFont::PercentageSpacing);
        range.format.setFontLetterSpacing(percent);
    }
    return title;
}

// The title with only `keep` of its characters and "…" in place of the rest,
// cut where the line break mode says. Formats move with their text; the
// ellipsis takes the format of the text next to it.
StyledTitle truncated(const StyledTitle& title, LineBreakMode mode, qsizetype keep) {
    const QString& text = title.text;
    const qsizetype length = text.size();
    qsizetype headLength = keep;
    qsizetype tailLength = 0;
    if (mode == LineBreakMode::ByTruncatingHead) {
        headLength = 0;
        tailLength = keep;
    } else if (mode == LineBreakMode::ByTruncatingMiddle) {
        headLength = (keep + 1) / 2;
        tailLength = keep / 2;
    }
    // Never split a surrogate pair.
    if (headLength > 0 && headLength < length && text.at(headLength).isLowSurrogate()) --headLength;
    qsizetype tailStart = length - tailLength;
    if (tailStart > 0 && tailStart < length && text.at(tailStart).isLowSurrogate()) ++tailStart;

    StyledTitle result;
    result.font = title.font;
    result.text = text.left(headLength) + QChar(0x2026) + text.mid(tailStart);
    auto copyRanges = [&](qsizetype from, qsizetype to, qsizetype shift) {
        for (const auto& range : title.formats) {
            const qsizetype start = std::max<qsizetype>(range.start, from);
            const qsizetype end = std::min<qsizetype>(range.start + range.length, to);
            if (start >= end) continue;
            QTextLayout::FormatRange moved = range;
            moved.start = static_cast<int>(start + shift);
            moved.length = static_cast<int>(end - start);
            result.formats.append(moved);
        }
    };
    copyRanges(0, headLength, 0);
    const qsizetype next = headLength > 0 ? headLength - 1 : std::min(tailStart, length - 1);
    for (const auto& range : title.formats) {
        if (next >= range.start && next < range.start + range.length) {
            QTextLayout::FormatRange ellipsis = range;
            ellipsis.start = static_cast<int>(headLength);
            ellipsis.length = 1;
            result.formats.append(ellipsis);
            break;
        }
    }
    copyRanges(tailStart, length, headLength + 1 - tailStart);
    return result;
}

// The laid-out lines of a title, stacked from y = 0.
struct LaidOut {
    std::unique_ptr<QTextLayout> layout;
    qreal width = 0;
    qreal height = 0;
};

LaidOut layOut(const StyledTitle& title, QTextOption::WrapMode wrap, qreal width) {
    LaidOut result;
    result.layout = std::make_unique<QTextLayout>(title.text, title.font);
    result.layout->setFormats(title.formats);
    QTextOption option;
    option.setWrapMode(wrap);
    option.setUseDesignMetrics(true);
    result.layout->setTextOption(option);
    result.layout->beginLayout();
    for (QTextLine line = result.layout->createLine(); line.isValid();
         line = result.layout->createLine()) {
        line.setLineWidth(width);
        line.setPosition(QPointF(0, result.height));
        result.height += line.height();
        result.width = std::max(result.width, line.naturalTextWidth());
    }
    result.layout->endLayout();
    return result;
}

// The title laid out in `available` points: wrapped when the style wraps;
// else on one line, set tighter or truncated when it does not fit and the
// style truncates.
LaidOut fitTitle(const StyledTitle& title, const CustomButtonStyle& style, qreal available) {
    const ParagraphStyle paragraph = style.effectiveParagraphStyle();
    const QTextOption::WrapMode wrap = AttributedStringAdapter::wrapMode(paragraph.lineBreakMode);
    if (wrap != QTextOption::NoWrap) return layOut(title, wrap, available);

    LaidOut laidOut = layOut(title, QTextOption::NoWrap, kUnlimitedWidth);
    if (laidOut.width <= available || !truncates(paragraph.lineBreakMode)) return laidOut;
    if (style.allowsDefaultTighteningForTruncation) {
        for (int spacing : kTighterSpacings) {
            LaidOut tighter =
                layOut(withLetterSpacing(title, spacing), QTextOption::NoWrap, kUnlimitedWidth);
            if (tighter.width <= available) return tighter;
        }
    }
    // The most characters that fit beside the ellipsis (at least none).
    laidOut =
        layOut(truncated(title, paragraph.lineBreakMode, 0), QTextOption::NoWrap, kUnlimitedWidth);
    qsizetype low = 0;
    qsizetype high = title.text.size() - 1;
    while (low < high) {
        const qsizetype middle = (low + high + 1) / 2;
        LaidOut candidate = layOut(truncated(title, paragraph.lineBreakMode, middle),
                                   QTextOption::NoWrap, kUnlimitedWidth);
        if (candidate.width <= available) {
            low = middle;
            laidOut = std::move(candidate);
        } else {
            high = middle - 1;
        }
    }
    return laidOut;
}

}  // namespace

CustomButton::CustomButton(QWidget* parent) : CustomButton(CustomButtonStyle(), parent) {}

CustomButton::CustomButton(CustomButtonStyle style, QWidget* parent)
    : QAbstractButton(parent),
      m_style(std::move(style)),
      m_pNormalMarkupStyler(std::make_shared<MarkupStyler>()),
      m_pAlternateMarkupStyler(std::make_shared<MarkupStyler>()) {
    // Like the platform's buttons, these take no keyboard focus of their own.
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_Hover, false);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    awakeFromNib();
}

void CustomButton::awakeFromNib() {
    if (m_bIsLoaded) return;
    rebuildMarkupStylers();
    m_bIsLoaded = true;
}

void CustomButton::rebuildMarkupStylers() {
    const ParagraphStyle paragraph = m_style.effectiveParagraphStyle();
    const std::string tag = MarkupStyler::DefaultTag();
    m_pNormalMarkupStyler = std::make_shared<MarkupStyler>();
    m_pNormalMarkupStyler->setFont(m_style.font, tag);
    m_pNormalMarkupStyler->setForegroundColor(m_style.textColor, tag);
    m_pNormalMarkupStyler->setParagraphStyle(paragraph, tag);
    m_pAlternateMarkupStyler = std::make_shared<MarkupStyler>();
    m_pAlternateMarkupStyler->setFont(m_style.font, tag);
    m_pAlternateMarkupStyler->setForegroundColor(m_style.alternateTextColor, tag);
    m_pAlternateMarkupStyler->setParagraphStyle(paragraph, tag);
    invalidateIntrinsicContentSize();
}

void CustomButton::setTitle(const std::string& title) {
    setText(QString::fromStdString(title));
    invalidateIntrinsicContentSize();
}

void CustomButton::setButtonStyle(CustomButtonStyle style) {
    m_style = std::move(style);
    rebuildMarkupStylers();
}

void CustomButton::setImage(std::optional<ButtonImage> image) {
    m_style.image = std::move(image);
    invalidateIntrinsicContentSize();
}

void CustomButton::setAlternateImage(std::optional<ButtonImage> image) {
    m_style.alternateImage = std::move(image);
    update();
}

void CustomButton::markupStylersChanged() {
    invalidateIntrinsicContentSize();
}

void CustomButton::invalidateIntrinsicContentSize() {
    m_intrinsicContentSizeCached.reset();
    updateGeometry();
    update();
}

AttributedString CustomButton::attributedTitle() const {
    const MarkupStyler& styler =
        showsAlternateState() ? *m_pAlternateMarkupStyler : *m_pNormalMarkupStyler;
    return styler.convertString(text().toStdString());
}

const ButtonImage* CustomButton::currentImage(ButtonImage::Placement placement) const {
    const std::optional<ButtonImage>& alternate = m_style.alternateImage;
    if (showsAlternateState() && alternate && alternate->placement == placement) return &*alternate;
    if (m_style.image && m_style.image->placement == placement) return &*m_style.image;
    return nullptr;
}

QSize CustomButton::leadingImageSize() const {
    const ButtonImage* image = currentImage(ButtonImage::Placement::Leading);
    return image ? ImagesFactory::GetInstance().sizeOfImageNamed(image->name) : QSize();
}

bool CustomButton::wraps() const {
    const LineBreakMode mode = m_style.effectiveParagraphStyle().lineBreakMode;
    return mode == LineBreakMode::ByWordWrapping || mode == LineBreakMode::ByCharWrapping;
}

QSize CustomButton::intrinsicContentSize() const {
    if (m_intrinsicContentSizeCached && m_sIntrinsicContentSizeTitle == text()) {
        return *m_intrinsicContentSizeCached;
    }
    const LaidOut title =
        layOut(styledTitle(m_pNormalMarkupStyler->convertString(text().toStdString()), m_style),
               QTextOption::NoWrap, kUnlimitedWidth);
    const QSize icon = leadingImageSize();
    // The increase is all the room beside the title, indents included.
    qreal width = std::ceil(title.width) + m_style.horizontalСontentSizeIncrease;
    if (!icon.isEmpty()) width += icon.width() + (text().isEmpty() ? 0 : kIconSpacing);
    width = std::max(width, m_style.minContentWidth);

    qreal height = std::ceil(title.height);
    height = std::max<qreal>(height, icon.height());
    if (const ButtonImage* background = currentImage(ButtonImage::Placement::Background)) {
        const QSize size = ImagesFactory::GetInstance().sizeOfImageNamed(background->name);
        if (!size.isEmpty()) height = size.height();
    }
    m_intrinsicContentSizeCached =
        QSize(static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(height)));
    m_sIntrinsicContentSizeTitle = text();
    return *m_intrinsicContentSizeCached;
}

QSize CustomButton::minimumSizeHint() const {
    // A truncating or wrapping title may be given less than it asks for.
    if (truncates(m_style.effectiveParagraphStyle().lineBreakMode) || wraps()) {
        return QSize(static_cast<int>(m_style.minContentWidth), intrinsicContentSize().height());
    }
    return intrinsicContentSize();
}

bool CustomButton::hasHeightForWidth() const {
    return wraps();
}

int CustomButton::heightForWidth(int width) const {
    if (!wraps()) return intrinsicContentSize().height();
    const ParagraphStyle paragraph = m_style.effectiveParagraphStyle();
    const QSize icon = leadingImageSize();
    qreal available = width - paragraph.headIndent - std::max(0.0, -paragraph.tailIndent);
    if (!icon.isEmpty()) available -= icon.width() + kIconSpacing;
    const LaidOut title = layOut(
        styledTitle(m_pNormalMarkupStyler->convertString(text().toStdString()), m_style),
        AttributedStringAdapter::wrapMode(paragraph.lineBreakMode), std::max(1.0, available));
    return std::max(static_cast<int>(std::ceil(title.height)), icon.height());
}

QRectF CustomButton::titleBox() const {
    const ParagraphStyle paragraph = m_style.effectiveParagraphStyle();
    const QRectF bounds(rect());
    QRectF box = bounds;
    box.setLeft(box.left() + paragraph.headIndent);
    // A positive tail indent is the line length from the leading edge.
    if (paragraph.tailIndent > 0) {
        box.setRight(std::min(box.right(), bounds.left() + paragraph.tailIndent));
    } else {
        box.setRight(box.right() + paragraph.tailIndent);
    }
    const QSize icon = leadingImageSize();
    if (!icon.isEmpty()) box.setLeft(box.left() + icon.width() + kIconSpacing);
    return box;
}

QString CustomButton::displayedTitle() const {
    if (text().isEmpty()) return QString();
    const QRectF box = titleBox();
    if (box.width() <= 0) return QString();
    LaidOut laidOut = fitTitle(styledTitle(attributedTitle(), m_style), m_style, box.width());
    QString shown = laidOut.layout->text();
    shown.replace(QChar::LineSeparator, QLatin1Char('\n'));
    return shown;
}

void CustomButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    if (!isEnabled()) painter.setOpacity(m_style.alphaValueForDisabledState);

    const QRect bounds = rect();
    if (const ButtonImage* background = currentImage(ButtonImage::Placement::Background)) {
        m_cell.drawImage(painter, background->name, bounds);
    }

    const ParagraphStyle paragraph = m_style.effectiveParagraphStyle();
    QRectF box = titleBox();
    const QSize iconSize = leadingImageSize();
    if (!iconSize.isEmpty()) {
        const ButtonImage* icon = currentImage(ButtonImage::Placement::Leading);
        const QPixmap pixmap =
            ImagesFactory::GetInstance().pixmapOfImageNamed(icon->name, devicePixelRatioF());
        // Alone it sits in the middle; before a title, at the title box's start.
        const qreal x = text().isEmpty() ? (bounds.width() - iconSize.width()) / 2.0
                                         : box.left() - iconSize.width() - kIconSpacing;
        const qreal y = bounds.top() + (bounds.height() - iconSize.height()) / 2.0;
        painter.drawPixmap(QPointF(std::round(x), std::round(y)), pixmap);
    }
    if (text().isEmpty() || box.width() <= 0) return;

    const qreal available = box.width();
    LaidOut laidOut = fitTitle(styledTitle(attributedTitle(), m_style), m_style, available);
    // Clipping (and anything still too long) is cut at the box's edge.
    if (!wraps()) painter.setClipRect(box);

    // Centred vertically on whole pixels, moved up by the baseline offset.
    const qreal top = std::round(bounds.top() + (bounds.height() - laidOut.height) / 2.0 -
                                 m_style.fontBaselineOffset);
    for (int i = 0; i < laidOut.layout->lineCount(); ++i) {
        QTextLine line = laidOut.layout->lineAt(i);
        const qreal slack = available - line.naturalTextWidth();
        qreal x = 0;
        switch (paragraph.alignment) {
            case TextAlignment::Center:
                x = slack / 2;
                break;
            case TextAlignment::Right:
                x = slack;
                break;
            default:
                x = layoutDirection() == Qt::RightToLeft &&
                            paragraph.alignment == TextAlignment::Natural
                        ? slack
                        : 0;
                break;
        }
        line.setPosition(
            QPointF(std::round(box.left() + std::max<qreal>(0, x)), line.position().y()));
    }

    if (m_style.backgroundStyle == ButtonBackgroundStyle::Raised ||
        m_style.backgroundStyle == ButtonBackgroundStyle::Lowered) {
        const bool raised = m_style.backgroundStyle == ButtonBackgroundStyle::Raised;
        QTextLayout::FormatRange emboss;
        emboss.start = 0;
        emboss.length = static_cast<int>(laidOut.layout->text().size());
        emboss.format.setForeground(raised ? QColor(255, 255, 255, 160) : QColor(0, 0, 0, 70));
        laidOut.layout->draw(&painter, QPointF(0, top + (raised ? 1 : -1)), {emboss});
    }
    laidOut.layout->draw(&painter, QPointF(0, top));
}

void CustomButton::mousePressEvent(QMouseEvent* event) {
    if (!m_bClickEnabled) {
        event->ignore();
        return;
    }
    QAbstractButton::mousePressEvent(event);
}

void CustomButton::mouseReleaseEvent(QMouseEvent* event) {
    if (!m_bClickEnabled) {
        event->ignore();
        return;
    }
    QAbstractButton::mouseReleaseEvent(event);
}

void CustomButton::keyPressEvent(QKeyEvent* event) {
    if (!m_bClickEnabled) {
        event->ignore();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

void CustomButton::changeEvent(QEvent* event) {
    if (event->type() == QEvent::EnabledChange) update();
    if (event->type() == QEvent::LayoutDirectionChange) update();
    QAbstractButton::changeEvent(event);
}
