#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace testsupport {

TempDir::TempDir() {
    std::string pattern = (fs::temp_directory_path() / "sweepwell-test-XXXXXX").string();
    char* made = mkdtemp(pattern.data());
    if (made == nullptr) ADD_FAILURE() << "mkdtemp failed";
    m_sPath = fs::canonical(pattern).string();
}

TempDir::~TempDir() {
    std::error_code error;
    // Give back permissions a test took away so that everything can be removed.
    for (auto it = fs::recursive_directory_iterator(
             m_sPath, fs::directory_options::skip_permission_denied, error);
         !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
        if (it->is_directory(error) && !it->is_symlink(error)) ::chmod(it->path().c_str(), 0700);
    }
    ::chmod(m_sPath.c_str(), 0700);
    // A second pass catches folders the first could not enter.
    for (int pass = 0; pass < 2; ++pass) {
        for (auto it = fs::recursive_directory_iterator(m_sPath, error);
             !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
            if (!it->is_symlink(error) && it->is_directory(error))
                ::chmod(it->path().c_str(), 0700);
        }
    }
    fs::remove_all(m_sPath, error);
}

std::string TempDir::makeDir(const std::string& relative) const {
    std::string path = *this / relative;
    fs::create_directories(path);
    return path;
}

std::string TempDir::writeFile(const std::string& relative, const std::string& contents) const {
    std::string path = *this / relative;
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << contents;
    return path;
}

std::string TempDir::makeSymlink(const std::string& relative, const std::string& target) const {
    std::string path = *this / relative;
    fs::create_directories(fs::path(path).parent_path());
    fs::create_symlink(target, path);
    return path;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

bool exists(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0;
}

unsigned modeOf(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
}

}  // namespace testsupport
