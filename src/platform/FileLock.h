#pragma once

#include <string>

#include "platform/FileSystem.h"

namespace platform {

// An exclusive advisory lock on a file, held for the life of the object.
// Used to make "is another instance listening, else listen" one step.
class FileLock {
public:
    // Creates the file (mode 0600) if needed and blocks until the lock is ours.
    explicit FileLock(const std::string& path);
    // Closing the file releases the lock.
    ~FileLock() = default;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    // False when the file could not be opened or locked.
    bool isLocked() const { return static_cast<bool>(m_descriptor); }

private:
    UniqueFd m_descriptor;
};

}  // namespace platform
