#include <gtest/gtest.h>

#include <map>

#include "RemainsTestSupport.h"
#include "remains/SimpleSizeCalculation.h"
#include "support/TempDir.h"

namespace {

using namespace std::chrono_literals;
using remainstest::expectedSize;

// Every answer: how often each task and each path was answered, the size
// given, and how many came off the main queue. Kept apart from the listener,
// which the tasks alone keep alive.
struct Record {
    int offMain = 0;
    std::map<const SimpleSizeCalculationTask*, int> byTask;
    std::map<std::string, int> byPath;
    std::map<std::string, std::uint64_t> sizes;
};

struct Answers : SimpleSizeCalculationTaskListener {
    void onSimpleSizeCalculationTaskComplete(
        const std::shared_ptr<SimpleSizeCalculationTask>& task) override {
        record->offMain += dispatch::MainQueue::main().isCurrent() ? 0 : 1;
        ++record->byTask[task.get()];
        ++record->byPath[task->itemPath()];
        record->sizes[task->itemPath()] = task->itemSize();
    }
    std::shared_ptr<Record> record = std::make_shared<Record>();
};

class SizeCalculation : public ::testing::Test {
protected:
    std::shared_ptr<dispatch::ManualMainQueue> m_pQueue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue m_scope{m_pQueue};
    testsupport::TempDir m_dir;
    std::shared_ptr<SimpleSizeCalculation> m_pCalculation = SimpleSizeCalculation::create();

    bool pumpUntil(const std::function<bool()>& done) {
        return remainstest::pumpUntil(*m_pQueue, done, 1s);
    }
};

TEST_F(SizeCalculation, EachTaskIsAnsweredOnceOnTheMainQueue) {
    m_dir.writeFile("App.app/Contents/MacOS/App", std::string(30000, 'z'));
    m_dir.writeFile("App.app/Contents/Resources/.hidden", "z");
    m_dir.writeFile("file", std::string(12345, 'z'));
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
    auto answers = std::make_shared<Answers>();
    for (const auto& [path, size] : expected) {
        m_pCalculation->addTask(std::make_shared<SimpleSizeCalculationTask>(answers, path));
    }
    const std::weak_ptr<Answers> weakAnswers = answers;
    const auto seen = answers->record;
    answers.reset();
    m_pCalculation->addTask(nullptr);
    // A task without a listener is sized but answers no one.
    auto silent = std::make_shared<SimpleSizeCalculationTask>(nullptr, m_dir / "file");
    m_pCalculation->addTask(silent);

    ASSERT_TRUE(pumpUntil([&] { return seen->sizes.size() == expected.size(); }));
    ASSERT_TRUE(pumpUntil([&] { return !m_pCalculation->isWorking(); }));
    EXPECT_GT(expectedSize(m_dir / "App.app"), 30000u);
    EXPECT_EQ(seen->sizes, expected);
    for (const auto& [path, times] : seen->byPath) EXPECT_EQ(times, 1) << path;
    EXPECT_EQ(seen->offMain, 0);
    EXPECT_EQ(silent->itemSize(), expectedSize(m_dir / "file"));
    EXPECT_TRUE(weakAnswers.expired()) << "answered tasks let go of their listener";
}

TEST_F(SizeCalculation, CancelKeepsTheAnswersOfTasksAlreadyTaken) {
    for (int i = 0; i < 100; ++i) m_dir.writeFile("folder/f" + std::to_string(i), "z");
    // Far more work than the workers get through before the cancel reaches them.
    constexpr std::size_t kTasks = 20000;
    auto answers = std::make_shared<Answers>();
    std::vector<std::shared_ptr<SimpleSizeCalculationTask>> tasks;
    for (std::size_t i = 0; i < kTasks; ++i) {
        tasks.push_back(std::make_shared<SimpleSizeCalculationTask>(answers, m_dir / "folder"));
        m_pCalculation->addTask(tasks.back());
    }
    ASSERT_TRUE(pumpUntil([&] { return !answers->record->byTask.empty(); }));
    m_pCalculation->cancelAllTasks();
    ASSERT_TRUE(pumpUntil([&] { return !m_pCalculation->isWorking(); }));
    m_pQueue->runUntilIdle();

    // A task is sized exactly when a worker took it, and then it answers once.
    std::size_t taken = 0;
    for (const auto& task : tasks) {
        const bool sized = task->itemSize() > 0;
        taken += sized ? 1 : 0;
        EXPECT_EQ(answers->record->byTask[task.get()], sized ? 1 : 0);
    }
    EXPECT_GT(taken, 0u);
    EXPECT_LT(taken, kTasks) << "pending tasks are dropped";

    // Work added afterwards runs as usual.
    auto later = std::make_shared<SimpleSizeCalculationTask>(answers, m_dir / "folder/f1");
    m_pCalculation->addTask(later);
    ASSERT_TRUE(pumpUntil([&] { return answers->record->byTask[later.get()] == 1; }));
}

}  // namespace
