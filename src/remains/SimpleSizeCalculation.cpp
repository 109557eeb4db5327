#include "remains/SimpleSizeCalculation.h"

#include <limits>

#include "dispatch/MainQueue.h"
#include "platform/FileResources.h"
#include "platform/FolderAllocatedSize.h"

namespace {

// Supplies the pool with one worker shared by all (sizing holds no state)
// and takes no notice of runs beginning and ending.
class SizeDelegate final : public ObjectProcessorDelegate,
                           public ObjectProcessorWorker,
                           public std::enable_shared_from_this<SizeDelegate> {
public:
    explicit SizeDelegate(std::shared_ptr<std::atomic<bool>> abandoned)
        : m_pAbandoned(std::move(abandoned)) {}
    std::shared_ptr<ObjectProcessorWorker> createWorker() override { return shared_from_this(); }
    void onObjectsProcessorWorkBegin(ObjectsProcessor&) override {}
    void onObjectsProcessorWorkCompleted(ObjectsProcessor&) override {}
    void performWorkForObject(const ProcessorObject& object) override {
        SimpleSizeCalculation::performWorkForObject(object, m_pAbandoned.get());
    }

private:
    std::shared_ptr<std::atomic<bool>> m_pAbandoned;
};

// A folder with a link count of 2 or more is not entered. On most systems
// that would skip ordinary folders; it is kept as the rule of this calculator,
// and where folders report a link count of 1 every folder is entered.
bool shouldEnterFolder(std::uint64_t linkCount) {
    return linkCount < 2;
}

std::int64_t clampedToSigned(std::uint64_t bytes) {
    constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return static_cast<std::int64_t>(bytes > kMax ? kMax : bytes);
}

}  // namespace

SimpleSizeCalculation& SimpleSizeCalculation::GetInstance() {
    static const std::shared_ptr<SimpleSizeCalculation> instance = create();
    return *instance;
}

std::shared_ptr<SimpleSizeCalculation> SimpleSizeCalculation::create() {
    std::shared_ptr<SimpleSizeCalculation> calculation(new SimpleSizeCalculation());
    calculation->m_pDelegate = std::make_shared<SizeDelegate>(calculation->m_pAbandoned);
    calculation->m_pProcessor =
        ObjectsProcessor::create(kCountOfWorkers, calculation->m_pDelegate, true);
    return calculation;
}

SimpleSizeCalculation::~SimpleSizeCalculation() {
    m_pAbandoned->store(true, std::memory_order_relaxed);
    // The processor goes next, with the members, and waits for its workers.
}

void SimpleSizeCalculation::addTask(const std::shared_ptr<SimpleSizeCalculationTask>& task) {
    if (!task) return;
    m_pProcessor->addObject(task);
}

void SimpleSizeCalculation::cancelAllTasks() {
    m_pProcessor->getController()->stop();
}

void SimpleSizeCalculation::performWorkForObject(const ProcessorObject& object,
                                                 const std::atomic<bool>* abandoned) {
    const auto* held = std::any_cast<std::shared_ptr<SimpleSizeCalculationTask>>(&object);
    if (held == nullptr || !*held) return;
    std::shared_ptr<SimpleSizeCalculationTask> task = *held;

    const std::string path = task->itemPath();
    bool isDirectory = false;
    std::int64_t size = 0;
    // Links are followed here, so a link to a folder is sized as the folder.
    if (platform::fileExistsAtPath(path, &isDirectory)) {
        size = isDirectory ? fastFolderSizeOfItemWithPath(path, abandoned) : sizeOfFile(path);
    }
    // A walk cut short knows only part of the size: no one is left to tell.
    if (abandoned != nullptr && abandoned->load(std::memory_order_relaxed)) return;
    task->setItemSize(static_cast<std::uint64_t>(size));

    auto listener = task->listener();
    if (!listener) return;
    dispatch::MainQueue::main().async([task = std::move(task), listener = std::move(listener)] {
        listener->onSimpleSizeCalculationTaskComplete(task);
    });
}

std::int64_t SimpleSizeCalculation::fastFolderSizeOfItemWithPath(
    const std::string& path, const std::atomic<bool>* abandoned) {
    platform::FolderWalkLimits limits;
    limits.abandoned = abandoned;
    return clampedToSigned(
        platform::allocatedSizeOfFolderContents(path, &shouldEnterFolder, limits));
}

std::int64_t SimpleSizeCalculation::sizeOfFile(const std::string& path) {
    return clampedToSigned(platform::allocatedSizeOfEntry(path).value_or(0));
}
