#pragma once

#include <cstdint>
#include <string>

// Byte counts as the platform's byte-count formatter writes them in its file
// style: decimal units (1 KB = 1000 bytes), whole bytes and kilobytes, one
// fraction digit for megabytes and two from gigabytes up, trailing zeros
// dropped. A value that would round to 1000 of a unit is written in the next
// one; negative counts keep their sign.
//
// In English: "Zero KB", "1 byte", "532 bytes", "12 KB", "1.2 MB", "1.23 GB".
// In any other language the same number is written with that language's
// decimal separator and unit names, and zero with its word for zero where it
// has one in letters ("72,5 MB" and "null kB" in German, "72,5 Mo" in French,
// "72,5 МБ" in Russian); a language that writes zero with ideographs keeps
// the digit ("0 kB"). Locale names are ICU's or POSIX's ("de", "pt_BR",
// "zh_Hans", "fr-CA"); an empty or English name gives the English text, and a
// name ICU does not know gives its root locale's.
namespace platform::ByteCountFormatter {

std::string stringFromByteCount(std::int64_t bytes);
std::string stringFromByteCount(std::int64_t bytes, const std::string& localeName);

}  // namespace platform::ByteCountFormatter
