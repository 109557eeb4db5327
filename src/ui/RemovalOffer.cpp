#include "ui/RemovalOffer.h"

#include <algorithm>
#include <limits>

#include "dispatch/MainQueue.h"
#include "environment/StringUtils.h"
#include "platform/Bundle.h"
#include "platform/PathUtils.h"
#include "ui/MarkupStyler.h"
#include "ui/RichNotificationWCLocalizable.h"

std::shared_ptr<RemovalOffer> RemovalOffer::create(Environment environment) {
    return std::shared_ptr<RemovalOffer>(new RemovalOffer(std::move(environment)));
}

void RemovalOffer::showNotificationForApp(const std::shared_ptr<platform::Bundle>& bundle) {
    if (!bundle || !m_environment.calculateIsCanShowNotificationForBundleWithID) return;
    m_environment.calculateIsCanShowNotificationForBundleWithID(
        bundle->bundleIdentifier(), [self = shared_from_this(), bundle] {
            // The rule may answer on any thread; the state is the main thread's.
            dispatch::MainQueue::main().async([self, bundle] { self->acceptBundle(bundle); });
        });
}

RemovalOffer::Remains* RemovalOffer::remainsInfoForBundleID(const std::string& bundleId) const {
    auto found = std::find_if(m_arrRemoveInfo.begin(), m_arrRemoveInfo.end(),
                              [&](const auto& entry) { return entry.first == bundleId; });
    return found == m_arrRemoveInfo.end() ? nullptr : found->second.get();
}

void RemovalOffer::acceptBundle(const std::shared_ptr<platform::Bundle>& bundle) {
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
    if (auto view = m_pView.lock()) view->updateText();

    // A second copy of an application joins the first one's remains.
    const std::string bundleId = bundle->bundleIdentifier().value_or(std::string());
    if (Remains* info = remainsInfoForBundleID(bundleId)) {
        info->addBundle(bundle);
    } else if (m_environment.createRemainsInfo) {
        if (auto created = m_environment.createRemainsInfo(bundle, weak_from_this())) {
            m_arrRemoveInfo.emplace_back(bundleId, std::move(created));
        }
    }
    if (auto view = m_pView.lock()) view->showNotification();
}

void RemovalOffer::hideNotification() {
    m_bIsActive = false;
    m_arrRemoveInfo.clear();
    m_arrRemovedApps.clear();
    if (auto view = m_pView.lock()) view->closeWindow();
}

void RemovalOffer::windowDidResignKey() {
    if (!m_pShowDate) return;
    if (dispatch::MainQueue::main().now() - *m_pShowDate > kResignGrace) hideNotification();
}

void RemovalOffer::onShowHelp() {
    if (m_environment.openURL) m_environment.openURL(m_environment.helpURL);
    hideNotification();
}

void RemovalOffer::onSelectCompleteUninstall() {
    std::vector<std::shared_ptr<PathForRemove>> paths;
    for (const auto& entry : m_arrRemoveInfo) {
        if (entry.second) entry.second->addRemoveObjectPathsToArray(paths);
    }
    if (m_environment.removeFilePaths) m_environment.removeFilePaths(paths);
    hideNotification();
}

void RemovalOffer::onSimpleRemainsInfoChanged(const std::shared_ptr<SimpleRemainsInfo>& /*info*/) {
    if (auto view = m_pView.lock()) view->updateText();
}

std::uint64_t RemovalOffer::totalSize() const {
    std::uint64_t total = 0;
    for (const auto& entry : m_arrRemoveInfo) {
        if (entry.second) total += entry.second->getTotalSize();
    }
    return total;
}

std::string RemovalOffer::descriptionMarkup(const LocalizedStrings& texts) const {
    if (!m_bIsActive) return std::string();
    const auto bytes = static_cast<std::int64_t>(
        std::min<std::uint64_t>(totalSize(), std::numeric_limits<std::int64_t>::max()));
    // The size is written in the language the rest of the text is in.
    const std::string sizeText =
        StringUtils::convertToStringFromFileSize(bytes, texts.localeName());
    return RichNotificationWCLocalizable::descriptionWithAppName(
        MarkupStyler::prepareString(m_sMainAppName), MarkupStyler::prepareString(sizeText),
        m_nOtheAppCount, false, texts);
}
