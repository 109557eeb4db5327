#include "remains/SimpleSizeCalculationTask.h"

SimpleSizeCalculationTask::SimpleSizeCalculationTask(
    std::shared_ptr<SimpleSizeCalculationTaskListener> listener, std::string itemPath)
    : m_pListener(std::move(listener)), m_sItemPath(std::move(itemPath)) {}

std::shared_ptr<SimpleSizeCalculationTaskListener> SimpleSizeCalculationTask::listener() const {
    std::lock_guard guard(m_lock);
    return m_pListener;
}

void SimpleSizeCalculationTask::setListener(
    std::shared_ptr<SimpleSizeCalculationTaskListener> listener) {
    std::lock_guard guard(m_lock);
    m_pListener = std::move(listener);
}

std::string SimpleSizeCalculationTask::itemPath() const {
    std::lock_guard guard(m_lock);
    return m_sItemPath;
}

void SimpleSizeCalculationTask::setItemPath(std::string itemPath) {
    std::lock_guard guard(m_lock);
    m_sItemPath = std::move(itemPath);
}
