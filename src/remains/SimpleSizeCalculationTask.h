#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

class SimpleSizeCalculationTask;

// Hears, on the main thread, that a task's size is known.
class SimpleSizeCalculationTaskListener {
public:
    virtual ~SimpleSizeCalculationTaskListener() = default;
    virtual void onSimpleSizeCalculationTaskComplete(
        const std::shared_ptr<SimpleSizeCalculationTask>& task) = 0;
};

// One request for the on-disk size of a path. The task holds its listener
// strongly, so the listener lives at least until it has had its answer.
// Properties may be read and set from any thread.
class SimpleSizeCalculationTask {
public:
    SimpleSizeCalculationTask() = default;
    SimpleSizeCalculationTask(std::shared_ptr<SimpleSizeCalculationTaskListener> listener,
                              std::string itemPath);

    std::shared_ptr<SimpleSizeCalculationTaskListener> listener() const;
    void setListener(std::shared_ptr<SimpleSizeCalculationTaskListener> listener);
    std::string itemPath() const;
    void setItemPath(std::string itemPath);
    // 0 until the size has been worked out.
    std::uint64_t itemSize() const { return m_nItemSize.load(std::memory_order_acquire); }
    void setItemSize(std::uint64_t size) { m_nItemSize.store(size, std::memory_order_release); }

private:
    mutable std::mutex m_lock;
    std::shared_ptr<SimpleSizeCalculationTaskListener> m_pListener;
    std::string m_sItemPath;
    std::atomic<std::uint64_t> m_nItemSize{0};
};
