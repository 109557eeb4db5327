#include "environment/AppGroupManager.h"

#include "platform/PathUtils.h"
#include "platform/TemporaryDirectory.h"
#include "platform/UserDefaults.h"

AppGroupManager& AppGroupManager::GetInstance() {
    // Linux has no group containers: files go to the private temporary folder.
    static AppGroupManager instance(std::nullopt,
                                    platform::UserDefaults::createWithSuiteName(kGroupIdentifier));
    return instance;
}

AppGroupManager::AppGroupManager(std::optional<std::string> containerPath,
                                 std::shared_ptr<platform::UserDefaults> defaults)
    : m_sContainerPath(std::move(containerPath)), m_pDefaults(std::move(defaults)) {}

std::string AppGroupManager::getTemporaryDirectory() const {
    if (m_sContainerPath && !m_sContainerPath->empty()) {
        return platform::PathUtils::stringByAppendingPathComponent(*m_sContainerPath,
                                                                   kTemporaryFolderName);
    }
    return platform::temporaryDirectory();
}
