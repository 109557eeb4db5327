#include "platform/PasswordDatabase.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace platform {
namespace {

template <typename Lookup>
std::optional<PasswordEntry> lookUp(Lookup lookup) {
    const long hint = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(hint > 0 ? static_cast<std::size_t>(hint) : 16384);
    // The reentrant calls answer ERANGE until the buffer fits; a few
    // doublings cover any real entry without looping on a broken database.
    for (int attempt = 0; attempt < 6; ++attempt, buffer.resize(buffer.size() * 2)) {
        struct passwd entry {};
        struct passwd* found = nullptr;
        const int error = lookup(&entry, buffer.data(), buffer.size(), &found);
        if (error == ERANGE) continue;
        if (error != 0 || found == nullptr) return std::nullopt;
        return PasswordEntry{found->pw_name != nullptr ? found->pw_name : "",
                             found->pw_dir != nullptr ? found->pw_dir : ""};
    }
    return std::nullopt;
}

}  // namespace

std::optional<PasswordEntry> passwordEntryForCurrentUser() {
    return lookUp([](passwd* entry, char* buffer, std::size_t size, passwd** found) {
        return ::getpwuid_r(::getuid(), entry, buffer, size, found);
    });
}

std::optional<PasswordEntry> passwordEntryForUserName(const std::string& userName) {
    return lookUp([&](passwd* entry, char* buffer, std::size_t size, passwd** found) {
        return ::getpwnam_r(userName.c_str(), entry, buffer, size, found);
    });
}

std::string homeFromPasswordDatabase() {
    auto entry = passwordEntryForCurrentUser();
    return entry ? entry->homeDirectory : std::string();
}

bool isUsableHomeDirectory(const std::string& home) {
    if (home.empty() || home[0] != '/') return false;
    // Depth below "/" once "." and ".." are taken into account.
    std::size_t depth = 0;
    for (std::size_t start = 0; start < home.size();) {
        std::size_t end = home.find('/', start);
        if (end == std::string::npos) end = home.size();
        const std::string part = home.substr(start, end - start);
        if (part == "..") {
            if (depth > 0) --depth;
        } else if (!part.empty() && part != ".") {
            ++depth;
        }
        start = end + 1;
    }
    if (depth == 0) return false;
    struct stat homeInfo {};
    struct stat rootInfo {};
    if (::stat(home.c_str(), &homeInfo) == 0 && ::stat("/", &rootInfo) == 0 &&
        homeInfo.st_dev == rootInfo.st_dev && homeInfo.st_ino == rootInfo.st_ino) {
        return false;
    }
    return true;
}

}  // namespace platform
