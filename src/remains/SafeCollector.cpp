#include "remains/SafeCollector.h"

std::shared_ptr<SafeCollector> SafeCollector::create(std::weak_ptr<SafeCollectorListener> listener,
                                                     std::int64_t setUpdateCountTo) {
    return std::shared_ptr<SafeCollector>(new SafeCollector(std::move(listener), setUpdateCountTo));
}

SafeCollector::SafeCollector(std::weak_ptr<SafeCollectorListener> listener,
                             std::int64_t updateCount)
    : m_pListener(std::move(listener)), m_nUpdateCount(updateCount) {}

template <class Block>
void SafeCollector::onWorkQueue(Block block) {
    m_workQueue.async([weakSelf = weak_from_this(), block = std::move(block)]() mutable {
        if (auto self = weakSelf.lock()) block(*self);
    });
}

void SafeCollector::addObject(std::any object) {
    onWorkQueue([object = std::move(object)](SafeCollector& self) mutable {
        self.m_arrItems.push_back(std::move(object));
        self.m_nItemsCount += 1;
        self.updateListenerForced(false);
    });
}

void SafeCollector::addObjects(std::vector<std::any> objects) {
    onWorkQueue([objects = std::move(objects)](SafeCollector& self) mutable {
        const auto count = static_cast<std::int64_t>(objects.size());
        for (auto& object : objects) self.m_arrItems.push_back(std::move(object));
        self.m_nItemsCount += count;
        self.updateListenerForced(false);
    });
}

void SafeCollector::pushObjectsForced() {
    onWorkQueue([](SafeCollector& self) { self.updateListenerForced(true); });
}

void SafeCollector::updateListenerForced(bool forced) {
    if (!forced && m_nItemsCount < m_nUpdateCount) return;
    std::vector<std::any> items;
    items.swap(m_arrItems);
    m_nItemsCount = 0;
    if (auto listener = m_pListener.lock()) listener->onSafeCollector(*this, std::move(items));
}
