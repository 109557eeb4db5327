#pragma once

#include <chrono>
#include <string>

namespace testsupport {

// How long a test waits in real time for something that should happen at
// once: far beyond any normal run, so that a loaded machine under a
// sanitizer is slow but never failing. Only a fault runs into it.
inline constexpr std::chrono::seconds kPatience{60};

// A fresh folder under the system temporary folder, removed with everything
// in it (unreadable sub-folders included) when the object goes away.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return m_sPath; }
    // path() joined with a relative path.
    std::string operator/(const std::string& relative) const { return m_sPath + "/" + relative; }

    // Helpers that create what a test describes; parents are created as needed.
    std::string makeDir(const std::string& relative) const;
    std::string writeFile(const std::string& relative, const std::string& contents = {}) const;
    std::string makeSymlink(const std::string& relative, const std::string& target) const;

private:
    std::string m_sPath;
};

// Reads a whole file; empty when it cannot be read.
std::string readFile(const std::string& path);

// Whether anything, a dangling link too, stands at the path.
bool exists(const std::string& path);
// The permission bits of the entry itself (a link is not followed); 0 when
// there is none.
unsigned modeOf(const std::string& path);

}  // namespace testsupport
