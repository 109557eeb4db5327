#pragma once

#include <cstddef>
#include <string>

namespace testsupport {

// While alive, reading the entries of one folder (by identity, whatever path
// opens it) fails with EIO after `entriesBefore` entries, "." and ".."
// included, as a failing disk or network file system does part-way through.
// Only programs that build ReaddirFault.cpp in have it.
class ReaddirFault {
public:
    ReaddirFault(const std::string& folder, std::size_t entriesBefore);
    ~ReaddirFault();
    ReaddirFault(const ReaddirFault&) = delete;
    ReaddirFault& operator=(const ReaddirFault&) = delete;

    // How many reads were made to fail so far.
    int failures() const;
};

}  // namespace testsupport
