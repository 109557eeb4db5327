#pragma once

#include <string>

namespace platform {

// An exclusive advisory lock on a file, held for the life of the object.
// Used to make "is another instance listening, else listen" one step.
class FileLock {
public:
    // Creates the file (mode 0600) if needed and blocks until the lock is ours.
    explicit FileLock(const std::string& path);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    // False when the file could not be opened or locked.
    bool isLocked() const { return m_nDescriptor >= 0; }

private:
    int m_nDescriptor = -1;
};

}  // namespace platform
