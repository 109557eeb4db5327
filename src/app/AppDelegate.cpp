#include "app/AppDelegate.h"

#include <algorithm>

#include "dispatch/MainQueue.h"
#include "dispatch/SerialQueue.h"
#include "messages/FileMessage.h"
#include "platform/Bundle.h"
#include "platform/FileResources.h"
#include "platform/PathUtils.h"

AppDelegate::AppDelegate(Environment environment)
    : m_environment(std::move(environment)),
      m_pCommandFileQueue(m_environment.commandFileQueue
                              ? m_environment.commandFileQueue
                              : std::make_shared<dispatch::SerialQueue>("command-files")) {}

void AppDelegate::applicationDidFinishLaunching() {
    m_arrExcluders.clear();
    if (m_environment.createNotificationPresenter) {
        m_pRichNotificationWC = m_environment.createNotificationPresenter();
    }
    if (m_environment.startUpdateRestarter) m_environment.startUpdateRestarter();
    startWatching();
}

void AppDelegate::startWatching() {
    m_pTrashWatcher =
        m_environment.trashDirectory
            ? AppsInTrashWatcher::create(weak_from_this(), *m_environment.trashDirectory)
            : AppsInTrashWatcher::create(weak_from_this());
}

bool AppDelegate::openFile(const std::string& path) {
    processOpenFileWithPath(path);
    return true;
}

void AppDelegate::openFiles(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) processOpenFileWithPath(path);
}

void AppDelegate::applicationReopened() {
    if (m_pRichNotificationWC) m_pRichNotificationWC->reopened();
}

void AppDelegate::processOpenFileWithPath(const std::string& path) {
    if (platform::PathUtils::pathExtension(path) != FileMessage::kMessageExtension) return;
    // Whoever can write to the sender's folder decides what is read, and a
    // read can be slow: the window must not wait for it. One serial queue
    // and the main queue behind it keep the commands in arrival order.
    const dispatch::TimePoint arrived = dispatch::MainQueue::main().now();
    m_pCommandFileQueue->async([weak = weak_from_this(), path, arrived] {
        std::shared_ptr<const FileMessage> message = FileMessage::loadFromFile(path);
        dispatch::MainQueue::main().async([weak, message = std::move(message), arrived] {
            if (auto self = weak.lock()) self->applyCommand(message, arrived);
        });
    });
}

void AppDelegate::applyCommand(const std::shared_ptr<const FileMessage>& message,
                               dispatch::TimePoint arrived) {
    if (FileMessage::ReadCancelExcludeRemovedPathsFromMessage(message)) {
        clearExcludersExistingNow(arrived);
        return;
    }
    std::vector<std::string> paths;
    if (!FileMessage::ReadExcludePaths(&paths, message)) return;
    for (const std::string& excluded : paths) {
        const std::string name = platform::PathUtils::stringByDeletingPathExtension(
            platform::PathUtils::lastPathComponent(excluded));
        m_arrExcluders.push_back(std::make_shared<NameExcluder>(name));
    }
}

// The Main application clears its exclusions when it is done removing; the
// clear waits a little so that the Trash events of its own removal, which
// arrive late, are still silenced. Exclusions that arrive meanwhile stay.
void AppDelegate::clearExcludersExistingNow(dispatch::TimePoint arrived) {
    // Excluders are only ever appended, and a clear keeps the order of those
    // it keeps, so the ones that exist now are the newest one and all before
    // it: that one excluder stands for the whole snapshot. Holding it keeps
    // its identity from being reused by a newer one before the clear runs.
    // (A flood of clears then costs no copy of the list each.)
    if (m_arrExcluders.empty()) return;
    // The delay counts from the file's arrival, not from the end of its read.
    auto& mainQueue = dispatch::MainQueue::main();
    const auto delay = std::max<dispatch::Duration>(arrived + kClearDelay - mainQueue.now(),
                                                    dispatch::Duration::zero());
    mainQueue.after(delay, [self = shared_from_this(), newest = m_arrExcluders.back()] {
        auto& excluders = self->m_arrExcluders;
        const auto last = std::find(excluders.begin(), excluders.end(), newest);
        // Gone means an earlier clear already took it and all before it.
        if (last != excluders.end()) excluders.erase(excluders.begin(), last + 1);
    });
}

void AppDelegate::onAppMovedToTrash(const std::shared_ptr<platform::Bundle>& bundle) {
    if (!bundle) return;
    const auto ownPath = m_environment.ownBundlePath ? m_environment.ownBundlePath() : std::nullopt;
    if (!ownPath || !platform::fileExistsAtPath(*ownPath)) return;

    // Names are excluded in the user's own Trash folders only, by the name the
    // item is stored under there; a disk's Trash is never excluded.
    const auto relative =
        m_pTrashWatcher ? m_pTrashWatcher->pathInOwnTrash(bundle->path()) : std::nullopt;
    if (relative) {
        for (auto excluder = m_arrExcluders.rbegin(); excluder != m_arrExcluders.rend();
             ++excluder) {
            if ((*excluder)->isExcludedName(*relative)) return;
        }
    }
    if (m_pRichNotificationWC) m_pRichNotificationWC->showNotificationForApp(bundle);
}
