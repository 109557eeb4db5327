#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "platform/DirectoryReader.h"

class FileItem;
class FileItemData;

// Told about entries that appear in and vanish from a tree. A node is the
// listener of its children and passes what it hears on to its own listener,
// so every announcement reaches the listener of the root.
class FileItemListener {
public:
    virtual ~FileItemListener() = default;
    // `item` joined `parent`, its direct parent.
    virtual void onAddedFileItem(const std::shared_ptr<FileItem>& item,
                                 const std::shared_ptr<FileItem>& parent) = 0;
    // `item` vanished from `parent`, its direct parent.
    virtual void onRemovedFileItem(const std::shared_ptr<FileItem>& item,
                                   const std::shared_ptr<FileItem>& parent) = 0;
    // The node that acts as parent of the nodes this listens to: a node
    // answers itself, a listener above the root answers null.
    virtual std::shared_ptr<FileItem> getFileItemParent() = 0;
};

// One node of an in-memory tree of a folder, loaded to a depth, that can
// later compare itself with the disk and announce what appeared and vanished.
// Main-thread only.
class FileItem final : public FileItemListener, public std::enable_shared_from_this<FileItem> {
public:
    using Children = std::unordered_map<std::string, std::shared_ptr<FileItem>>;

    // Depths: -1 loads everything, 0 loads no children, n loads n-1 below each
    // child. Any negative depth is passed down unchanged.
    static constexpr std::int32_t kUnlimitedDeep = -1;

    using Reader = std::shared_ptr<const platform::DirectoryReader>;

    // Each creation loads the node and answers it only when it exists. A root
    // reads through `reader` (the disk unless told), every node below it
    // through its parent's.
    static std::shared_ptr<FileItem> createTreeForPath(const std::string& path);
    static std::shared_ptr<FileItem> createTreeForPath(
        const std::string& path, std::int32_t withDeep,
        const Reader& reader = platform::DirectoryReader::disk());
    static std::shared_ptr<FileItem> createTreeForPath(const std::string& path,
                                                       std::int32_t withDeep,
                                                       const std::shared_ptr<FileItem>& withParent,
                                                       const std::string& withName);

    // The root of a watched folder. The folder is what the path leads to: a
    // link there is followed, and the folder is never taken for a package,
    // whatever it holds, so its entries are always loaded and compared.
    static std::shared_ptr<FileItem> createTreeForWatchedFolder(
        const std::string& path, std::int32_t withDeep,
        const Reader& reader = platform::DirectoryReader::disk());

    // Loading. The root form keeps the depth and the full path and clears the
    // listener; the child form makes the parent the listener and keeps no depth.
    void loadInfoUsingPath(const std::string& path, std::int32_t withDeep);
    void loadInfoUsingPath(const std::string& path, std::int32_t withDeep,
                           const std::shared_ptr<FileItem>& withParent,
                           const std::string& withName);
    // An empty path stands for nil and gives a node that does not exist.
    void loadStandartInfoForPath(const std::string& path, std::int32_t withDeep);
    void takeMoreCatalogInfo(const platform::DirectoryReader::Entry& entry);
    void loadChildrenUsingPath(const std::string& path, std::int32_t withDeep);

    // Tree operations.
    bool isHasChild(const std::shared_ptr<FileItem>& item) const;
    void addChild(const std::shared_ptr<FileItem>& item);
    void removeChild(const std::shared_ptr<FileItem>& item);
    void notifyThatRemovedChildWithName(const std::string& name);
    // Re-reads the folder: announces every vanished child (and drops it), then
    // loads and announces every new entry, in listing order. Nothing changes
    // unless the whole folder could be read; entries that a first load could
    // not read join without being announced.
    void updateContentOfDir();

    // Null when the children were never loaded.
    const Children* getChildren() const { return m_arrChildren ? &*m_arrChildren : nullptr; }
    std::shared_ptr<FileItem> getChildrenWithName(const std::string& name) const;
    const std::string& getNameWithExt() const { return m_sNameWithExt; }
    bool isExist() const { return m_bIsExist; }
    bool isDir() const { return m_bIsDir; }
    bool isPackage() const { return m_bIsPackage; }
    bool isSymLink() const { return m_bIsSymLink; }
    std::int32_t getDeep() const { return m_nDeep; }
    // Held weakly. On a root only; other nodes listen to their parent.
    void setListener(std::weak_ptr<FileItemListener> listener) {
        m_pListener = std::move(listener);
    }
    // Made on first use.
    std::shared_ptr<FileItemData> getData();
    // The parent node; null for a root.
    std::shared_ptr<FileItem> getParent() const;
    // The root's path, or the parent's full path joined with the name; cached.
    std::string buildFullPath();

    // FileItemListener: what a child announces is passed on unchanged.
    void onAddedFileItem(const std::shared_ptr<FileItem>& item,
                         const std::shared_ptr<FileItem>& parent) override;
    void onRemovedFileItem(const std::shared_ptr<FileItem>& item,
                           const std::shared_ptr<FileItem>& parent) override;
    std::shared_ptr<FileItem> getFileItemParent() override { return shared_from_this(); }

private:
    Reader m_pReader = platform::DirectoryReader::disk();
    std::optional<std::string> m_sFullPath;
    std::weak_ptr<FileItemListener> m_pListener;
    std::string m_sNameWithExt;
    std::optional<Children> m_arrChildren;
    std::shared_ptr<FileItemData> m_pData;
    std::int32_t m_nDeep = 0;
    bool m_bIsDir = false;
    bool m_bIsSymLink = false;
    bool m_bIsExist = false;
    bool m_bIsPackage = false;
    bool m_bIsWatchedFolder = false;
    // The last load of the children could not read the whole folder.
    bool m_bIsChildrenListIncomplete = false;
};
