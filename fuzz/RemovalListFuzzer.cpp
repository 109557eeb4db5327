#include <cstddef>
#include <cstdint>
#include <string>

#include "messages/WatcherMessage.h"

// Any text must be answered without crashing; a list that is accepted must
// be written again and read back to the same entries.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    WatcherMessage message;
    if (!message.loadFromText(text)) return 0;
    const auto written = message.messageText();
    if (!written) __builtin_trap();
    WatcherMessage again;
    if (!again.loadFromText(*written)) __builtin_trap();
    const auto& first = message.getPathsForRemove();
    const auto& second = again.getPathsForRemove();
    if (first.size() != second.size()) __builtin_trap();
    for (std::size_t i = 0; i < first.size(); ++i) {
        const PathForRemove& a = *first[i];
        const PathForRemove& b = *second[i];
        if (a.path() != b.path() || a.type() != b.type() || a.bundleId() != b.bundleId() ||
            a.isSizeCalculated() != b.isSizeCalculated() || a.getSize() != b.getSize()) {
            __builtin_trap();
        }
    }
    return 0;
}
