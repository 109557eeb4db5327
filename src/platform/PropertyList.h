#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/PlistValue.h"

// Reading and writing property lists, binary ("bplist00") and XML.
//
// Input is treated as hostile: anything the underlying parser refuses, any
// container nested deeper than kMaxDepth, binary object graphs with cycles,
// a document that would build more than kMaxObjects values or more than
// kMaxExpandedBytes of strings and data (a binary list may refer to one large
// string many times), and input larger than kMaxInputSize all answer nullopt.
// The limits are far above any honest file and hold for every reader.
//
// Output fails (empty result, false) for values no property list can hold:
// none, a string or key that is not UTF-8 or contains NUL, a date outside the
// writer's range (whole seconds must fit 32 bits, about 1933 to 2069), a UID
// above 2^32-1, or a tree deeper than kMaxDepth.
namespace platform::PropertyList {

enum class Format { Binary, Xml };

inline constexpr std::size_t kMaxDepth = 512;
inline constexpr std::size_t kMaxObjects = std::size_t{1} << 20;
inline constexpr std::size_t kMaxExpandedBytes = std::size_t{64} << 20;
inline constexpr std::size_t kMaxInputSize = std::size_t{64} << 20;

std::optional<PlistValue> parse(const std::uint8_t* data, std::size_t size);
inline std::optional<PlistValue> parse(std::string_view bytes) {
    return parse(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

// The property list in a regular file of at most kMaxInputSize bytes.
std::optional<PlistValue> readFile(const std::string& path);

// Whether the value can be written in either format.
bool isSerializable(const PlistValue& value);

// Equal values are written the same way every time: the bytes depend only on
// the value, so writing what was read gives the same bytes again.
std::vector<std::uint8_t> toBinary(const PlistValue& value);
std::string toXml(const PlistValue& value);

// Writes a temporary file beside `path`, flushes it to disk and renames it
// over `path`, so readers see the old file or the new one, never a part. The
// file gets exactly `permissions`. The folder must exist.
bool writeFileAtomically(const std::string& path, const PlistValue& value, Format format,
                         unsigned permissions = 0600);

}  // namespace platform::PropertyList
