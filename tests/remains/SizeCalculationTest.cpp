#include <gtest/gtest.h>

#include <map>

#include "RemainsTestSupport.h"
#include "remains/SimpleSizeCalculation.h"
#include "support/TempDir.h"

namespace {

using namespace std::chrono_literals;

using remainstest::expectedSize;

// Every answer, with the thread it came on.
struct Record {
    int offMain = 0;
    std::map<std::string, int> count;
    std::map<std::string, std::uint64_t> sizes;
    std::vector<std::string> order;
};

class Answers : public SimpleSizeCalculationTaskListener {
public:
    explicit Answers(dispatch::MainQueue& queue) : m_queue(queue) {}
    void onSimpleSizeCalculationTaskComplete(
        const std::shared_ptr<SimpleSizeCalculationTask>& task) override {
        if (!m_queue.isCurrent()) ++record->offMain;
        ++record->count[task->itemPath()];
        record->sizes[task->itemPath()] = task->itemSize();
        record->order.push_back(task->itemPath());
    }
    dispatch::MainQueue& m_queue;
    std::shared_ptr<Record> record = std::make_shared<Record>();
};

class SizeCalculation : public ::testing::Test {
protected:
    std::shared_ptr<dispatch::ManualMainQueue> m_pQueue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue m_scope{m_pQueue};
    testsupport::TempDir m_dir;
    std::shared_ptr<SimpleSizeCalculation> m_pCalculation = SimpleSizeCalculation::create();

    void write(const std::string& relative, std::size_t bytes) {
        m_dir.writeFile(relative, std::string(bytes, 'z'));
    }
    void add(const std::shared_ptr<SimpleSizeCalculationTaskListener>& listener,
             const std::string& path) {
        m_pCalculation->addTask(std::make_shared<SimpleSizeCalculationTask>(listener, path));
    }
    bool pumpUntil(const std::function<bool()>& done) {
        return remainstest::pumpUntil(*m_pQueue, done, 1s);
    }
};

TEST_F(SizeCalculation, EachTaskIsAnsweredOnceOnTheMainQueue) {
    write("App.app/Contents/MacOS/App", 30000);
    write("App.app/Contents/Resources/a.png", 5000);
    write("App.app/Contents/Resources/.hidden", 100);
    write("file", 12345);
    m_dir.makeDir("empty");
    m_dir.makeSymlink("link-to-app", m_dir / "App.app");
    m_dir.makeSymlink("link-to-file", m_dir / "file");
    m_dir.makeSymlink("dangling", m_dir / "nothing");

    const std::map<std::string, std::uint64_t> expected = {
        {m_dir / "App.app", expectedSize(m_dir / "App.app")},
        // The existence test follows links: a link to a folder is sized as that folder...
        {m_dir / "link-to-app", expectedSize(m_dir / "App.app")},
        // ...while a link to a file is sized as the link itself.
        {m_dir / "link-to-file", expectedSize(m_dir / "link-to-file")},
        {m_dir / "file", expectedSize(m_dir / "file")},
        {m_dir / "empty", 0},
        {m_dir / "missing", 0},
        {m_dir / "dangling", 0},
        {"", 0},
    };
    auto answers = std::make_shared<Answers>(*m_pQueue);
    for (const auto& [path, size] : expected) add(answers, path);
    // The tasks keep their listener alive; no one else needs to.
    std::weak_ptr<Answers> weakAnswers = answers;
    const auto seen = answers->record;
    answers.reset();
    m_pCalculation->addTask(nullptr);
    // A task without a listener is sized but answers no one.
    auto silent = std::make_shared<SimpleSizeCalculationTask>(nullptr, m_dir / "file");
    m_pCalculation->addTask(silent);

    ASSERT_TRUE(pumpUntil([&] { return seen->order.size() == expected.size(); }));
    EXPECT_GT(expectedSize(m_dir / "App.app"), 30000u);
    EXPECT_EQ(seen->sizes, expected);
    for (const auto& [path, times] : seen->count) EXPECT_EQ(times, 1) << path;
    EXPECT_EQ(seen->offMain, 0);
    ASSERT_TRUE(pumpUntil([&] { return !m_pCalculation->isWorking(); }));
    EXPECT_EQ(silent->itemSize(), expectedSize(m_dir / "file"));
    EXPECT_TRUE(weakAnswers.expired()) << "answered tasks let go of their listener";
}

// How often each task was answered.
class TaskAnswers : public SimpleSizeCalculationTaskListener {
public:
    void onSimpleSizeCalculationTaskComplete(
        const std::shared_ptr<SimpleSizeCalculationTask>& task) override {
        ++times[task.get()];
        ++total;
    }
    std::map<const SimpleSizeCalculationTask*, int> times;
    std::size_t total = 0;
};

TEST_F(SizeCalculation, CancelKeepsTheAnswersOfTasksAlreadyTaken) {
    for (int i = 0; i < 100; ++i) write("folder/f" + std::to_string(i), 100);
    // Far more work than the workers get through before the cancel reaches them.
    constexpr std::size_t kTasks = 20000;
    auto answers = std::make_shared<TaskAnswers>();
    std::vector<std::shared_ptr<SimpleSizeCalculationTask>> tasks;
    for (std::size_t i = 0; i < kTasks; ++i) {
        tasks.push_back(std::make_shared<SimpleSizeCalculationTask>(answers, m_dir / "folder"));
        m_pCalculation->addTask(tasks.back());
    }
    ASSERT_TRUE(pumpUntil([&] { return answers->total > 0; }));
    m_pCalculation->cancelAllTasks();
    ASSERT_TRUE(pumpUntil([&] { return !m_pCalculation->isWorking(); }));
    m_pQueue->runUntilIdle();

    // A task is sized exactly when a worker took it, and then it answers once.
    std::size_t taken = 0;
    for (const auto& task : tasks) {
        const bool sized = task->itemSize() > 0;
        taken += sized ? 1 : 0;
        EXPECT_EQ(answers->times[task.get()], sized ? 1 : 0);
    }
    EXPECT_GT(taken, 0u);
    EXPECT_LT(taken, kTasks) << "pending tasks are dropped";

    // Work added afterwards runs as usual.
    auto later = std::make_shared<SimpleSizeCalculationTask>(answers, m_dir / "folder/f1");
    m_pCalculation->addTask(later);
    ASSERT_TRUE(pumpUntil([&] { return answers->times[later.get()] == 1; }));
}

}  // namespace
