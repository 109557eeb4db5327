#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/PlistValue.h"

// One object of a keyed archive, as the unarchiver hands it out: the null
// object, a plain value (number, boolean, string, data or date), an array, a
// dictionary, or an instance of a class we do not model, kept as its class
// names and its keyed fields so that whatever holds it still decodes.
class ArchivedObject {
public:
    enum class Kind { Null, Value, Array, Dictionary, Instance };

    using Array = std::vector<ArchivedObject>;
    // Keys may be any object, as in the archive; a key appears once.
    using Entry = std::pair<ArchivedObject, ArchivedObject>;
    using Dictionary = std::vector<Entry>;
    struct Instance {
        std::string className;
        // The class and its superclasses, most derived first.
        std::vector<std::string> classes;
        // The fields other than the class; one that refers to nil is left out.
        std::map<std::string, ArchivedObject> fields;
        // Defined where ArchivedObject is complete.
        bool operator==(const Instance& other) const;
    };

    // The null object.
    ArchivedObject() = default;
    // A property-list value, containers converted element by element (a
    // dictionary's keys become string objects); none becomes the null object.
    ArchivedObject(platform::PlistValue value);
    ArchivedObject(const char* value) : ArchivedObject(platform::PlistValue(value)) {}
    ArchivedObject(std::string value) : ArchivedObject(platform::PlistValue(std::move(value))) {}
    ArchivedObject(Array array) : m_value(std::move(array)) {}
    ArchivedObject(Dictionary dictionary) : m_value(std::move(dictionary)) {}
    ArchivedObject(Instance instance) : m_value(std::move(instance)) {}

    Kind kind() const { return static_cast<Kind>(m_value.index()); }
    bool isNull() const { return kind() == Kind::Null; }

    // A plain value; never a container, a UID or none.
    const platform::PlistValue* asValue() const {
        return std::get_if<platform::PlistValue>(&m_value);
    }
    const std::string* asString() const;
    const Array* asArray() const { return std::get_if<Array>(&m_value); }
    const Dictionary* asDictionary() const { return std::get_if<Dictionary>(&m_value); }
    const Instance* asInstance() const { return std::get_if<Instance>(&m_value); }

    // A dictionary's value for the string key; null when this is not a
    // dictionary or has no such key.
    const ArchivedObject* objectForKey(const std::string& key) const;

    // The same tree as a property-list value: nullopt when it holds something
    // a property list cannot (the null object, an instance, a non-string key).
    std::optional<platform::PlistValue> toPlistValue() const;

    bool operator==(const ArchivedObject&) const = default;

private:
    // The order of the alternatives follows Kind.
    std::variant<std::monostate, platform::PlistValue, Array, Dictionary, Instance> m_value;
};
