#pragma once

#include <cstddef>
#include <string_view>

namespace platform {

// The end of the XML tag that starts at `from` (its '<'): the '>' that closes
// it, with quoted attribute values kept whole; npos when the text ends first.
// The small scans of outside XML (a property list's depth, an AppStream id)
// share it, so that a quote cannot end a tag for one and not the other.
inline std::size_t xmlTagEnd(std::string_view xml, std::size_t from) {
    char quote = 0;
    for (std::size_t i = from + 1; i < xml.size(); ++i) {
        const char c = xml[i];
        if (quote) {
            if (c == quote) quote = 0;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            return i;
        }
    }
    return std::string_view::npos;
}

}  // namespace platform
