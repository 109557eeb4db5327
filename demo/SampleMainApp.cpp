// The sample Main application.
//
//   Sweepwell LIST.trforsw...      print the entries of each removal list
//   Sweepwell --exclude PATH...    tell the Helper to keep quiet about these
//   Sweepwell --clear              tell the Helper to forget those exclusions
//
// Each entry is printed as "bundle-id<TAB>type<TAB>size<TAB>path" (size "-"
// when not calculated) on standard output and, when SWEEPWELL_SAMPLE_OUTPUT
// names a file, appended to it, so that a test can read what arrived.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "messages/FileMessage.h"
#include "messages/WatcherMessage.h"

namespace {

int printRemovalList(const std::string& path) {
    WatcherMessage message;
    if (!message.loadFromPath(path)) {
        std::fprintf(stderr, "Sweepwell: %s is not a removal list\n", path.c_str());
        return 1;
    }
    std::string text;
    for (const auto& entry : message.getPathsForRemove()) {
        text += entry->bundleId() + "\t" + std::to_string(entry->type()) + "\t" +
                (entry->isSizeCalculated() ? std::to_string(entry->getSize()) : "-") + "\t" +
                entry->path() + "\n";
    }
    std::fputs(text.c_str(), stdout);
    if (const char* output = std::getenv("SWEEPWELL_SAMPLE_OUTPUT"); output && *output) {
        std::ofstream(output, std::ios::app) << text;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.empty()) {
        std::fputs("usage: Sweepwell LIST.trforsw... | --exclude PATH... | --clear\n", stderr);
        return 2;
    }
    if (arguments.front() == "--exclude") {
        const std::vector<std::string> paths(arguments.begin() + 1, arguments.end());
        FileMessage::CreateMessageForHelperToExcludeRemovedPaths(paths)->transmit();
        return 0;
    }
    if (arguments.front() == "--clear") {
        FileMessage::CreateMessageForHelperToCancelExcludeRemovedPaths()->transmit();
        return 0;
    }
    int status = 0;
    for (const std::string& path : arguments) status |= printRemovalList(path);
    return status;
}
