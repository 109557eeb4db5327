#include "messages/KeyedArchive.h"

#include <algorithm>
#include <map>
#include <string>
#include <unordered_set>

#include "platform/PropertyList.h"

using platform::PlistArray;
using platform::PlistData;
using platform::PlistDate;
using platform::PlistDictionary;
using platform::PlistUid;
using platform::PlistValue;

namespace KeyedArchive {

namespace {

constexpr const char* kArchiverName = "NSKeyedArchiver";
constexpr const char* kNullMarker = "$null";
constexpr const char* kClassKey = "$class";

// --- writing ---------------------------------------------------------------

class Archiver {
public:
    std::optional<PlistValue> archive(const ArchivedObject& root) {
        auto rootUid = encode(root, 0);
        if (!rootUid) return std::nullopt;
        PlistDictionary archive;
        archive.emplace("$archiver", kArchiverName);
        archive.emplace("$version", kVersion);
        archive.emplace("$top", PlistDictionary{{"root", PlistUid{*rootUid}}});
        archive.emplace("$objects", std::move(m_arrObjects));
        return PlistValue(std::move(archive));
    }

private:
    // The object's UID. Like the archiver, an object takes its slot before
    // its contents, and its class entry comes after them.
    std::optional<std::uint64_t> encode(const ArchivedObject& object, std::size_t depth) {
        if (depth > kMaxDepth) return std::nullopt;
        switch (object.kind()) {
            case ArchivedObject::Kind::Null: {
                const std::uint64_t slot = reserve();
                m_arrObjects[slot] =
                    PlistDictionary{{kClassKey, PlistUid{classUid({"NSNull", "NSObject"})}}};
                return slot;
            }
            case ArchivedObject::Kind::Value:
                return encodeValue(*object.asValue());
            case ArchivedObject::Kind::Array: {
                const std::uint64_t slot = reserve();
                PlistArray members;
                for (const ArchivedObject& element : *object.asArray()) {
                    auto uid = encode(element, depth + 1);
                    if (!uid) return std::nullopt;
                    members.push_back(PlistUid{*uid});
                }
                m_arrObjects[slot] =
                    PlistDictionary{{"NS.objects", std::move(members)},
                                    {kClassKey, PlistUid{classUid({"NSArray", "NSObject"})}}};
                return slot;
            }
            case ArchivedObject::Kind::Dictionary: {
                const std::uint64_t slot = reserve();
                PlistArray keys;
                PlistArray values;
                for (const auto& entry : *object.asDictionary()) {
                    auto uid = encode(entry.first, depth + 1);
                    if (!uid) return std::nullopt;
                    keys.push_back(PlistUid{*uid});
                }
                for (const auto& entry : *object.asDictionary()) {
                    auto uid = encode(entry.second, depth + 1);
                    if (!uid) return std::nullopt;
                    values.push_back(PlistUid{*uid});
                }
                m_arrObjects[slot] =
                    PlistDictionary{{"NS.keys", std::move(keys)},
                                    {"NS.objects", std::move(values)},
                                    {kClassKey, PlistUid{classUid({"NSDictionary", "NSObject"})}}};
                return slot;
            }
            case ArchivedObject::Kind::Instance:
                break;
        }
        return std::nullopt;
    }

    std::optional<std::uint64_t> encodeValue(const PlistValue& value) {
        switch (value.kind()) {
            case PlistValue::Kind::String: {
                auto [it, isNew] = m_arrStrings.try_emplace(*value.asString(), 0);
                if (isNew) {
                    it->second = reserve();
                    m_arrObjects[it->second] = value;
                }
                return it->second;
            }
            case PlistValue::Kind::Date: {
                const std::uint64_t slot = reserve();
                m_arrObjects[slot] =
                    PlistDictionary{{"NS.time", value.asDate()->secondsSinceReferenceDate},
                                    {kClassKey, PlistUid{classUid({"NSDate", "NSObject"})}}};
                return slot;
            }
            case PlistValue::Kind::Bool:
            case PlistValue::Kind::Integer:
            case PlistValue::Kind::Real:
            case PlistValue::Kind::Data: {
                const std::uint64_t slot = reserve();
                m_arrObjects[slot] = value;
                return slot;
            }
            default:
                return std::nullopt;
        }
    }

    std::uint64_t reserve() {
        m_arrObjects.emplace_back();
        return m_arrObjects.size() - 1;
    }

    std::uint64_t classUid(const std::vector<std::string>& classes) {
        auto [it, isNew] = m_arrClasses.try_emplace(classes.front(), 0);
        if (isNew) {
            PlistArray names(classes.begin(), classes.end());
            it->second = reserve();
            m_arrObjects[it->second] =
                PlistDictionary{{"$classes", std::move(names)}, {"$classname", classes.front()}};
        }
        return it->second;
    }

    PlistArray m_arrObjects{PlistValue(kNullMarker)};
    std::map<std::string, std::uint64_t> m_arrStrings;
    std::map<std::string, std::uint64_t> m_arrClasses;
};

// --- reading ---------------------------------------------------------------

enum class Family { Other, Dictionary, Array, String, Data, Date, Null };

Family familyOfClassName(const std::string& name) {
    static const std::map<std::string, Family> kFamilies = {
        {"NSDictionary", Family::Dictionary},
        {"NSMutableDictionary", Family::Dictionary},
        {"NSArray", Family::Array},
        {"NSMutableArray", Family::Array},
        {"NSString", Family::String},
        {"NSMutableString", Family::String},
        {"NSData", Family::Data},
        {"NSMutableData", Family::Data},
        {"NSDate", Family::Date},
        {"NSNull", Family::Null},
    };
    auto it = kFamilies.find(name);
    return it == kFamilies.end() ? Family::Other : it->second;
}

struct ClassInfo {
    std::string className;
    std::vector<std::string> classes;
    Family family = Family::Other;
};

// Decodes objects on demand, following UIDs depth first. An object reached
// twice is decoded twice (the result is a tree), which two budgets bound: the
// number of objects, counted as they are made, and the bytes of strings,
// data and names, counted beforehand without copying anything (an archive of
// a few hundred kilobytes may refer to one large string a hundred thousand
// times). An object reached again while it is being decoded is a cycle.
class Unarchiver {
public:
    explicit Unarchiver(const PlistArray& objects)
        : m_arrObjects(objects), m_arrOnPath(objects.size(), false) {}

    // Whether decoding from `uid` copies at most the reader's byte budget.
    // Each object's expansion is counted once and then reused, so this takes
    // time in proportion to the archive, not to what it describes. It counts
    // every string in an object, its class entry's names and its keys too:
    // a bound, not an exact figure.
    bool fitsTheByteBudget(std::uint64_t uid) {
        m_arrExpanded.assign(m_arrObjects.size(), kUncounted);
        return expandedBytes(uid, 0) <= platform::PropertyList::kMaxExpandedBytes;
    }

    // False on a fault. `out` is nullopt for nil.
    bool decodeUid(std::uint64_t uid, std::size_t depth, std::optional<ArchivedObject>& out) {
        out.reset();
        if (uid >= m_arrObjects.size()) return false;
        if (uid == 0) return true;
        if (m_arrOnPath[uid] || !spend(depth)) return false;
        m_arrOnPath[uid] = true;
        const bool ok = decodeObject(m_arrObjects[uid], depth, out);
        m_arrOnPath[uid] = false;
        return ok;
    }

private:
    static constexpr std::uint64_t kUncounted = ~std::uint64_t{0};
    static constexpr std::uint64_t kOverBudget = platform::PropertyList::kMaxExpandedBytes + 1;

    static std::uint64_t add(std::uint64_t a, std::uint64_t b) {
        return std::min(a + b, kOverBudget);  // both are at most kOverBudget
    }

    std::uint64_t expandedBytes(std::uint64_t uid, std::size_t depth) {
        // Out-of-range UIDs and cycles are the decoder's to refuse; a chain
        // deeper than it goes is refused here already.
        if (uid >= m_arrObjects.size() || m_arrOnPath[uid]) return 0;
        if (depth > kMaxDepth) return kOverBudget;
        if (m_arrExpanded[uid] == kUncounted) {
            m_arrOnPath[uid] = true;
            m_arrExpanded[uid] = bytesWithin(m_arrObjects[uid], depth);
            m_arrOnPath[uid] = false;
        }
        return m_arrExpanded[uid];
    }

    std::uint64_t bytesWithin(const PlistValue& value, std::size_t depth) {
        if (auto uid = value.asUid()) return expandedBytes(*uid, depth + 1);
        if (const std::string* text = value.asString())
            return std::min<std::uint64_t>(text->size(), kOverBudget);
        if (const PlistData* data = value.asData())
            return std::min<std::uint64_t>(data->size(), kOverBudget);
        std::uint64_t total = 0;
        if (const PlistArray* list = value.asArray()) {
            for (const PlistValue& item : *list) {
                total = add(total, bytesWithin(item, depth));
                if (total == kOverBudget) break;
            }
        } else if (const PlistDictionary* entries = value.asDictionary()) {
            for (const auto& [key, item] : *entries) {
                total = add(total, add(key.size(), bytesWithin(item, depth)));
                if (total == kOverBudget) break;
            }
        }
        return total;
    }

    bool spend(std::size_t depth) { return depth <= kMaxDepth && ++m_nProduced <= kMaxObjects; }

    bool decodeObject(const PlistValue& object, std::size_t depth,
                      std::optional<ArchivedObject>& out) {
        switch (object.kind()) {
            case PlistValue::Kind::Bool:
            case PlistValue::Kind::Integer:
            case PlistValue::Kind::Real:
            case PlistValue::Kind::String:
            case PlistValue::Kind::Data:
            case PlistValue::Kind::Date:
                out.emplace(object);
                return true;
            case PlistValue::Kind::Dictionary:
                break;
            default:
                return false;
        }
        const PlistValue* classRef = object.objectForKey(kClassKey);
        const ClassInfo* info = classRef ? classInfo(classRef->asUid()) : nullptr;
        if (!info) return false;
        switch (info->family) {
            case Family::Dictionary:
                return decodeDictionary(object, depth, out);
            case Family::Array:
                return decodeArray(object, depth, out);
            case Family::String:
                return decodeWrapped(object, "NS.string", PlistValue::Kind::String, out);
            case Family::Data:
                return decodeWrapped(object, "NS.data", PlistValue::Kind::Data, out);
            case Family::Date: {
                const PlistValue* time = object.objectForKey("NS.time");
                std::optional<double> seconds = time ? time->asReal() : std::nullopt;
                if (!seconds && time && time->asInteger()) {
                    seconds = static_cast<double>(*time->asInteger());
                }
                if (!seconds) return false;
                out.emplace(PlistValue(PlistDate{*seconds}));
                return true;
            }
            case Family::Null:
                out.emplace();
                return true;
            case Family::Other:
                return decodeInstance(object, *info, depth, out);
        }
        return false;
    }

    const ClassInfo* classInfo(std::optional<std::uint64_t> uid) {
        if (!uid || *uid == 0 || *uid >= m_arrObjects.size()) return nullptr;
        if (auto it = m_arrClassInfos.find(*uid); it != m_arrClassInfos.end()) return &it->second;
        const PlistValue& entry = m_arrObjects[*uid];
        const PlistValue* name = entry.objectForKey("$classname");
        if (!name || !name->asString()) return nullptr;
        ClassInfo info;
        info.className = *name->asString();
        if (const PlistValue* classes = entry.objectForKey("$classes")) {
            if (!classes->asArray()) return nullptr;
            for (const PlistValue& superclass : *classes->asArray()) {
                if (!superclass.asString()) return nullptr;
                info.classes.push_back(*superclass.asString());
            }
        } else {
            info.classes.push_back(info.className);
        }
        // A class the reader lacks is read as the nearest superclass it has.
        info.family = familyOfClassName(info.className);
        for (std::size_t i = 0; info.family == Family::Other && i < info.classes.size(); ++i) {
            info.family = familyOfClassName(info.classes[i]);
        }
        return &m_arrClassInfos.emplace(*uid, std::move(info)).first->second;
    }

    // The UIDs of a member list; nullopt when it is not an array of UIDs. An
    // absent list is empty.
    static std::optional<std::vector<std::uint64_t>> uidList(const PlistValue& object,
                                                             const char* key) {
        std::vector<std::uint64_t> uids;
        const PlistValue* list = object.objectForKey(key);
        if (!list) return uids;
        if (!list->asArray()) return std::nullopt;
        uids.reserve(list->asArray()->size());
        for (const PlistValue& member : *list->asArray()) {
            auto uid = member.asUid();
            if (!uid) return std::nullopt;
            uids.push_back(*uid);
        }
        return uids;
    }

    // A member of a collection: nil is not allowed there.
    std::optional<ArchivedObject> decodeMember(std::uint64_t uid, std::size_t depth) {
        std::optional<ArchivedObject> member;
        if (!decodeUid(uid, depth, member)) return std::nullopt;
        return member;
    }

    bool decodeArray(const PlistValue& object, std::size_t depth,
                     std::optional<ArchivedObject>& out) {
        auto uids = uidList(object, "NS.objects");
        if (!uids) return false;
        ArchivedObject::Array elements;
        elements.reserve(uids->size());
        for (std::uint64_t uid : *uids) {
            auto element = decodeMember(uid, depth + 1);
            if (!element) return false;
            elements.push_back(std::move(*element));
        }
        out.emplace(std::move(elements));
        return true;
    }

    bool decodeDictionary(const PlistValue& object, std::size_t depth,
                          std::optional<ArchivedObject>& out) {
        auto keys = uidList(object, "NS.keys");
        auto values = uidList(object, "NS.objects");
        if (!keys || !values || keys->size() != values->size()) return false;
        ArchivedObject::Dictionary entries;
        entries.reserve(keys->size());
        // A string key given twice keeps its first value.
        std::unordered_set<std::string> names;
        for (std::size_t i = 0; i < keys->size(); ++i) {
            auto key = decodeMember((*keys)[i], depth + 1);
            if (!key) return false;
            auto value = decodeMember((*values)[i], depth + 1);
            if (!value) return false;
            if (const std::string* name = key->asString(); name && !names.insert(*name).second) {
                continue;
            }
            entries.emplace_back(std::move(*key), std::move(*value));
        }
        out.emplace(std::move(entries));
        return true;
    }

    // A string or data object that keeps its contents under one key.
    static bool decodeWrapped(const PlistValue& object, const char* key, PlistValue::Kind kind,
                              std::optional<ArchivedObject>& out) {
        const PlistValue* contents = object.objectForKey(key);
        if (!contents || contents->kind() != kind) return false;
        out.emplace(*contents);
        return true;
    }

    bool decodeInstance(const PlistValue& object, const ClassInfo& info, std::size_t depth,
                        std::optional<ArchivedObject>& out) {
        ArchivedObject::Instance instance{info.className, info.classes, {}};
        for (const auto& [key, value] : *object.asDictionary()) {
            if (key == kClassKey) continue;
            std::optional<ArchivedObject> field;
            if (!decodeField(value, depth + 1, field)) return false;
            if (field) instance.fields.emplace(key, std::move(*field));
        }
        out.emplace(std::move(instance));
        return true;
    }

    // A field of an object whose class we do not know: references are
    // followed, plain lists and dictionaries are read member by member (a nil
    // member reads as the null object), anything else is a plain value.
    bool decodeField(const PlistValue& value, std::size_t depth,
                     std::optional<ArchivedObject>& out) {
        out.reset();
        if (auto uid = value.asUid()) return decodeUid(*uid, depth, out);
        if (!spend(depth)) return false;
        if (const PlistArray* list = value.asArray()) {
            ArchivedObject::Array members;
            members.reserve(list->size());
            for (const PlistValue& item : *list) {
                std::optional<ArchivedObject> member;
                if (!decodeField(item, depth + 1, member)) return false;
                members.push_back(member ? std::move(*member) : ArchivedObject());
            }
            out.emplace(std::move(members));
            return true;
        }
        if (const PlistDictionary* plain = value.asDictionary()) {
            ArchivedObject::Dictionary entries;
            for (const auto& [key, item] : *plain) {
                std::optional<ArchivedObject> member;
                if (!decodeField(item, depth + 1, member)) return false;
                entries.emplace_back(ArchivedObject(key),
                                     member ? std::move(*member) : ArchivedObject());
            }
            out.emplace(std::move(entries));
            return true;
        }
        out.emplace(value);
        return true;
    }

    const PlistArray& m_arrObjects;
    std::vector<bool> m_arrOnPath;
    std::map<std::uint64_t, ClassInfo> m_arrClassInfos;
    std::vector<std::uint64_t> m_arrExpanded;
    std::size_t m_nProduced = 0;
};

}  // namespace

std::optional<PlistValue> archivedRootObject(const ArchivedObject& root) {
    return Archiver().archive(root);
}

std::vector<std::uint8_t> archivedDataWithRootObject(const ArchivedObject& root) {
    auto archive = archivedRootObject(root);
    if (!archive) return {};
    return platform::PropertyList::toBinary(*archive);
}

std::optional<ArchivedObject> unarchiveObjectWithArchive(const PlistValue& archive) {
    const PlistValue* archiver = archive.objectForKey("$archiver");
    const PlistValue* version = archive.objectForKey("$version");
    const PlistValue* objects = archive.objectForKey("$objects");
    const PlistValue* top = archive.objectForKey("$top");
    if (!archiver || !archiver->asString() || *archiver->asString() != kArchiverName) {
        return std::nullopt;
    }
    if (!version || version->asInteger() != kVersion) return std::nullopt;
    if (!objects || !objects->asArray() || objects->asArray()->empty()) return std::nullopt;
    const PlistValue& first = objects->asArray()->front();
    if (!first.asString() || *first.asString() != kNullMarker) return std::nullopt;
    const PlistValue* root = top ? top->objectForKey("root") : nullptr;
    auto rootUid = root ? root->asUid() : std::nullopt;
    if (!rootUid) return std::nullopt;

    Unarchiver unarchiver(*objects->asArray());
    if (!unarchiver.fitsTheByteBudget(*rootUid)) return std::nullopt;
    std::optional<ArchivedObject> object;
    if (!unarchiver.decodeUid(*rootUid, 0, object)) return std::nullopt;
    return object;
}

std::optional<ArchivedObject> unarchiveObjectWithData(const std::uint8_t* data, std::size_t size) {
    auto archive = platform::PropertyList::parse(data, size);
    if (!archive) return std::nullopt;
    return unarchiveObjectWithArchive(*archive);
}

}  // namespace KeyedArchive
