#pragma once

#include <cstdint>
#include <string>

// Byte counts as the platform's byte-count formatter writes them in its file
// style, in English: decimal units (1 KB = 1000 bytes), "Zero KB" for zero,
// whole bytes and kilobytes, one fraction digit for megabytes and two from
// gigabytes up, trailing zeros dropped ("532 bytes", "12 KB", "1.2 MB",
// "1.23 GB", "2 GB"). A value that would round to 1000 of a unit is written
// in the next one; negative counts keep their sign.
namespace ByteCountFormatter {

std::string stringFromByteCount(std::int64_t bytes);

}  // namespace ByteCountFormatter
