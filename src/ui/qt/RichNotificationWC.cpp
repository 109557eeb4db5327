#include "ui/qt/RichNotificationWC.h"

#include <QGuiApplication>
#include <QLabel>
#include <QLayout>
#include <QPropertyAnimation>
#include <QScreen>
#include <algorithm>
#include <limits>

#include "dispatch/MainQueue.h"
#include "environment/Consts.h"
#include "environment/StringUtils.h"
#include "messages/NotificationsManager.h"
#include "platform/Bundle.h"
#include "platform/OpenURL.h"
#include "platform/PathUtils.h"
#include "ui/RichNotificationWCLocalizable.h"
#include "ui/qt/AttributedStringAdapter.h"
#include "ui/qt/CustomButton.h"
#include "ui/qt/FontsFactory.h"
#include "ui/qt/ImagesFactory.h"
#include "ui/qt/MultilineWordWrapTextField.h"
#include "ui/qt/RichNotificationView.h"
#include "ui/qt/RichNotificationWindow.h"
#include "ui_RichNotificationWC.h"

namespace {

// The remains finder's object as the window sees it.
class SimpleRemainsInfoRemains final : public RichNotificationWC::RemainsInfo {
public:
    explicit SimpleRemainsInfoRemains(std::shared_ptr<SimpleRemainsInfo> info)
        : m_pInfo(std::move(info)) {}
    void addBundle(const std::shared_ptr<platform::Bundle>& bundle) override {
        m_pInfo->addBundle(bundle);
    }
    std::uint64_t getTotalSize() const override { return m_pInfo->getTotalSize(); }
    void addRemoveObjectPathsToArray(
        std::vector<std::shared_ptr<PathForRemove>>& array) const override {
        m_pInfo->addRemoveObjectPathsToArray(array);
    }

private:
    std::shared_ptr<SimpleRemainsInfo> m_pInfo;
};

Color textColor() {
    return Color::properColorWithRed(0.29803923f, 0.30588236f, 0.32941177f, 1.0f);
}

}  // namespace

std::shared_ptr<RichNotificationWC::RemainsInfo> RichNotificationWC::remainsInfoFor(
    std::shared_ptr<SimpleRemainsInfo> info) {
    if (!info) return nullptr;
    return std::make_shared<SimpleRemainsInfoRemains>(std::move(info));
}

RichNotificationWC::Environment RichNotificationWC::standardEnvironment() {
    Environment environment;
    environment.calculateIsCanShowNotificationForBundleWithID =
        [](const std::optional<std::string>& bundleId, std::function<void()> okBlock) {
            SimpleRemainsInfo::calculateIsCanShowNotificationForBundleWithID(bundleId,
                                                                             std::move(okBlock));
        };
    environment.createRemainsInfo = [](const std::shared_ptr<platform::Bundle>& bundle,
                                       std::weak_ptr<SimpleRemainsInfoListener> listener) {
        return remainsInfoFor(SimpleRemainsInfo::create(bundle, std::move(listener)));
    };
    environment.removeFilePaths = [](const std::vector<std::shared_ptr<PathForRemove>>& paths) {
        NotificationsManager::GetInstance().removeFilePaths(paths);
    };
    environment.openURL = [](const std::string& url) { return platform::Workspace::openURL(url); };
    environment.mainScreenFrame = []() -> std::optional<QRect> {
        if (QScreen* screen = QGuiApplication::primaryScreen()) return screen->geometry();
        return std::nullopt;
    };
    environment.mainAppName = Consts::GetInstance().getMainAppName();
    environment.helpURL = Consts::GetInstance().getCustomNotificationHelpURL();
    return environment;
}

std::shared_ptr<RichNotificationWC> RichNotificationWC::create() {
    return create(standardEnvironment());
}

std::shared_ptr<RichNotificationWC> RichNotificationWC::create(Environment environment) {
    std::shared_ptr<RichNotificationWC> controller(new RichNotificationWC(std::move(environment)));
    controller->windowDidLoad();
    return controller;
}

RichNotificationWC::RichNotificationWC(Environment environment)
    : m_environment(std::move(environment)),
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
    if (!bundle) return;
    auto self = shared_from_this();
    m_environment.calculateIsCanShowNotificationForBundleWithID(
        bundle->bundleIdentifier(), [self, bundle] {
            // The rule may answer on any thread; the state is the main thread's.
            dispatch::MainQueue::main().async([self, bundle] { self->acceptBundle(bundle); });
        });
}

RichNotificationWC::RemainsInfo* RichNotificationWC::remainsInfoForBundleID(
    const std::string& bundleId) const {
    auto found = std::find_if(m_arrRemoveInfo.begin(), m_arrRemoveInfo.end(),
                              [&](const auto& entry) { return entry.first == bundleId; });
    return found == m_arrRemoveInfo.end() ? nullptr : found->second.get();
}

void RichNotificationWC::acceptBundle(const std::shared_ptr<platform::Bundle>& bundle) {
    const std::string key = bundle->path();
    // The same bundle is never counted twice.
    if (m_arrRemovedApps.count(key) != 0) return;
    m_arrRemovedApps.emplace(key, bundle);

    if (m_bIsActive) {
        ++m_nOtheAppCount;
    } else {
        m_bIsActive = true;
        m_pShowDate = dispatch::MainQueue::main().now();
        m_sMainAppName = platform::PathUtils::stringByDeletingPathExtension(
            StringUtils::getDisplayNameAtPath(key));
        m_nOtheAppCount = 0;
    }
    updateText();

    // A second copy of an application joins the first one's remains.
    const std::string bundleId = bundle->bundleIdentifier().value_or(std::string());
    if (RemainsInfo* info = remainsInfoForBundleID(bundleId)) {
        info->addBundle(bundle);
    } else if (m_environment.createRemainsInfo) {
        if (auto created = m_environment.createRemainsInfo(bundle, weak_from_this())) {
            m_arrRemoveInfo.emplace_back(bundleId, std::move(created));
        }
    }
    showNotification();
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
    m_bIsActive = false;
    m_arrRemoveInfo.clear();
    m_arrRemovedApps.clear();
    // No fade-out: the card goes at once.
    m_pFadeIn->stop();
    m_pWindow->close();
}

void RichNotificationWC::windowDidResignKey() {
    if (!m_pShowDate) return;
    if (dispatch::MainQueue::main().now() - *m_pShowDate > kResignGrace) hideNotification();
}

void RichNotificationWC::updateText() {
    m_pSubtitleLabel->setAttributedStringValue(generateAttributedString());
    fitWindowToContent();
}

AttributedString RichNotificationWC::generateAttributedString() const {
    if (!m_bIsActive || !m_pMarkupStyler) return AttributedString();
    std::uint64_t total = 0;
    for (const auto& entry : m_arrRemoveInfo) {
        if (entry.second) total += entry.second->getTotalSize();
    }
    const auto bytes = static_cast<std::int64_t>(
        std::min<std::uint64_t>(total, std::numeric_limits<std::int64_t>::max()));
    // The size is written in the language the rest of the text is in.
    const std::string sizeText =
        StringUtils::convertToStringFromFileSize(bytes, texts().localeName());
    const std::string markup = RichNotificationWCLocalizable::descriptionWithAppName(
        MarkupStyler::prepareString(m_sMainAppName), MarkupStyler::prepareString(sizeText),
        m_nOtheAppCount, false, texts());
    return m_pMarkupStyler->convertString(markup);
}

void RichNotificationWC::onSimpleRemainsInfoChanged(
    const std::shared_ptr<SimpleRemainsInfo>& info) {
    if (info) updateText();
}

void RichNotificationWC::onShowHelp() {
    if (m_environment.openURL) m_environment.openURL(m_environment.helpURL);
    hideNotification();
}

void RichNotificationWC::onNotificationClose() {
    hideNotification();
}

void RichNotificationWC::onSelectCompleteUninstall() {
    std::vector<std::shared_ptr<PathForRemove>> paths;
    for (const auto& entry : m_arrRemoveInfo) {
        if (entry.second) entry.second->addRemoveObjectPathsToArray(paths);
    }
    if (m_environment.removeFilePaths) m_environment.removeFilePaths(paths);
    hideNotification();
}
