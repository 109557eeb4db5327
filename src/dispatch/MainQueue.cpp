#include "dispatch/MainQueue.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace dispatch {

namespace {

std::mutex g_installLock;
std::shared_ptr<MainQueue> g_pInstalled;  // keeps the instance alive
std::atomic<MainQueue*> g_pMain{nullptr};

}  // namespace

MainQueue& MainQueue::main() {
    MainQueue* queue = g_pMain.load(std::memory_order_acquire);
    if (queue == nullptr) {
        std::fputs("dispatch: MainQueue::main() used before a main queue was installed\n", stderr);
        std::abort();
    }
    return *queue;
}

std::shared_ptr<MainQueue> MainQueue::install(std::shared_ptr<MainQueue> queue) {
    std::lock_guard lock(g_installLock);
    g_pMain.store(queue.get(), std::memory_order_release);
    std::swap(g_pInstalled, queue);
    return queue;
}

}  // namespace dispatch
