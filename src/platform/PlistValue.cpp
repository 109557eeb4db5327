#include "platform/PlistValue.h"

namespace platform {

std::optional<bool> PlistValue::asBool() const {
    if (const bool* value = std::get_if<bool>(&m_value)) return *value;
    return std::nullopt;
}

std::optional<std::int64_t> PlistValue::asInteger() const {
    const Integer* value = std::get_if<Integer>(&m_value);
    if (!value || value->isUnsigned) return std::nullopt;
    return static_cast<std::int64_t>(value->bits);
}

std::optional<std::uint64_t> PlistValue::asUnsignedInteger() const {
    const Integer* value = std::get_if<Integer>(&m_value);
    if (!value) return std::nullopt;
    if (!value->isUnsigned && static_cast<std::int64_t>(value->bits) < 0) return std::nullopt;
    return value->bits;
}

bool PlistValue::isUnsignedInteger() const {
    const Integer* value = std::get_if<Integer>(&m_value);
    return value && value->isUnsigned;
}

std::optional<double> PlistValue::asReal() const {
    if (const double* value = std::get_if<double>(&m_value)) return *value;
    return std::nullopt;
}

std::optional<PlistDate> PlistValue::asDate() const {
    if (const PlistDate* value = std::get_if<PlistDate>(&m_value)) return *value;
    return std::nullopt;
}

std::optional<std::uint64_t> PlistValue::asUid() const {
    if (const PlistUid* value = std::get_if<PlistUid>(&m_value)) return value->value;
    return std::nullopt;
}

const PlistValue* PlistValue::objectForKey(const std::string& key) const {
    const PlistDictionary* dictionary = asDictionary();
    if (!dictionary) return nullptr;
    auto it = dictionary->find(key);
    return it == dictionary->end() ? nullptr : &it->second;
}

}  // namespace platform
