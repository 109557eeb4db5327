#include <cstddef>
#include <cstdint>
#include <memory>

#include "messages/FileMessage.h"
#include "messages/KeyedArchive.h"

// Any bytes must be answered without crashing or hanging; an object that is
// read and can be written must be written and read back to the same archive.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto body = KeyedArchive::unarchiveObjectWithData(data, size);
    if (!body) return 0;

    auto message = std::make_shared<FileMessage>(FileMessage::kTypeReceived, MessageEnvironment{});
    message->setData(std::make_shared<const ArchivedObject>(*body));
    std::vector<std::string> paths;
    (void)FileMessage::ReadExcludePaths(&paths, message);
    (void)FileMessage::ReadCancelExcludeRemovedPathsFromMessage(message);

    const auto bytes = KeyedArchive::archivedDataWithRootObject(*body);
    if (bytes.empty()) return 0;  // holds something only read, never written
    const auto again = KeyedArchive::unarchiveObjectWithData(bytes);
    if (!again || KeyedArchive::archivedDataWithRootObject(*again) != bytes) __builtin_trap();
    return 0;
}
