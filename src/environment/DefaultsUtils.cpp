#include "environment/DefaultsUtils.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "environment/StringUtils.h"
#include "platform/UserDefaults.h"

using platform::PlistArray;
using platform::PlistDictionary;
using platform::PlistValue;

namespace DefaultsUtils {

namespace {

bool isWhiteSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

std::size_t skipWhiteSpace(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size() && isWhiteSpace(text[at])) ++at;
    return at;
}

bool leadingBool(const std::string& text) {
    std::size_t at = skipWhiteSpace(text);
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) ++at;
    while (at < text.size() && text[at] == '0') ++at;
    if (at == text.size()) return false;
    const char c = text[at];
    return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
}

unsigned long long unsignedFromReal(double value) {
    constexpr double kTwoTo64 = 18446744073709551616.0;
    constexpr double kTwoTo63 = 9223372036854775808.0;
    if (std::isnan(value)) return 0;
    if (value >= kTwoTo64) return std::numeric_limits<unsigned long long>::max();
    if (value >= 0) return static_cast<unsigned long long>(value);
    if (value <= -kTwoTo63) {
        return static_cast<unsigned long long>(std::numeric_limits<std::int64_t>::min());
    }
    return static_cast<unsigned long long>(static_cast<std::int64_t>(value));
}

}  // namespace

unsigned long long getUnsignedLongLongValueForKey(platform::UserDefaults& defaults,
                                                  const std::string& key,
                                                  unsigned long long defaultValue) {
    const auto object = defaults.objectForKey(key);
    if (!object) return defaultValue;
    if (auto value = object->asUnsignedInteger()) return *value;
    if (auto value = object->asInteger()) return static_cast<unsigned long long>(*value);
    if (auto value = object->asBool()) return *value ? 1 : 0;
    if (auto value = object->asReal()) return unsignedFromReal(*value);
    if (const std::string* text = object->asString()) {
        return static_cast<unsigned long long>(StringUtils::longLongValue(*text));
    }
    return 0;
}

bool getBoolValueForKey(platform::UserDefaults& defaults, const std::string& key,
                        bool defaultValue) {
    const auto object = defaults.objectForKey(key);
    if (!object) return defaultValue;
    if (auto value = object->asBool()) return *value;
    if (auto value = object->asUnsignedInteger()) return *value != 0;
    if (auto value = object->asInteger()) return *value != 0;
    if (auto value = object->asReal()) return *value != 0.0;  // NaN is non-zero
    if (const std::string* text = object->asString()) return leadingBool(*text);
    return false;
}

// Something stored that is not an array would, unchecked, reach the caller in
// place of one; the nearest harmless answer is an empty array, never the
// default, which stands only for "nothing stored".
PlistArray getArrayValueForKey(platform::UserDefaults& defaults, const std::string& key,
                               const PlistArray& defaultValue) {
    auto object = defaults.objectForKey(key);
    if (!object) return defaultValue;
    if (PlistArray* array = object->asArray()) return std::move(*array);
    return {};
}

// As for arrays.
PlistDictionary getDictionaryValueForKey(platform::UserDefaults& defaults, const std::string& key,
                                         const PlistDictionary& defaultValue) {
    auto object = defaults.objectForKey(key);
    if (!object) return defaultValue;
    if (PlistDictionary* dictionary = object->asDictionary()) return std::move(*dictionary);
    return {};
}

void saveUnsignedLongLongValue(platform::UserDefaults& defaults, const std::string& key,
                               unsigned long long value) {
    defaults.setObject(key, PlistValue(value));
    defaults.synchronize();
}

void saveBoolValue(platform::UserDefaults& defaults, const std::string& key, bool value) {
    defaults.setObject(key, PlistValue(value));
    defaults.synchronize();
}

void saveArrayValue(platform::UserDefaults& defaults, const std::string& key, PlistArray value) {
    defaults.setObject(key, PlistValue(std::move(value)));
    defaults.synchronize();
}

void saveDictionaryValue(platform::UserDefaults& defaults, const std::string& key,
                         PlistDictionary value) {
    defaults.setObject(key, PlistValue(std::move(value)));
    defaults.synchronize();
}

}  // namespace DefaultsUtils
