#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "messages/ArchivedObject.h"
#include "platform/PlistValue.h"

// Keyed archives in the archiver's published layout: a property list
// {"$archiver": "NSKeyedArchiver", "$version": 100000, "$top": {"root": UID},
// "$objects": ["$null", ...]} where every object is an element of $objects
// and refers to others by UID (index into $objects; 0 is nil). Strings,
// numbers, booleans and data are stored as they are; other objects are
// dictionaries with a "$class" UID naming an entry {"$classname": name,
// "$classes": [name, superclass, ...]}. Arrays keep their elements in
// "NS.objects", dictionaries in "NS.keys" and "NS.objects".
//
// Archives come from other programs, so reading treats them as hostile:
// any fault answers nullopt, and so do UIDs out of range, reference cycles,
// nesting deeper than kMaxDepth and graphs that would expand to more than
// kMaxObjects objects or more than the property-list reader's byte budget
// (platform::PropertyList::kMaxExpandedBytes) of strings, data and names.
namespace KeyedArchive {

inline constexpr std::size_t kMaxDepth = 256;
inline constexpr std::size_t kMaxObjects = std::size_t{1} << 18;
inline constexpr std::int64_t kVersion = 100000;

// The archive of the object as a property-list value. Plain values are
// stored as they are (a date as an NSDate object), the null object as NSNull,
// arrays as NSArray and dictionaries as NSDictionary; equal strings are
// stored once. nullopt for what is not written here: a UID, an instance (its
// fields' layout is its class's business), or a tree deeper than kMaxDepth.
std::optional<platform::PlistValue> archivedRootObject(const ArchivedObject& root);
// The archive written as a binary property list, as the archiver writes it;
// empty when it cannot be made (see above, and strings that are not UTF-8).
std::vector<std::uint8_t> archivedDataWithRootObject(const ArchivedObject& root);

// The root object of an archive given as a property-list value, or as bytes
// of a binary or XML property list. nullopt for anything that is not a
// well-formed archive, and for a root that is nil.
//
// Classes of the dictionary, array, string, data, date and null families
// (decided by the first of "$classname" and "$classes" that is one of them)
// become those objects; any other class becomes an instance. A nil element
// inside an array or dictionary makes the archive unreadable, as it would
// make the platform's collections fail.
std::optional<ArchivedObject> unarchiveObjectWithArchive(const platform::PlistValue& archive);
std::optional<ArchivedObject> unarchiveObjectWithData(const std::uint8_t* data, std::size_t size);
inline std::optional<ArchivedObject> unarchiveObjectWithData(
    const std::vector<std::uint8_t>& data) {
    return unarchiveObjectWithData(data.data(), data.size());
}

}  // namespace KeyedArchive
