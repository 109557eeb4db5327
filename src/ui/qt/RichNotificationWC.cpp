#include "ui/qt/RichNotificationWC.h"

#include <QLabel>
#include <QLayout>
#include <QLoggingCategory>
#include <QPropertyAnimation>

#include "ui/RichNotificationWCLocalizable.h"
#include "ui/qt/AttributedStringAdapter.h"
#include "ui/qt/CustomButton.h"
#include "ui/qt/FontsFactory.h"
#include "ui/qt/ImagesFactory.h"
#include "ui/qt/MultilineWordWrapTextField.h"
#include "ui/qt/RichNotificationView.h"
#include "ui/qt/RichNotificationWindow.h"
#include "ui_RichNotificationWC.h"

// Normal events of the notification window (SWEEPWELL_LOG=debug).
Q_LOGGING_CATEGORY(lcNotification, "sweepwell.notification")

namespace {

Color textColor() {
    return Color::properColorWithRed(0.29803923f, 0.30588236f, 0.32941177f, 1.0f);
}

}  // namespace

std::shared_ptr<RichNotificationWC> RichNotificationWC::create(Environment environment) {
    std::shared_ptr<RichNotificationWC> controller(new RichNotificationWC(std::move(environment)));
    controller->m_pOffer->setView(controller);
    controller->windowDidLoad();
    return controller;
}

RichNotificationWC::RichNotificationWC(Environment environment)
    : m_environment(std::move(environment)),
      m_pOffer(RemovalOffer::create(std::move(m_environment.offer))),
      m_pWindow(std::make_unique<RichNotificationWindow>()),
      m_pUi(std::make_unique<Ui::RichNotificationWC>()) {
    m_pUi->setupUi(m_pWindow.get());
    m_pTitleLabel = m_pUi->m_pTitleLabel;
    m_pSubtitleLabel = m_pUi->m_pSubtitleLabel;
    m_pHelpButton = m_pUi->m_pHelpButton;
    m_pCompleteUninstallButton = m_pUi->completeUninstallButton;
    m_pCloseButton = m_pUi->closeButton;
}

RichNotificationWC::~RichNotificationWC() {
    // The window goes first; nothing of it may call back into a controller
    // that is going away.
    if (m_pWindow) m_pWindow->setWindowDidResignKeyHandler(nullptr);
}

const LocalizedStrings& RichNotificationWC::texts() const {
    return m_environment.texts ? *m_environment.texts : RichNotificationWCLocalizable::mainTable();
}

void RichNotificationWC::windowDidLoad() {
    const std::weak_ptr<RichNotificationWC> weakSelf = weak_from_this();
    auto action = [weakSelf](void (RichNotificationWC::*operation)()) {
        return [weakSelf, operation] {
            if (auto self = weakSelf.lock()) ((*self).*operation)();
        };
    };

    // 1. Hear of the window losing the focus.
    m_pWindow->setWindowDidResignKeyHandler(action(&RichNotificationWC::windowDidResignKey));
    // 2.
    updateText();
    // 3. The title: dark gray, in the medium face so it leads the card.
    m_pTitleLabel->setTextColor(textColor());
    m_pTitleLabel->setFont(FontsFactory::fontWithName(FontCase::HelveticaNeueMedium, 14));
    // 4.
    m_pHelpButton->setImage(ButtonImage{"btn_help_Sweepwell", ButtonImage::Placement::Leading});
    m_pHelpButton->setAlternateImage(
        ButtonImage{"btn_help_Sweepwell_click", ButtonImage::Placement::Leading});
    // 5.
    m_pMarkupStyler = generateDefaultMarkupStyler();
    // 6.
    m_pCloseButton->setTitle(RichNotificationWCLocalizable::closeButtonTitle(texts()));
    m_pCompleteUninstallButton->setTitle(
        RichNotificationWCLocalizable::completeUninstallButtonTitle(texts()));
    // 7.
    m_pTitleLabel->setStringValue(
        RichNotificationWCLocalizable::titleWithAppName(m_environment.mainAppName, texts()));

    // The subtitle's own font is what its runs fall back to.
    m_pSubtitleLabel->setFont(FontsFactory::fontWithName(FontCase::HelveticaNeue, 13));
    m_pUi->m_pIconView->setPixmap(ImagesFactory::GetInstance().pixmapOfImageNamed(
        "icon_notification", m_pWindow->devicePixelRatioF(), QSize(40, 40)));

    QObject::connect(m_pHelpButton, &QAbstractButton::clicked, m_pWindow.get(),
                     action(&RichNotificationWC::onShowHelp));
    QObject::connect(m_pCloseButton, &QAbstractButton::clicked, m_pWindow.get(),
                     action(&RichNotificationWC::onNotificationClose));
    QObject::connect(m_pCompleteUninstallButton, &QAbstractButton::clicked, m_pWindow.get(),
                     action(&RichNotificationWC::onSelectCompleteUninstall));

    m_pFadeIn = new QPropertyAnimation(m_pWindow.get(), "windowOpacity", m_pWindow.get());
    m_pFadeIn->setDuration(static_cast<int>(kFadeInDuration.count()));
    m_pFadeIn->setStartValue(0.0);
    m_pFadeIn->setEndValue(1.0);
    QObject::connect(m_pFadeIn, &QPropertyAnimation::finished, m_pWindow.get(), [this] {
        if (RichNotificationView* view = m_pWindow->contentView()) view->update();
    });
    fitWindowToContent();
}

std::shared_ptr<MarkupStyler> RichNotificationWC::generateDefaultMarkupStyler() {
    auto styler = std::make_shared<MarkupStyler>();
    const std::string tag = MarkupStyler::DefaultTag();
    styler->setDefaultParagraphStyleWithAlignment(TextAlignment::Left, tag);
    styler->setFont(FontsFactory::fontDescriptionWithName(FontCase::HelveticaNeue, 13), tag);
    styler->setForegroundColor(textColor(), tag);
    styler->setFont(FontsFactory::fontDescriptionWithName(FontCase::HelveticaNeueMedium, 13), "b");
    styler->setForegroundColor(Color::properColorWithRed(0.2f, 0.41568628f, 0.73333335f, 1.0f),
                               "b");
    return styler;
}

void RichNotificationWC::showNotificationForApp(const std::shared_ptr<platform::Bundle>& bundle) {
    m_pOffer->showNotificationForApp(bundle);
}

QPoint RichNotificationWC::notificationOrigin(const QRect& screenFrame, const QSize& windowSize) {
    // The full frame, not the part left free by panels: the card keeps the
    // same place whatever the desktop puts along the edges.
    return QPoint(screenFrame.x() + screenFrame.width() - windowSize.width() - kRightMargin,
                  screenFrame.y() + kTopMargin);
}

// The card is always as wide, and exactly as high as its wrapped texts need.
void RichNotificationWC::fitWindowToContent() {
    // Layouts learn of changed texts only through posted events; the heights
    // they keep until then must not be used.
    if (RichNotificationView* view = m_pWindow->contentView()) {
        view->layout()->invalidate();
        view->updateGeometry();
    }
    QLayout* layout = m_pWindow->layout();
    layout->invalidate();
    const int height = layout->hasHeightForWidth() ? layout->totalHeightForWidth(kWindowWidth)
                                                   : layout->totalSizeHint().height();
    m_pWindow->setFixedSize(kWindowWidth, height);
    layout->activate();
}

void RichNotificationWC::showNotification() {
    qCDebug(lcNotification).noquote() << "showing:" << m_pWindow->windowTitle();
    m_pWindow->setWindowOpacity(0.0);
    // Placed before it is shown, so that it never flashes where it was.
    const QRect screen = m_environment.mainScreenFrame
                             ? m_environment.mainScreenFrame().value_or(QRect(0, 0, 0, 0))
                             : QRect(0, 0, 0, 0);
    m_pWindow->move(notificationOrigin(screen, m_pWindow->frameGeometry().size()));
    m_pWindow->show();

    m_pFadeIn->stop();
    m_pFadeIn->start();

    m_pWindow->raise();
    m_pWindow->activateWindow();
}

void RichNotificationWC::hideNotification() {
    m_pOffer->hideNotification();
}

void RichNotificationWC::closeWindow() {
    // No fade-out: the card goes at once.
    m_pFadeIn->stop();
    m_pWindow->close();
}

void RichNotificationWC::windowDidResignKey() {
    m_pOffer->windowDidResignKey();
}

void RichNotificationWC::updateText() {
    const AttributedString description = generateAttributedString();
    m_pSubtitleLabel->setAttributedStringValue(description);
    // Window lists and screen readers name the window by what it says.
    m_pWindow->setWindowTitle(QString::fromStdString(description.string()));
    fitWindowToContent();
}

AttributedString RichNotificationWC::generateAttributedString() const {
    const std::string markup = m_pOffer->descriptionMarkup(texts());
    if (markup.empty() || !m_pMarkupStyler) return AttributedString();
    return m_pMarkupStyler->convertString(markup);
}

void RichNotificationWC::onShowHelp() {
    m_pOffer->onShowHelp();
}

void RichNotificationWC::onNotificationClose() {
    hideNotification();
}

void RichNotificationWC::onSelectCompleteUninstall() {
    m_pOffer->onSelectCompleteUninstall();
}
