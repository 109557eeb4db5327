#include "messages/ArchivedObject.h"

using platform::PlistArray;
using platform::PlistDictionary;
using platform::PlistValue;

ArchivedObject::ArchivedObject(PlistValue value) {
    if (PlistArray* array = value.asArray()) {
        Array elements;
        elements.reserve(array->size());
        for (PlistValue& element : *array) elements.emplace_back(std::move(element));
        m_value = std::move(elements);
    } else if (PlistDictionary* dictionary = value.asDictionary()) {
        Dictionary entries;
        entries.reserve(dictionary->size());
        for (auto& [key, element] : *dictionary) {
            entries.emplace_back(ArchivedObject(key), ArchivedObject(std::move(element)));
        }
        m_value = std::move(entries);
    } else if (!value.isNone()) {
        m_value = std::move(value);
    }
}

bool ArchivedObject::Instance::operator==(const Instance& other) const {
    return className == other.className && classes == other.classes && fields == other.fields;
}

const std::string* ArchivedObject::asString() const {
    const PlistValue* value = asValue();
    return value ? value->asString() : nullptr;
}

const ArchivedObject* ArchivedObject::objectForKey(const std::string& key) const {
    const Dictionary* entries = asDictionary();
    if (!entries) return nullptr;
    for (const Entry& entry : *entries) {
        const std::string* name = entry.first.asString();
        if (name && *name == key) return &entry.second;
    }
    return nullptr;
}

std::optional<PlistValue> ArchivedObject::toPlistValue() const {
    switch (kind()) {
        case Kind::Value:
            return *asValue();
        case Kind::Array: {
            PlistArray array;
            array.reserve(asArray()->size());
            for (const ArchivedObject& element : *asArray()) {
                auto value = element.toPlistValue();
                if (!value) return std::nullopt;
                array.push_back(std::move(*value));
            }
            return PlistValue(std::move(array));
        }
        case Kind::Dictionary: {
            PlistDictionary dictionary;
            for (const auto& [key, element] : *asDictionary()) {
                const std::string* name = key.asString();
                auto value = element.toPlistValue();
                if (!name || !value) return std::nullopt;
                dictionary.emplace(*name, std::move(*value));
            }
            return PlistValue(std::move(dictionary));
        }
        case Kind::Null:
        case Kind::Instance:
            break;
    }
    return std::nullopt;
}
