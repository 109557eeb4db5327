#pragma once

#include <string>

#include "platform/PlistValue.h"

namespace platform {
class UserDefaults;
}

// Typed reads and writes of a settings store.
//
// A getter answers its default only when nothing is stored under the key.
// Whatever is stored is converted without a type check, the way the stored
// object's own conversion would answer: a string "12" read as a number is 12,
// a number read as a boolean is whether it is non-zero. An object that has no
// such conversion answers the empty value (0, false, an empty array or
// dictionary), not the default, because something is stored.
//
// The setters store the value and write the store to disk at once.
namespace DefaultsUtils {

// Numbers: integers wrap to 64 bits (-1 reads as 2^64-1); reals are truncated
// toward zero, negative ones wrapping like integers, NaN 0, and those of 2^64
// or more the largest value; true is 1, false 0. Strings: leading white space,
// an optional sign and the decimal digits that follow, saturating at the
// signed 64-bit limits, then wrapped ("12abc" is 12, "abc" is 0). Anything
// else: 0.
unsigned long long getUnsignedLongLongValueForKey(platform::UserDefaults& defaults,
                                                  const std::string& key,
                                                  unsigned long long defaultValue);

// Booleans as they are; numbers: non-zero (NaN counts as non-zero). Strings:
// true when, after white space, an optional sign and leading zeros, the text
// goes on with "Y", "y", "T", "t" or a digit 1-9 ("YES", "true", "007" and
// "-1" are true; "NO", "0", "0.5" and "" are false). Anything else: false.
bool getBoolValueForKey(platform::UserDefaults& defaults, const std::string& key,
                        bool defaultValue);

// An array as it is; anything else stored reads as an empty array.
platform::PlistArray getArrayValueForKey(platform::UserDefaults& defaults, const std::string& key,
                                         const platform::PlistArray& defaultValue);

// A dictionary as it is; anything else stored reads as an empty dictionary.
platform::PlistDictionary getDictionaryValueForKey(platform::UserDefaults& defaults,
                                                   const std::string& key,
                                                   const platform::PlistDictionary& defaultValue);

// Each stores the value under the key and synchronizes the store.
void saveUnsignedLongLongValue(platform::UserDefaults& defaults, const std::string& key,
                               unsigned long long value);
void saveBoolValue(platform::UserDefaults& defaults, const std::string& key, bool value);
void saveArrayValue(platform::UserDefaults& defaults, const std::string& key,
                    platform::PlistArray value);
void saveDictionaryValue(platform::UserDefaults& defaults, const std::string& key,
                         platform::PlistDictionary value);

}  // namespace DefaultsUtils
