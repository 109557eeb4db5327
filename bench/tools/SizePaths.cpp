// Prints, for each path argument, "<bytes>\t<path>": the allocated size the
// agent works out for a leftover at that path (the contents of a folder, the
// entry itself otherwise; 0 for what is not there). Each path goes through
// the very call a worker makes for a task, on this one thread; a task with
// no listener is answered to nobody, so no main queue is needed. The exit
// status is 0 unless no path was given.
#include <cstdio>
#include <memory>

#include "remains/SimpleSizeCalculation.h"

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s <path>...\n", argv[0]);
        return 2;
    }
    for (int i = 1; i < argc; ++i) {
        auto task = std::make_shared<SimpleSizeCalculationTask>(nullptr, argv[i]);
        SimpleSizeCalculation::performWorkForObject(ProcessorObject(task));
        std::printf("%llu\t%s\n", static_cast<unsigned long long>(task->itemSize()), argv[i]);
    }
    return 0;
}
