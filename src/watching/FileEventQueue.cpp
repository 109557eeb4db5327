#include "watching/FileEventQueue.h"

#include <utility>

#include "dispatch/MainQueue.h"
#include "platform/NotificationCenter.h"

namespace {

// The order in which the kinds are tested and their names emitted.
constexpr std::pair<std::uint32_t, const char*> kNamesInOrder[] = {
    {platform::kNoteRename, FileEventQueueFileRenamedNotification},
    {platform::kNoteWrite, FileEventQueueFileWrittenToNotification},
    {platform::kNoteDelete, FileEventQueueFileDeletedNotification},
    {platform::kNoteAttrib, FileEventQueueFileAttributesChangedNotification},
    {platform::kNoteExtend, FileEventQueueFileSizeIncreasedNotification},
    {platform::kNoteLink, FileEventQueueLinkCountChangedNotification},
    {platform::kNoteRevoke, FileEventQueueAccessWasRevokedNotification},
};

}  // namespace

std::shared_ptr<FileEventQueue> FileEventQueue::create() {
    return std::make_shared<FileEventQueue>(Private{});
}

// The handler reaches this object only while its watches live, which end
// with it; a delegate may drop the last other reference while it is told.
FileEventQueue::FileEventQueue(Private)
    : m_watches([this](const std::string& path, std::uint32_t kinds) {
          const auto self = shared_from_this();
          deliver(kinds, path);
      }) {}

void FileEventQueue::addPath(const std::string& path) {
    addPath(path, platform::kNoteAll);
}

void FileEventQueue::addPath(const std::string& path, std::uint32_t notifyingAbout) {
    if (path.empty() || m_watches.contains(path)) return;
    m_watches.add(path, notifyingAbout);
}

void FileEventQueue::deliver(std::uint32_t kinds, const std::string& path) {
    for (const auto& [bit, name] : kNamesInOrder) {
        if ((kinds & bit) == 0) continue;
        const auto delegate = m_pDelegate.lock();
        if (delegate) delegate->receivedNotification(*this, name, path);
        if (!delegate || m_bAlwaysPostNotifications) {
            platform::NotificationCenter::workspaceCenter().postNotificationName(
                name, this, {{kFileEventQueuePathKey, path}});
        }
    }
}
