#pragma once

#include <concepts>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace platform {

class PlistValue;

using PlistArray = std::vector<PlistValue>;
using PlistDictionary = std::map<std::string, PlistValue>;
using PlistData = std::vector<std::uint8_t>;

// A date in a property list: seconds since 2001-01-01 00:00:00 UTC.
struct PlistDate {
    double secondsSinceReferenceDate = 0;
    bool operator==(const PlistDate&) const = default;
};

// A reference to another object of a keyed archive.
struct PlistUid {
    std::uint64_t value = 0;
    bool operator==(const PlistUid&) const = default;
};

// One property-list value: none, a boolean, an integer, a real, a string
// (UTF-8), data, a date, a keyed-archive UID, an array or a dictionary.
// Scalars are stored inline; arrays and dictionaries own their elements, so
// copying one copies the whole tree.
//
// Integers keep signed 64-bit values; an unsigned value above INT64_MAX is
// kept as such and flagged, so 2^64-1 and -1 stay different values.
class PlistValue {
public:
    enum class Kind { None, Bool, Integer, Real, String, Data, Date, Uid, Array, Dictionary };

    PlistValue() = default;
    PlistValue(bool value) : m_value(value) {}
    template <std::integral T>
    requires(!std::same_as<T, bool>) PlistValue(T value) : m_value(makeInteger(value)) {}
    PlistValue(double value) : m_value(value) {}
    PlistValue(const char* value) : m_value(std::string(value)) {}
    PlistValue(std::string value) : m_value(std::move(value)) {}
    PlistValue(PlistData value) : m_value(std::move(value)) {}
    PlistValue(PlistDate value) : m_value(value) {}
    PlistValue(PlistUid value) : m_value(value) {}
    PlistValue(PlistArray value) : m_value(std::move(value)) {}
    PlistValue(PlistDictionary value) : m_value(std::move(value)) {}

    Kind kind() const { return static_cast<Kind>(m_value.index()); }
    bool isNone() const { return kind() == Kind::None; }

    std::optional<bool> asBool() const;
    // The integer when it fits a signed 64-bit value; nullopt for other kinds
    // and for unsigned values above INT64_MAX.
    std::optional<std::int64_t> asInteger() const;
    // The integer when it is not negative; nullopt for other kinds.
    std::optional<std::uint64_t> asUnsignedInteger() const;
    // Whether this is an integer kept as an unsigned value above INT64_MAX.
    bool isUnsignedInteger() const;
    std::optional<double> asReal() const;
    std::optional<PlistDate> asDate() const;
    std::optional<std::uint64_t> asUid() const;

    const std::string* asString() const { return std::get_if<std::string>(&m_value); }
    std::string* asString() { return std::get_if<std::string>(&m_value); }
    const PlistData* asData() const { return std::get_if<PlistData>(&m_value); }
    PlistData* asData() { return std::get_if<PlistData>(&m_value); }
    const PlistArray* asArray() const { return std::get_if<PlistArray>(&m_value); }
    PlistArray* asArray() { return std::get_if<PlistArray>(&m_value); }
    const PlistDictionary* asDictionary() const { return std::get_if<PlistDictionary>(&m_value); }
    PlistDictionary* asDictionary() { return std::get_if<PlistDictionary>(&m_value); }

    // The dictionary's value for the key; null when this is not a dictionary
    // or the key is absent.
    const PlistValue* objectForKey(const std::string& key) const;

    bool operator==(const PlistValue&) const = default;

private:
    struct Integer {
        // The value's bits; a negative signed value in two's complement.
        std::uint64_t bits = 0;
        // Set only for values above INT64_MAX that were given as unsigned.
        bool isUnsigned = false;
        bool operator==(const Integer&) const = default;
    };

    template <std::integral T>
    static Integer makeInteger(T value) {
        if constexpr (std::is_signed_v<T>) {
            return Integer{static_cast<std::uint64_t>(static_cast<std::int64_t>(value)), false};
        } else {
            const auto bits = static_cast<std::uint64_t>(value);
            return Integer{bits, bits > static_cast<std::uint64_t>(INT64_MAX)};
        }
    }

    // The order of the alternatives follows Kind.
    std::variant<std::monostate, bool, Integer, double, std::string, PlistData, PlistDate, PlistUid,
                 PlistArray, PlistDictionary>
        m_value;
};

}  // namespace platform
