#include "platform/PathUtils.h"

#include <unistd.h>

#include <cstdlib>

#include "platform/PasswordDatabase.h"

namespace platform::PathUtils {

namespace {

// The named user's home folder, "" when there is no such user.
std::string homeOfUser(const std::string& user) {
    auto entry = platform::passwordEntryForUserName(user);
    return entry ? entry->homeDirectory : std::string();
}

std::string collapsedSlashes(const std::string& path) {
    std::string out;
    out.reserve(path.size());
    for (char c : path) {
        if (c == '/' && !out.empty() && out.back() == '/') continue;
        out.push_back(c);
    }
    return out;
}

// Runs of "/" become one; a trailing "/" goes unless the path is the root.
std::string reduced(const std::string& path) {
    std::string out = collapsedSlashes(path);
    if (out.size() > 1 && out.back() == '/') out.pop_back();
    return out;
}

// The non-empty pieces between separators.
std::vector<std::string> splitNonEmpty(const std::string& path) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        if (end > start) parts.push_back(path.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

// Position of the dot that starts the extension of a single component, or
// npos. A leading dot marks a hidden name, not an extension, and a dot whose
// removal would leave "." or ".." is not a divider either.
std::size_t extensionDot(const std::string& component) {
    const std::size_t dot = component.rfind('.');
    if (dot == std::string::npos || dot == 0) return std::string::npos;
    if (dot == 1 && component[0] == '.') return std::string::npos;
    if (dot == 2 && component[0] == '.' && component[1] == '.') return std::string::npos;
    return dot;
}

// "~" and "~/..." take the given home, "~user" and "~user/..." that user's;
// a tilde expression that cannot be expanded leaves the path as it is.
std::string expandingTilde(const std::string& path, const std::string& home) {
    if (path.empty() || path[0] != '~') return path;
    const std::size_t slash = path.find('/');
    const std::string user =
        path.substr(1, slash == std::string::npos ? std::string::npos : slash - 1);
    const std::string folder = user.empty() ? home : homeOfUser(user);
    if (folder.empty()) return path;
    return folder + (slash == std::string::npos ? std::string() : path.substr(slash));
}

}  // namespace

std::string stringByAppendingPathComponent(const std::string& path, const std::string& component) {
    if (path.empty()) return reduced(component);
    return reduced(path + "/" + component);
}

std::string lastPathComponent(const std::string& path) {
    const std::string r = reduced(path);
    if (r.size() <= 1) return r;  // "", "/" or a one-character name
    return r.substr(r.rfind('/') + 1);
}

std::string stringByDeletingLastPathComponent(const std::string& path) {
    const std::string r = reduced(path);
    const std::size_t slash = r.rfind('/');
    if (slash == std::string::npos) return {};
    if (slash == 0) return "/";
    return r.substr(0, slash);
}

std::string pathExtension(const std::string& path) {
    const std::string last = lastPathComponent(path);
    const std::size_t dot = extensionDot(last);
    return dot == std::string::npos ? std::string() : last.substr(dot + 1);
}

std::string stringByDeletingPathExtension(const std::string& path) {
    const std::string r = reduced(path);
    const std::size_t slash = r.rfind('/');
    const std::size_t lastStart = slash == std::string::npos ? 0 : slash + 1;
    const std::size_t dot = extensionDot(r.substr(lastStart));
    if (dot == std::string::npos) return r;
    return r.substr(0, lastStart + dot);
}

std::optional<std::string> stringByAppendingPathExtension(const std::string& path,
                                                          const std::string& ext) {
    if (ext.find('/') != std::string::npos) return std::nullopt;
    const std::string r = reduced(path);
    // No component to carry the extension: "/.tiff" would be a hidden name.
    if (r.empty() || r == "/") return std::nullopt;
    if (ext.empty()) return r;
    return r + "." + ext;
}

std::vector<std::string> pathComponents(const std::string& path) {
    std::vector<std::string> components;
    if (path.empty()) return components;
    if (path.front() == '/') components.emplace_back("/");
    std::vector<std::string> names = splitNonEmpty(path);
    components.insert(components.end(), names.begin(), names.end());
    // A trailing separator is a component of its own, unless it is the root.
    if (path.back() == '/' && !names.empty()) components.emplace_back("/");
    return components;
}

std::string pathWithComponents(const std::vector<std::string>& components) {
    std::string joined;
    for (std::size_t i = 0; i < components.size(); ++i) {
        if (i > 0) joined.push_back('/');
        joined += components[i];
    }
    // A "/" component and its neighbouring separators make one separator.
    return collapsedSlashes(joined);
}

std::string stringByStandardizingPath(const std::string& path) {
    // The home folder only matters for a leading "~"; skip the lookup otherwise.
    if (path.empty() || path[0] != '~') return stringByStandardizingPath(path, std::string());
    return stringByStandardizingPath(path, platform::homeFromPasswordDatabase());
}

// The original also strips a leading "/private" (and the automount prefixes)
// when the shorter path still exists; those are macOS folder aliases that a
// Linux system does not have, so that step is left out here.
std::string stringByStandardizingPath(const std::string& path, const std::string& home) {
    const std::string expanded = expandingTilde(path, home);
    if (expanded.empty()) return expanded;
    const bool absolute = expanded[0] == '/';

    std::vector<std::string> kept;
    const std::vector<std::string> names = splitNonEmpty(expanded);
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string& name = names[i];
        if (name == ".") {
            // Only "/./" is reduced; a relative path keeps its leading "./".
            if (!absolute && i == 0) kept.push_back(name);
            continue;
        }
        if (name == ".." && absolute) {
            if (kept.empty()) continue;  // the root is its own parent
            // The real parent: follow the links of what has been read so far,
            // as the kernel would, when it exists; else drop the last name.
            std::string sofar;
            for (const std::string& k : kept) sofar += "/" + k;
            if (char* real = ::realpath(sofar.c_str(), nullptr)) {
                kept = splitNonEmpty(real);
                std::free(real);
            }
            if (!kept.empty()) kept.pop_back();
            continue;
        }
        kept.push_back(name);
    }

    std::string out;
    for (const std::string& k : kept) {
        if (!out.empty() || absolute) out.push_back('/');
        out += k;
    }
    if (out.empty() && absolute) out = "/";
    return out;
}

bool isAbsolutePath(const std::string& path) {
    return !path.empty() && (path[0] == '/' || path[0] == '~');
}

}  // namespace platform::PathUtils
