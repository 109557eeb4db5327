#pragma once

#include <string>
#include <vector>

namespace testsupport {

// A path under tests/data, where the long input tables live.
std::string dataPath(const std::string& relative);

// The rows of a tab-separated table under tests/data: every line that is
// neither empty nor a "#" comment, split at each tab (empty fields kept).
std::vector<std::vector<std::string>> readTable(const std::string& relative);

// The regular files of a folder under tests/data, by name, as full paths.
std::vector<std::string> dataFiles(const std::string& folder);

}  // namespace testsupport
