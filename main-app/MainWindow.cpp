#include "MainWindow.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QHBoxLayout>
#include <QHeaderView>
#include <QVBoxLayout>

#include "core/Texts.h"
#include "dispatch/SerialQueue.h"
#include "environment/PathsGenerator.h"
#include "environment/TrashFolders.h"
#include "messages/FileMessage.h"
#include "messages/WatcherMessage.h"
#include "platform/ByteCountFormatter.h"
#include "platform/FileSystem.h"
#include "platform/Log.h"
#include "platform/MountTable.h"
#include "platform/TrashWriter.h"
#include "remains/SimpleSizeCalculation.h"

using mainapp::Outcome;

namespace {

constexpr const char* kLogPart = "main-app";

QString text(const std::string& english) {
    return QString::fromStdString(mainapp::tr(english));
}

QString text(const std::string& english, const std::string& argument) {
    return text(english).arg(QString::fromStdString(argument));
}

QString bytes(std::uint64_t count) {
    return QString::fromStdString(platform::ByteCountFormatter::stringFromByteCount(
        static_cast<std::int64_t>(count), mainapp::language()));
}

enum Column { kItem, kSize, kStatus };

// The entry's own size: a folder's contents, a file or link itself (a link
// is moved as a link, so what it leads to is not counted).
std::uint64_t sizeOfEntry(const std::string& path, const std::atomic<bool>* abandoned) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return 0;
    const std::int64_t size =
        S_ISDIR(info.st_mode) ? SimpleSizeCalculation::fastFolderSizeOfItemWithPath(path, abandoned)
                              : SimpleSizeCalculation::sizeOfFile(path);
    return size > 0 ? static_cast<std::uint64_t>(size) : 0;
}

// The home Trash, and each disk's own Trash that the agent's set of Trash
// folders trusts at this moment: disks come and go while the window is open.
platform::TrashWriter trashWriter() {
    const auto& paths = PathsGenerator::GetInstance();
    std::vector<platform::TrashWriter::DiskTrash> disks;
    for (const auto& folder :
         TrashFolders::all(paths, platform::MountTable::current(), ::getuid())) {
        if (folder.kind == TrashFolder::Kind::Volume) {
            disks.push_back({folder.trashDirectory, folder.topDirectory});
        }
    }
    return platform::TrashWriter(paths.buildHomeTrashDirectory(), std::move(disks), ::getuid());
}

}  // namespace

MainWindow::MainWindow(std::string home)
    : m_plan(std::move(home), TrashFolders::all(PathsGenerator::GetInstance(),
                                                platform::MountTable::current(), ::getuid())),
      m_pTree(new QTreeWidget(this)),
      m_pTotal(new QLabel(this)),
      m_pMove(new QPushButton(text("Move to Trash"), this)),
      m_pCancel(new QPushButton(text("Cancel"), this)) {
    setWindowTitle(text("Sweepwell - Complete Uninstallation"));
    auto* title = new QLabel(text("Review what the removed applications left behind"), this);
    QFont bold = title->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.2);
    title->setFont(bold);
    auto* hint =
        new QLabel(text("Checked items are moved to the Trash, where you can still restore them."));

    m_pTree->setColumnCount(3);
    m_pTree->setHeaderLabels({text("Item"), text("Size"), text("Status")});
    // Paths are never cut short: the status takes what room is left.
    m_pTree->header()->setSectionResizeMode(kItem, QHeaderView::ResizeToContents);
    m_pTree->header()->setSectionResizeMode(kSize, QHeaderView::ResizeToContents);
    m_pTree->header()->setStretchLastSection(true);
    m_pTree->setAccessibleName("leftovers");
    connect(m_pTree, &QTreeWidget::itemChanged, this, &MainWindow::itemChanged);

    m_pMove->setDefault(true);
    m_pMove->setAccessibleName("move-to-trash");
    connect(m_pMove, &QPushButton::clicked, this, &MainWindow::moveToTrash);
    connect(m_pCancel, &QPushButton::clicked, this, &QWidget::close);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_pTotal);
    buttons->addStretch();
    buttons->addWidget(m_pCancel);
    buttons->addWidget(m_pMove);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(title);
    layout->addWidget(hint);
    layout->addWidget(m_pTree);
    layout->addLayout(buttons);
    resize(900, 540);
    rebuild();
}

MainWindow::~MainWindow() {
    m_pAbandoned->store(true);
    for (auto& worker : m_arrWorkers) worker.join();
    // Closed while the exclusion was on its way: the Helper must not keep it.
    sendClear();
    m_pCommands.reset();  // sends what is queued, before the window is gone
}

void MainWindow::openList(const std::string& path) {
    WatcherMessage message;
    std::string why;
    if (!message.loadFromPath(path)) {
        why = "the file " + path + " is not a removal list";
    } else if (m_plan.add(message.getPathsForRemove(), &why)) {
        why.clear();
    }
    if (!why.empty()) {
        m_arrListRefusals.push_back(why);
        platform::Log::warning(kLogPart, "a removal list was refused: " + why);
    } else {
        // Each refusal is said where whoever debugs it looks, too.
        for (const auto& entry : message.getPathsForRemove()) {
            if (entry->type() == 0) continue;
            if (auto refusal = mainapp::refusalFor(entry->path(), m_plan.home())) {
                platform::Log::warning(kLogPart, entry->path() + " is not touched: " + *refusal);
            }
        }
    }
    // Every leftover of the list that still needs its size gets it in the background.
    std::vector<std::string> toSize;
    for (const auto& app : m_plan.applications()) {
        for (const auto& leftover : app.leftovers) {
            if (!leftover.size && !leftover.refusal) toSize.push_back(leftover.path);
        }
    }
    rebuild();
    if (!toSize.empty()) sizeInBackground(std::move(toSize));
}

void MainWindow::sizeInBackground(std::vector<std::string> paths) {
    m_arrWorkers.emplace_back([this, paths = std::move(paths), abandoned = m_pAbandoned] {
        for (const auto& path : paths) {
            if (abandoned->load()) return;
            const std::uint64_t size = sizeOfEntry(path, abandoned.get());
            if (abandoned->load()) return;
            QMetaObject::invokeMethod(
                this, [this, path, size] { sizeArrived(path, size); }, Qt::QueuedConnection);
        }
    });
}

mainapp::Leftover* MainWindow::leftoverAt(const Row& row) {
    auto& apps = m_plan.applications();
    if (row.app >= apps.size() || row.leftover >= apps[row.app].leftovers.size()) return nullptr;
    return &apps[row.app].leftovers[row.leftover];
}

void MainWindow::sizeArrived(const std::string& path, std::uint64_t size) {
    for (auto& [item, row] : m_arrRows) {
        mainapp::Leftover* leftover = leftoverAt(row);
        if (leftover == nullptr || leftover->path != path) continue;
        leftover->size = size;
        item->setText(kSize, bytes(size));
    }
    updateTotal();
}

void MainWindow::rebuild() {
    m_bRebuilding = true;
    m_pTree->clear();
    m_arrRows.clear();
    for (const auto& why : m_arrListRefusals) {
        auto* item = new QTreeWidgetItem(m_pTree, {text("A removal list was refused: %1", why)});
        item->setForeground(kItem, QColor(170, 30, 30));
        item->setFirstColumnSpanned(true);
    }
    QFont bold = m_pTree->font();
    bold.setBold(true);
    const auto& apps = m_plan.applications();
    if (apps.empty() && m_arrListRefusals.empty()) {
        auto* item = new QTreeWidgetItem(
            m_pTree, {text("Nothing to review. When you move an application to the Trash, "
                           "Sweepwell Helper offers to bring what it left behind here.")});
        item->setForeground(kItem, palette().color(QPalette::PlaceholderText));
        item->setFirstColumnSpanned(true);
    }
    for (std::size_t a = 0; a < apps.size(); ++a) {
        const auto& app = apps[a];
        auto* appItem = new QTreeWidgetItem(m_pTree, {QString::fromStdString(app.name)});
        appItem->setFont(kItem, bold);
        if (app.bundlePath) {
            auto* bundle = new QTreeWidgetItem(
                appItem,
                {QString::fromStdString(mainapp::displayPath(*app.bundlePath, m_plan.home())),
                 QString(), text("The application, in the Trash (left alone)")});
            bundle->setToolTip(kItem, QString::fromStdString(*app.bundlePath));
        }
        QTreeWidgetItem* group = nullptr;
        std::string kind;
        for (std::size_t l = 0; l < app.leftovers.size(); ++l) {
            const auto& leftover = app.leftovers[l];
            if (group == nullptr || leftover.kind != kind) {
                kind = leftover.kind;
                group = new QTreeWidgetItem(appItem, {text(kind)});
                group->setFont(kItem, bold);
            }
            auto* item = new QTreeWidgetItem(
                group,
                {QString::fromStdString(mainapp::displayPath(leftover.path, m_plan.home()))});
            item->setToolTip(kItem, QString::fromStdString(leftover.path));
            item->setText(kSize, leftover.size      ? bytes(*leftover.size)
                                 : leftover.refusal ? QString()
                                                    : text("Calculating…"));
            if (!leftover.refusal && leftover.outcome == Outcome::Pending && !m_bMoved) {
                item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
                item->setCheckState(kItem, leftover.checked ? Qt::Checked : Qt::Unchecked);
            }
            showOutcome(item, leftover);
            m_arrRows.push_back({item, {a, l}});
        }
    }
    m_pTree->expandAll();
    m_bRebuilding = false;
    updateTotal();
}

void MainWindow::itemChanged(QTreeWidgetItem* changed) {
    if (m_bRebuilding) return;
    for (auto& [item, row] : m_arrRows) {
        if (item != changed) continue;
        if (mainapp::Leftover* leftover = leftoverAt(row)) {
            leftover->checked = item->checkState(kItem) == Qt::Checked;
        }
    }
    updateTotal();
}

void MainWindow::updateTotal() {
    if (m_bMoved) {
        std::uint64_t moved = 0;
        for (const auto& app : m_plan.applications()) {
            for (const auto& leftover : app.leftovers) {
                if (leftover.outcome == Outcome::Moved) moved += leftover.size.value_or(0);
            }
        }
        m_pTotal->setText(text("Moved to the Trash: %1").arg(bytes(moved)));
    } else {
        m_pTotal->setText(text("Selected: %1").arg(bytes(m_plan.checkedBytes())));
    }
    m_pTotal->setVisible(!m_plan.applications().empty());
    m_pMove->setEnabled(!m_bMoved && !m_bExcluding && !m_plan.pathsToMove().empty());
}

void MainWindow::showOutcome(QTreeWidgetItem* item, const mainapp::Leftover& leftover) {
    QString status;
    QColor colour = palette().color(QPalette::Text);
    switch (leftover.outcome) {
        case Outcome::Pending:
            status = m_bMoved ? text("Not moved") : QString();
            break;
        case Outcome::Moved:
            status = text("Moved to the Trash");
            colour = QColor(30, 120, 40);
            break;
        case Outcome::AlreadyGone:
            status = text("Already gone");
            break;
        case Outcome::Refused:
            status = text("Refused: %1", mainapp::tr(leftover.refusal.value_or("")));
            colour = QColor(170, 30, 30);
            break;
        case Outcome::Failed:
            status = text("Failed: %1", mainapp::tr(leftover.detail));
            colour = QColor(170, 30, 30);
            break;
    }
    item->setText(kStatus, status);
    item->setForeground(kStatus, colour);
}

void MainWindow::moveToTrash() {
    const std::vector<std::string> paths = m_plan.pathsToMove();
    if (paths.empty() || m_bExcluding) return;
    // The Helper must not take an application inside a moved folder (a helper
    // tool in Application Support, say) for one the user just trashed, so the
    // moves wait until it has the exclusion. Sending waits for the Helper,
    // which must not freeze the window: it happens on the commands' queue,
    // which also keeps the exclude before the clear.
    m_bExcluding = true;
    m_pMove->setEnabled(false);
    setCursor(Qt::BusyCursor);
    m_pCommands->async(
        [this, message = FileMessage::CreateMessageForHelperToExcludeRemovedPaths(paths)] {
            message->transmit();
            QMetaObject::invokeMethod(
                this, [this] { moveCheckedLeftovers(); }, Qt::QueuedConnection);
        });
}

void MainWindow::moveCheckedLeftovers() {
    unsetCursor();
    const platform::TrashWriter writer = trashWriter();
    for (auto& app : m_plan.applications()) {
        for (auto& leftover : app.leftovers) {
            if (!leftover.checked || leftover.refusal || leftover.outcome != Outcome::Pending) {
                continue;
            }
            // The rules are asked again: the disk may have changed since the list came.
            if (auto why = mainapp::refusalFor(leftover.path, m_plan.home())) {
                leftover.refusal = why;
                leftover.outcome = Outcome::Refused;
                continue;
            }
            if (!platform::existsWithoutFollowingLink(leftover.path)) {
                leftover.outcome = Outcome::AlreadyGone;
                continue;
            }
            const auto result = writer.moveToTrash(leftover.path);
            if (result.moved) {
                leftover.outcome = Outcome::Moved;
            } else {
                leftover.outcome = Outcome::Failed;
                leftover.detail = result.why;
                platform::Log::warning(
                    kLogPart,
                    leftover.path + " could not be moved to the Trash: " + leftover.detail);
            }
        }
    }
    sendClear();
    m_bMoved = true;
    rebuild();
    m_pCancel->setText(text("Close"));
    m_pCancel->setDefault(true);
}

void MainWindow::sendClear() {
    if (!m_bExcluding) return;
    m_bExcluding = false;
    m_pCommands->async(
        [message = FileMessage::CreateMessageForHelperToCancelExcludeRemovedPaths()] {
            message->transmit();
        });
}
