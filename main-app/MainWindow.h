#pragma once

#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QWidget>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/RemovalPlan.h"
#include "dispatch/SerialQueue.h"

// The Main application's one window: the leftovers of the applications the
// Helper handed over, grouped by application and kind, each with its size
// and a check box, and "Move to Trash" for the checked ones.
class MainWindow : public QWidget {
public:
    explicit MainWindow(std::string home);
    ~MainWindow() override;

    // Reads a removal list (which deletes it) and merges it into the window.
    void openList(const std::string& path);

private:
    struct Row {
        std::size_t app;
        std::size_t leftover;
    };

    void rebuild();
    void sizeInBackground(std::vector<std::string> paths);
    void sizeArrived(const std::string& path, std::uint64_t bytes);
    void itemChanged(QTreeWidgetItem* item);
    void updateTotal();
    void moveToTrash();
    void moveCheckedLeftovers();
    // Has the Helper forget the exclusion sent for the move, after it.
    void sendClear();
    void showOutcome(QTreeWidgetItem* item, const mainapp::Leftover& leftover);
    mainapp::Leftover* leftoverAt(const Row& row);

    mainapp::RemovalPlan m_plan;
    std::vector<std::string> m_arrListRefusals;
    std::vector<std::pair<QTreeWidgetItem*, Row>> m_arrRows;
    bool m_bRebuilding = false;
    bool m_bMoved = false;
    // The exclusion for a move is sent and its clear is not yet.
    bool m_bExcluding = false;

    QTreeWidget* m_pTree;
    QLabel* m_pTotal;
    QPushButton* m_pMove;
    QPushButton* m_pCancel;

    std::shared_ptr<std::atomic<bool>> m_pAbandoned = std::make_shared<std::atomic<bool>>(false);
    std::vector<std::thread> m_arrWorkers;
    // Commands to the Helper, one at a time in the order given.
    std::unique_ptr<dispatch::SerialQueue> m_pCommands =
        std::make_unique<dispatch::SerialQueue>("helper-commands");
};
