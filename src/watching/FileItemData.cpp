#include "watching/FileItemData.h"

#include "watching/FileItem.h"

FileItemData::FileItemData(std::weak_ptr<FileItem> item) : m_pItem(std::move(item)) {}

std::shared_ptr<const FileItemCounts> FileItemData::subItems() const {
    std::lock_guard guard(m_lock);
    return m_pSubItems;
}

void FileItemData::setSubItems(std::shared_ptr<const FileItemCounts> subItems) {
    std::lock_guard guard(m_lock);
    m_pSubItems = std::move(subItems);
}

std::optional<platform::FileDate> FileItemData::getCreationDate() {
    if (!m_pCreationDate) {
        const auto item = getFileItem();
        m_pCreationDate =
            item ? platform::creationDateForPath(item->buildFullPath()) : std::nullopt;
    }
    return *m_pCreationDate;
}

std::optional<platform::FileDate> FileItemData::getLastAccessDate() {
    if (!m_pLastAccessDate) {
        const auto item = getFileItem();
        m_pLastAccessDate =
            item ? platform::lastAccessDateForPath(item->buildFullPath()) : std::nullopt;
    }
    return *m_pLastAccessDate;
}

void FileItemData::onSizeCalculated(std::uint64_t size) {
    if (!isNeedCalculateSize()) return;
    m_nSize = size;
    if (auto listener = m_pListener.lock()) listener->onFileItemSizeCalculated();
}

bool FileItemData::isItemDir() const {
    const auto item = getFileItem();
    return item && item->isDir();
}

std::uint64_t FileItemData::countOfFolders() const {
    const auto sub = subItems();
    return (sub ? sub->countOfFolders() : 0) + (isItemDir() ? 1 : 0);
}

std::uint64_t FileItemData::countOfFiles() const {
    const auto sub = subItems();
    return (sub ? sub->countOfFiles() : 0) + (isItemDir() ? 0 : 1);
}
