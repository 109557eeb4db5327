#pragma once

#include <string>
#include <vector>

#include "messages/PathForRemove.h"

namespace testsupport {

// Entries as "type path bundleId size" lines ("-" for a size not
// calculated), so that lists compare field for field in one step.
inline std::vector<std::string> describe(
    const std::vector<std::shared_ptr<PathForRemove>>& entries) {
    std::vector<std::string> lines;
    for (const auto& e : entries) {
        lines.push_back(std::to_string(e->type()) + " " + e->path() + " " + e->bundleId() + " " +
                        (e->isSizeCalculated() ? std::to_string(e->getSize()) : "-"));
    }
    return lines;
}

}  // namespace testsupport
