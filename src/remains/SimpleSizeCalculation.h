#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "remains/ObjectsProcessor.h"
#include "remains/SimpleSizeCalculationTask.h"

// Works out the on-disk size of files and folders on a pool of 4 workers and
// answers each task on the main queue, in the order the sizes become known.
//
// The pool's delegate and its one shared worker are a small stateless object
// of the calculator's rather than the calculator itself: the pool would
// otherwise hold its owner, and its owner could end up going on one of the
// pool's own threads.
class SimpleSizeCalculation : public std::enable_shared_from_this<SimpleSizeCalculation> {
public:
    static constexpr long kCountOfWorkers = 4;

    // The process-wide calculator; first reached from the main thread.
    static SimpleSizeCalculation& GetInstance();
    // A calculator of its own, for tools and tests.
    static std::shared_ptr<SimpleSizeCalculation> create();

    // Queues the task; the pool starts by itself. A null task is ignored.
    void addTask(const std::shared_ptr<SimpleSizeCalculationTask>& task);
    // Stops the pool: tasks being sized still answer, pending ones are dropped,
    // and tasks added once the pool has wound down run as usual.
    void cancelAllTasks();
    bool isWorking() const { return m_pProcessor->isProcessorWorking(); }

    // Sizes a task (anything else is ignored) and posts its answer to the
    // main queue. The pool's workers call it. Once `abandoned` is set the
    // walk stops at its next folder and the task answers no one.
    static void performWorkForObject(const ProcessorObject& object,
                                     const std::atomic<bool>* abandoned = nullptr);

    // Allocated bytes of everything below the folder that is not a folder,
    // on the folder's own file system.
    static std::int64_t fastFolderSizeOfItemWithPath(const std::string& path,
                                                     const std::atomic<bool>* abandoned = nullptr);
    // Allocated bytes of the entry itself; 0 when it cannot be examined.
    static std::int64_t sizeOfFile(const std::string& path);

    // Walks still running are abandoned, so that the pool's shutdown (and the
    // process's exit, for the shared calculator) waits for no more than one
    // folder of each.
    ~SimpleSizeCalculation();

private:
    SimpleSizeCalculation() = default;

    std::shared_ptr<std::atomic<bool>> m_pAbandoned = std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<ObjectProcessorDelegate> m_pDelegate;
    std::shared_ptr<ObjectsProcessor> m_pProcessor;
};
