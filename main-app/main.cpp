// Sweepwell, the Main application.
//
//   Sweepwell LIST.trforsw...      review the leftovers of each removal list
//                                  and move the chosen ones to the Trash
//   Sweepwell --print-to FILE LIST.trforsw...
//                                  only print each list's entries to FILE
//   Sweepwell --exclude PATH...    tell the Helper to keep quiet about these
//   Sweepwell --clear              tell the Helper to forget those exclusions
//                                  (both may repeat, as in "--exclude A --clear
//                                  --exclude B": sent one by one, in order)
//
// When SWEEPWELL_PRINT_TO names a file (as the tests start it through the
// Helper), lists are printed there as with --print-to. Each entry is printed
// as "bundle-id<TAB>type<TAB>size<TAB>path" (size "-" when not calculated).
// A list opened while the window is shown joins it, also from a second start.
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "MainWindow.h"
#include "app/Logging.h"
#include "app/OpenFileChannel.h"
#include "messages/FileMessage.h"
#include "messages/WatcherMessage.h"
#include "platform/Log.h"
#include "platform/PasswordDatabase.h"
#include "platform/TemporaryDirectory.h"

namespace {

constexpr const char* kMainAppBundleId = "com.quorvex.Sweepwell-Plus";

int printRemovalList(const std::string& path, const std::string& output) {
    WatcherMessage message;
    if (!message.loadFromPath(path)) {
        platform::Log::warning("main-app", path + " is not a removal list");
        return 1;
    }
    std::string text;
    for (const auto& entry : message.getPathsForRemove()) {
        text += entry->bundleId() + "\t" + std::to_string(entry->type()) + "\t" +
                (entry->isSizeCalculated() ? std::to_string(entry->getSize()) : "-") + "\t" +
                entry->path() + "\n";
    }
    std::fputs(text.c_str(), stdout);
    std::ofstream(output, std::ios::app) << text;
    return 0;
}

int printRemovalLists(const std::vector<std::string>& lists, const std::string& output) {
    int status = 0;
    for (const std::string& path : lists) status |= printRemovalList(path, output);
    return status;
}

std::vector<std::string> absolute(const std::vector<std::string>& paths) {
    std::vector<std::string> result;
    for (const auto& path : paths) {
        result.push_back(QFileInfo(QDir::current(), QString::fromStdString(path))
                             .absoluteFilePath()
                             .toStdString());
    }
    return result;
}

bool isCommand(const std::string& argument) {
    return argument == "--exclude" || argument == "--clear";
}

// "--exclude PATH..." and "--clear", as many as given, each sent once the one
// before it has been taken. 1 when the Helper did not take one (or none runs).
int sendCommands(const std::vector<std::string>& arguments) {
    int status = 0;
    const auto send = [&status](const std::shared_ptr<FileMessage>& message) {
        if (message->transmit()) return;
        std::fprintf(stderr, "Sweepwell: the Helper did not take the command\n");
        status = 1;
    };
    for (auto next = arguments.begin(); next != arguments.end();) {
        if (*next == "--clear") {
            send(FileMessage::CreateMessageForHelperToCancelExcludeRemovedPaths());
            ++next;
            continue;
        }
        if (*next != "--exclude") {
            std::fprintf(stderr, "Sweepwell: %s is not a command\n", next->c_str());
            return 1;
        }
        const auto end = std::find_if(next + 1, arguments.end(), isCommand);
        send(FileMessage::CreateMessageForHelperToExcludeRemovedPaths(
            std::vector<std::string>(next + 1, end)));
        next = end;
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    // The same log as the agent's, so that one QT_LOGGING_RULES or
    // SWEEPWELL_LOG tunes both.
    composition::installLogging();
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (!arguments.empty() && isCommand(arguments.front())) return sendCommands(arguments);
    if (arguments.size() >= 2 && arguments.front() == "--print-to") {
        return printRemovalLists({arguments.begin() + 2, arguments.end()}, arguments[1]);
    }
    if (const char* output = std::getenv("SWEEPWELL_PRINT_TO"); output && *output) {
        return printRemovalLists(arguments, output);
    }

    QApplication application(argc, argv);
    const std::string home = platform::homeFromPasswordDatabase();
    const std::vector<std::string> lists = absolute([] {
        std::vector<std::string> named;
        const QStringList given = QCoreApplication::arguments();
        for (qsizetype i = 1; i < given.size(); ++i) named.push_back(given[i].toStdString());
        return named;
    }());
    std::unique_ptr<MainWindow> window;
    const std::string folder = platform::temporaryDirectory();
    OpenFileChannel channel(folder.empty() ? std::string()
                                           : folder + kMainAppBundleId + ".open-files");
    const bool forwarded = channel.forwardOrListen(
        lists,
        [&window](std::vector<std::string> paths) {
            if (!window) return;
            for (const auto& path : paths) window->openList(path);
            window->raise();
            window->activateWindow();
        },
        [&] { window = std::make_unique<MainWindow>(home); });
    if (forwarded) return 0;  // the running window has them
    if (!window) window = std::make_unique<MainWindow>(home);
    for (const auto& path : lists) window->openList(path);
    window->show();
    return application.exec();
}
