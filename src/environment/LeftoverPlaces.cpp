#include "environment/LeftoverPlaces.h"

#include <algorithm>

namespace LeftoverPlaces {

std::optional<std::string_view> folderHolding(std::string_view relative) {
    const auto slash = relative.rfind('/');
    if (slash == std::string_view::npos || slash + 1 == relative.size()) return std::nullopt;
    const std::string_view parent = relative.substr(0, slash);
    const auto found = std::find(kAll.begin(), kAll.end(), parent);
    if (found == kAll.end()) return std::nullopt;
    return *found;
}

bool holdsOtherApplicationsFiles(std::string_view relative) {
    return std::any_of(kAll.begin(), kAll.end(), [&](std::string_view folder) {
        return folder == relative ||
               (folder.size() > relative.size() && folder.starts_with(relative) &&
                folder[relative.size()] == '/');
    });
}

}  // namespace LeftoverPlaces
