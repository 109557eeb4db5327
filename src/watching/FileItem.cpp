#include "watching/FileItem.h"

#include <utility>
#include <vector>

#include "platform/Log.h"
#include "platform/PathUtils.h"
#include "watching/FileItemData.h"
#include "watching/SystemSkipList.h"

namespace {

std::int32_t childDeep(std::int32_t deep) {
    return deep > 0 ? deep - 1 : deep;
}

}  // namespace

std::shared_ptr<FileItem> FileItem::createTreeForPath(const std::string& path) {
    return createTreeForPath(path, kUnlimitedDeep);
}

std::shared_ptr<FileItem> FileItem::createTreeForPath(const std::string& path,
                                                      std::int32_t withDeep, const Reader& reader) {
    auto item = std::make_shared<FileItem>();
    item->m_pReader = reader;
    item->loadInfoUsingPath(path, withDeep);
    return item->isExist() ? item : nullptr;
}

std::shared_ptr<FileItem> FileItem::createTreeForWatchedFolder(const std::string& path,
                                                               std::int32_t withDeep,
                                                               const Reader& reader) {
    auto item = std::make_shared<FileItem>();
    item->m_pReader = reader;
    item->m_bIsWatchedFolder = true;
    item->loadInfoUsingPath(path, withDeep);
    return item->isExist() ? item : nullptr;
}

std::shared_ptr<FileItem> FileItem::createTreeForPath(const std::string& path,
                                                      std::int32_t withDeep,
                                                      const std::shared_ptr<FileItem>& withParent,
                                                      const std::string& withName) {
    auto item = std::make_shared<FileItem>();
    if (withParent) item->m_pReader = withParent->m_pReader;
    item->loadInfoUsingPath(path, withDeep, withParent, withName);
    return item->isExist() ? item : nullptr;
}

void FileItem::loadInfoUsingPath(const std::string& path, std::int32_t withDeep) {
    m_nDeep = withDeep;
    m_sFullPath = path;
    m_pListener.reset();
    m_sNameWithExt = platform::PathUtils::lastPathComponent(path);
    loadStandartInfoForPath(path, withDeep);
}

void FileItem::loadInfoUsingPath(const std::string& path, std::int32_t withDeep,
                                 const std::shared_ptr<FileItem>& withParent,
                                 const std::string& withName) {
    m_sFullPath.reset();
    m_pListener = withParent;
    m_sNameWithExt = withName;
    loadStandartInfoForPath(path, withDeep);
}

void FileItem::loadStandartInfoForPath(const std::string& path, std::int32_t withDeep) {
    m_bIsDir = false;
    if (path.empty() || SystemSkipList::shared().contains(path)) {
        m_bIsExist = false;
        return;
    }
    const auto entry = m_pReader->entryAt(path);
    m_bIsExist = entry.has_value();
    if (!m_bIsExist) return;
    m_bIsDir = entry->leadsToFolder;
    // Announced before the catalog information below refines the flags: at
    // this point a link to a folder still counts as a folder.
    if (auto parent = getParent()) parent->addChild(shared_from_this());
    if (m_bIsDir) takeMoreCatalogInfo(*entry);
    if (m_bIsDir) loadChildrenUsingPath(path, withDeep);
}

void FileItem::takeMoreCatalogInfo(const platform::DirectoryReader::Entry& entry) {
    m_bIsSymLink = entry.isSymbolicLink;
    // The watched folder is what a link at its path leads to.
    if (m_bIsWatchedFolder) return;
    m_bIsDir = entry.isFolder;
    // An entry reached by two or more names is not descended into. Folders
    // report 1 (they cannot be hard-linked here), so only the entry's own
    // type decides for folders.
    if (entry.linkCount >= 2) m_bIsDir = false;
    if (m_bIsDir) m_bIsPackage = entry.isPackage;
}

void FileItem::loadChildrenUsingPath(const std::string& path, std::int32_t withDeep) {
    if (!m_bIsDir || withDeep == 0 || m_bIsPackage) return;
    m_arrChildren.emplace();
    const auto listing = m_pReader->list(path);
    m_bIsChildrenListIncomplete = !listing.isComplete();
    const auto self = shared_from_this();
    for (const std::string& name : listing.names) {
        createTreeForPath(platform::PathUtils::stringByAppendingPathComponent(path, name),
                          childDeep(withDeep), self, name);
    }
}

bool FileItem::isHasChild(const std::shared_ptr<FileItem>& item) const {
    if (!item || !m_arrChildren) return false;
    const auto found = m_arrChildren->find(item->getNameWithExt());
    return found != m_arrChildren->end() && found->second == item;
}

void FileItem::addChild(const std::shared_ptr<FileItem>& item) {
    if (!item || isHasChild(item)) return;
    if (m_arrChildren) (*m_arrChildren)[item->getNameWithExt()] = item;
    if (auto listener = m_pListener.lock()) listener->onAddedFileItem(item, shared_from_this());
}

void FileItem::removeChild(const std::shared_ptr<FileItem>& item) {
    if (!isHasChild(item)) return;
    m_arrChildren->erase(item->getNameWithExt());
    if (auto listener = m_pListener.lock()) listener->onRemovedFileItem(item, shared_from_this());
}

void FileItem::notifyThatRemovedChildWithName(const std::string& name) {
    const auto child = getChildrenWithName(name);
    if (!child) return;
    if (auto listener = m_pListener.lock()) listener->onRemovedFileItem(child, shared_from_this());
}

void FileItem::updateContentOfDir() {
    if (!m_bIsDir) return;
    const std::string path = buildFullPath();
    // Only a whole listing can say what vanished: a read that failed part-way
    // would drop kept entries and bring them back later as new.
    const auto listing = m_pReader->list(path);
    if (!listing.isComplete()) {
        platform::Log::warning("watching", path + " could not be read whole; kept as it was");
        return;
    }

    if (!m_arrChildren) m_arrChildren.emplace();
    Children kept;
    std::vector<std::string> added;
    for (const std::string& name : listing.names) {
        auto found = m_arrChildren->find(name);
        if (found != m_arrChildren->end()) {
            kept.insert(m_arrChildren->extract(found));
        } else {
            added.push_back(name);
        }
    }
    // What is left has vanished. Announce while the nodes are still held, so
    // that a listener can look at them.
    std::vector<std::string> vanished;
    vanished.reserve(m_arrChildren->size());
    for (const auto& [name, child] : *m_arrChildren) vanished.push_back(name);
    for (const std::string& name : vanished) notifyThatRemovedChildWithName(name);
    m_arrChildren = std::move(kept);

    // After a first load that could not read everything, the names it missed
    // were already there: they join quietly, as at that load, instead of
    // being announced as new.
    if (m_bIsChildrenListIncomplete) {
        m_bIsChildrenListIncomplete = false;
        const auto listener = std::exchange(m_pListener, {});
        const auto self = shared_from_this();
        for (const std::string& name : added) {
            createTreeForPath(platform::PathUtils::stringByAppendingPathComponent(path, name),
                              childDeep(m_nDeep), self, name);
        }
        m_pListener = listener;
        return;
    }
    // New entries load with this node's own depth, not one less.
    const auto self = shared_from_this();
    for (const std::string& name : added) {
        createTreeForPath(platform::PathUtils::stringByAppendingPathComponent(path, name), m_nDeep,
                          self, name);
    }
}

std::shared_ptr<FileItem> FileItem::getChildrenWithName(const std::string& name) const {
    if (!m_arrChildren) return nullptr;
    const auto found = m_arrChildren->find(name);
    return found == m_arrChildren->end() ? nullptr : found->second;
}

std::shared_ptr<FileItemData> FileItem::getData() {
    if (!m_pData) m_pData = std::make_shared<FileItemData>(weak_from_this());
    return m_pData;
}

std::shared_ptr<FileItem> FileItem::getParent() const {
    const auto listener = m_pListener.lock();
    return listener ? listener->getFileItemParent() : nullptr;
}

std::string FileItem::buildFullPath() {
    if (m_sFullPath) return *m_sFullPath;
    const auto parent = getParent();
    m_sFullPath = parent ? platform::PathUtils::stringByAppendingPathComponent(
                               parent->buildFullPath(), m_sNameWithExt)
                         : m_sNameWithExt;
    return *m_sFullPath;
}

void FileItem::onAddedFileItem(const std::shared_ptr<FileItem>& item,
                               const std::shared_ptr<FileItem>& parent) {
    if (auto listener = m_pListener.lock()) listener->onAddedFileItem(item, parent);
}

void FileItem::onRemovedFileItem(const std::shared_ptr<FileItem>& item,
                                 const std::shared_ptr<FileItem>& parent) {
    if (auto listener = m_pListener.lock()) listener->onRemovedFileItem(item, parent);
}
