// Prints, for each path argument, "<bytes>\t<path>": the allocated size the
// agent works out for a leftover at that path (the contents of a folder, the
// entry itself otherwise; 0 for what is not there). Each path goes through
// the very call a worker makes for a task, on this one thread; a task with
// no listener is answered to nobody, so no main queue is needed. The exit
// status is 0 unless no path was given. With --sequential first, each folder
// is walked on this one thread instead of on the shared walk threads.
#include <cstdio>
#include <cstring>
#include <memory>

#include "platform/FolderAllocatedSize.h"
#include "remains/SimpleSizeCalculation.h"

int main(int argc, char** argv) {
    const bool sequential = argc > 1 && std::strcmp(argv[1], "--sequential") == 0;
    const int first = sequential ? 2 : 1;
    if (argc <= first) {
        std::fprintf(stderr, "usage: %s [--sequential] <path>...\n", argv[0]);
        return 2;
    }
    for (int i = first; i < argc; ++i) {
        std::uint64_t size = 0;
        if (sequential) {
            platform::FolderWalkLimits limits;
            limits.inParallel = false;
            size = platform::allocatedSizeOfFolderContents(
                argv[i], [](std::uint64_t) { return true; }, limits);
        } else {
            auto task = std::make_shared<SimpleSizeCalculationTask>(nullptr, argv[i]);
            SimpleSizeCalculation::performWorkForObject(ProcessorObject(task));
            size = task->itemSize();
        }
        std::printf("%llu\t%s\n", static_cast<unsigned long long>(size), argv[i]);
    }
    return 0;
}
