#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/FileDates.h"

class FileItem;

// Anything that can say how many folders and files it stands for.
class FileItemCounts {
public:
    virtual ~FileItemCounts() = default;
    virtual std::uint64_t countOfFolders() const = 0;
    virtual std::uint64_t countOfFiles() const = 0;
};

class FileItemDataListener {
public:
    virtual ~FileItemDataListener() = default;
    virtual void onFileItemSizeCalculated() = 0;
};

// The optional companion of a node: its size once calculated, its dates and
// the counts of what it contains. Main-thread only, apart from subItems.
class FileItemData final : public FileItemCounts {
public:
    // The size of a node whose size is not known yet.
    static constexpr std::uint64_t kSizeNotCalculated = UINT64_MAX;

    explicit FileItemData(std::weak_ptr<FileItem> item);

    std::shared_ptr<FileItem> getFileItem() const { return m_pItem.lock(); }
    std::uint64_t getSize() const { return m_nSize; }
    // Held weakly.
    void setListener(std::weak_ptr<FileItemDataListener> listener) {
        m_pListener = std::move(listener);
    }
    // The aggregate of the node's contents; null when not set.
    std::shared_ptr<const FileItemCounts> subItems() const;
    void setSubItems(std::shared_ptr<const FileItemCounts> subItems);

    // Read from the node's full path on the first call and kept, even when
    // there is none.
    std::optional<platform::FileDate> getCreationDate();
    std::optional<platform::FileDate> getLastAccessDate();

    bool isNeedCalculateSize() const { return m_nSize == kSizeNotCalculated; }
    bool isSizeCalculating() const { return isNeedCalculateSize(); }
    // Keeps the first size that arrives and tells the listener; later ones
    // are ignored.
    void onSizeCalculated(std::uint64_t size);

    // The sub-items' counts plus the node itself.
    std::uint64_t countOfFolders() const override;
    std::uint64_t countOfFiles() const override;

private:
    bool isItemDir() const;

    std::weak_ptr<FileItem> m_pItem;
    std::uint64_t m_nSize = kSizeNotCalculated;
    std::optional<std::optional<platform::FileDate>> m_pCreationDate;  // outer: read yet
    std::optional<std::optional<platform::FileDate>> m_pLastAccessDate;
    std::weak_ptr<FileItemDataListener> m_pListener;
    mutable std::mutex m_lock;  // guards subItems, which is atomic
    std::shared_ptr<const FileItemCounts> m_pSubItems;
};
