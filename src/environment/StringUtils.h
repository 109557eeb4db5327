#pragma once

#include <cstdint>
#include <optional>
#include <string>

// String conveniences used across the agent. An empty string stands for nil
// where a parameter could be nil, except in hasCaseInsensitiveSuffix, where
// nil and "" are told apart by the optional.
namespace StringUtils {

// Whether path lies strictly below folder: it begins with folder, is longer,
// and the character right after folder is "/". A folder given with a trailing
// slash therefore matches nothing below it; callers pass folders without one.
// An empty folder matches nothing.
bool isInFolder(const std::string& path, const std::string& folder);

// Whether s ends with suffix, ASCII letters compared without case and every
// other byte exactly. False for nullopt and for "".
bool hasCaseInsensitiveSuffix(const std::string& s, const std::optional<std::string>& suffix);

// s with the first occurrence of target (literal, case-sensitive) replaced;
// s unchanged when target is empty or does not occur.
std::string stringByReplacingFirstOccuranceOfString(const std::string& s, const std::string& target,
                                                    const std::string& replacement);

// The byte-count text of a file size ("Zero KB", "532 bytes", "1.2 MB"), in
// English or in the language of an ICU locale name ("72,5 MB" for "de").
std::string convertToStringFromFileSize(std::int64_t bytes);
std::string convertToStringFromFileSize(std::int64_t bytes, const std::string& localeName);

// A name under which a copy can be put into folder without clobbering
// anything: name itself when nothing exists at folder/name (a final symbolic
// link is not followed, so a dangling link counts as existing), else the first
// of "<name less extension> 2", " 3", ... with the extension put back, for
// which nothing exists. "Report.pdf" gives "Report 2.pdf", "Notes" "Notes 2".
std::string getNameForCopiedFile(const std::string& name, const std::string& folder);

// The name to show for a path: its last component, without ".app" for an
// application bundle.
std::string getDisplayNameAtPath(const std::string& path);

// A string read as a signed 64-bit number the way a string's long long value
// is read: leading white space, an optional sign, then decimal digits up to
// the first other character; saturating at the limits; 0 when no digit follows.
std::int64_t longLongValue(const std::string& text);

}  // namespace StringUtils
