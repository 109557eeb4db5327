#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "messages/MessageEnvironment.h"
#include "messages/PathForRemove.h"

// Hands a removal list to the Main application: writes the list file and has
// the Main application open it.
class NotificationsManager {
public:
    static NotificationsManager& GetInstance();

    explicit NotificationsManager(MessageEnvironment environment);

    // Does nothing for an empty list, when no Main application is found, or
    // when the list cannot be written (the log says which).
    void removeFilePaths(const std::vector<std::shared_ptr<PathForRemove>>& paths) const;

    // The Main application to hand the list to: the application bundle that
    // encloses the Helper's own bundle when it has the Main application's
    // identifier; else the executable of the first running copy; else the
    // first installed copy. Only copies the environment's trust lets us
    // start are considered. nullopt when there is none.
    std::optional<std::string> findMainApplication() const;

private:
    MessageEnvironment m_environment;
};
