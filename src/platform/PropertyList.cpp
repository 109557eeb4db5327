#include "platform/PropertyList.h"

#include <fcntl.h>
#include <plist/plist.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <utility>

#include "platform/FileSystem.h"
#include "platform/Log.h"
#include "platform/Utf8.h"
#include "platform/XmlTag.h"

namespace platform::PropertyList {

namespace {

struct PlistFree {
    void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistPtr = std::unique_ptr<void, PlistFree>;

constexpr char kBinaryMagic[] = "bplist00";
constexpr std::size_t kBinaryMagicSize = 8;
constexpr std::size_t kBinaryTrailerSize = 32;

// The binary writer keeps 32 bits of a UID (an archive's object index) and
// silently writes 0 for anything larger.
constexpr std::uint64_t kMaxUid = 0xFFFFFFFF;

std::uint64_t readBigEndian(const std::uint8_t* bytes, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i) value = (value << 8) | bytes[i];
    return value;
}

// The binary parser follows object references recursively and copies an
// object once per reference to it, so a small file can describe a chain
// deep enough to exhaust the stack or a shared graph that doubles at every
// level. Before handing binary input over we walk its object graph ourselves
// (iteratively, each object once) and refuse cycles, chains deeper than
// kMaxDepth and graphs that would expand to more than kMaxObjects values or
// more than kMaxExpandedBytes of strings and data.
class BinaryGraphCheck {
public:
    BinaryGraphCheck(const std::uint8_t* data, std::size_t size) : m_pData(data), m_nSize(size) {}

    bool isAcceptable() {
        if (m_nSize < kBinaryMagicSize + kBinaryTrailerSize) return false;
        const std::uint8_t* trailer = m_pData + m_nSize - kBinaryTrailerSize;
        m_nOffsetSize = trailer[6];
        m_nRefSize = trailer[7];
        const std::uint64_t objectCount = readBigEndian(trailer + 8, 8);
        const std::uint64_t root = readBigEndian(trailer + 16, 8);
        const std::uint64_t tableOffset = readBigEndian(trailer + 24, 8);
        if (m_nOffsetSize == 0 || m_nOffsetSize > 8 || m_nRefSize == 0 || m_nRefSize > 8) {
            return false;
        }
        if (objectCount == 0 || objectCount > kMaxObjects || root >= objectCount) return false;
        const std::uint64_t tableEnd = m_nSize - kBinaryTrailerSize;
        if (tableOffset < kBinaryMagicSize || tableOffset >= tableEnd) return false;
        if (objectCount > (tableEnd - tableOffset) / m_nOffsetSize) return false;
        m_nObjectCount = objectCount;
        m_nTableOffset = tableOffset;
        return walkFrom(root);
    }

private:
    struct Children {
        std::uint64_t first = 0;  // offset of the first reference
        std::uint64_t count = 0;  // number of references
        std::uint64_t bytes = 0;  // the object's own string or data bytes once read
    };
    struct Frame {
        std::uint64_t object;
        Children children;
        std::uint64_t next;        // the next reference to follow
        std::size_t tallestChild;  // values on the longest path below
    };
    enum : std::uint8_t { kUnvisited, kOnPath, kDone };

    // The references held by an object: arrays and sets list their members,
    // dictionaries their keys and then their values; others hold none.
    // nullopt for an object that must be refused: one that runs past the
    // objects, or a string with a NUL character, which the parser's string
    // getters abort on.
    std::optional<Children> childrenOf(std::uint64_t object) const {
        const std::uint64_t offset =
            readBigEndian(m_pData + m_nTableOffset + object * m_nOffsetSize, m_nOffsetSize);
        if (offset < kBinaryMagicSize || offset >= m_nTableOffset) return std::nullopt;
        const std::uint8_t marker = m_pData[offset];
        const std::uint8_t type = marker & 0xF0;
        const bool isContainer = type == 0xA0 || type == 0xC0 || type == 0xD0;
        const bool isString = type == 0x50 || type == 0x60;
        const bool isData = type == 0x40;
        if (!isContainer && !isString && !isData) return Children{};
        std::uint64_t position = offset + 1;
        std::uint64_t count = marker & 0x0F;
        if (count == 0x0F) {
            // The count follows as an integer object.
            if (position >= m_nTableOffset) return std::nullopt;
            const std::uint8_t intMarker = m_pData[position];
            if ((intMarker & 0xF0) != 0x10 || (intMarker & 0x0F) > 3) return std::nullopt;
            const std::uint64_t width = std::uint64_t{1} << (intMarker & 0x0F);
            if (position + 1 + width > m_nTableOffset) return std::nullopt;
            count = readBigEndian(m_pData + position + 1, width);
            position += 1 + width;
        }
        if (isData) {
            if (count > m_nTableOffset - position) return std::nullopt;
            return Children{0, 0, count};
        }
        if (isString) {
            // ASCII strings count bytes, UTF-16 ones count 2-byte units,
            // each of which becomes at most 3 bytes of UTF-8.
            const std::uint64_t unit = type == 0x60 ? 2 : 1;
            if (count > (m_nTableOffset - position) / unit) return std::nullopt;
            for (std::uint64_t i = 0; i < count; ++i) {
                if (readBigEndian(m_pData + position + i * unit, unit) == 0) return std::nullopt;
            }
            return Children{0, 0, type == 0x60 ? count * 3 : count};
        }
        const std::uint64_t perEntry = type == 0xD0 ? 2 : 1;
        const std::uint64_t room = (m_nTableOffset - position) / m_nRefSize;
        if (count > room / perEntry) return std::nullopt;
        return Children{position, count * perEntry};
    }

    bool walkFrom(std::uint64_t root) {
        // An object shared by several parents is walked once, so the depth
        // it adds below a later parent comes from its recorded height.
        constexpr std::size_t kMaxValuesOnAPath = kMaxDepth + 1;
        std::vector<std::uint8_t> state(m_nObjectCount, kUnvisited);
        std::vector<std::uint16_t> height(m_nObjectCount, 0);
        // Values and bytes each object expands to, saturating above the limits.
        std::vector<std::uint32_t> expanded(m_nObjectCount, 0);
        std::vector<std::uint64_t> bytes(m_nObjectCount, 0);
        std::vector<Frame> path;
        auto enter = [&](std::uint64_t object) {
            auto children = childrenOf(object);
            if (!children || path.size() + 1 > kMaxValuesOnAPath) return false;
            state[object] = kOnPath;
            expanded[object] = 1;
            bytes[object] = children->bytes;
            path.push_back(Frame{object, *children, 0, 0});
            return true;
        };
        if (!enter(root)) return false;
        while (!path.empty()) {
            Frame& frame = path.back();
            if (frame.next == frame.children.count) {
                const std::uint64_t object = frame.object;
                state[object] = kDone;
                height[object] = static_cast<std::uint16_t>(frame.tallestChild + 1);
                path.pop_back();
                if (!path.empty()) {
                    Frame& parent = path.back();
                    parent.tallestChild =
                        std::max<std::size_t>(parent.tallestChild, height[object]);
                    addExpanded(expanded[parent.object], expanded[object]);
                    addBytes(bytes[parent.object], bytes[object]);
                }
                continue;
            }
            const std::uint64_t child =
                readBigEndian(m_pData + frame.children.first + frame.next * m_nRefSize, m_nRefSize);
            ++frame.next;
            if (child >= m_nObjectCount) return false;
            if (state[child] == kOnPath) return false;  // a cycle
            if (state[child] == kDone) {
                if (path.size() + height[child] > kMaxValuesOnAPath) return false;
                frame.tallestChild = std::max<std::size_t>(frame.tallestChild, height[child]);
                addExpanded(expanded[frame.object], expanded[child]);
                addBytes(bytes[frame.object], bytes[child]);
            } else if (!enter(child)) {
                return false;
            }
            const std::uint64_t current = path.back().object;
            if (expanded[current] > kMaxObjects || bytes[current] > kMaxExpandedBytes) {
                return overBudget();
            }
        }
        return expanded[root] <= kMaxObjects && bytes[root] <= kMaxExpandedBytes ? true
                                                                                 : overBudget();
    }

    static bool overBudget() {
        Log::warning("plist", "a binary property list would expand to more than " +
                                  std::to_string(kMaxObjects) + " values or " +
                                  std::to_string(kMaxExpandedBytes) + " bytes; read as nothing");
        return false;
    }
    static void addExpanded(std::uint32_t& total, std::uint32_t more) {
        const std::uint64_t sum = std::uint64_t{total} + more;
        total = static_cast<std::uint32_t>(std::min<std::uint64_t>(sum, kMaxObjects + 1));
    }
    static void addBytes(std::uint64_t& total, std::uint64_t more) {
        total = std::min<std::uint64_t>(
            total + std::min<std::uint64_t>(more, kMaxExpandedBytes + 1), kMaxExpandedBytes + 1);
    }

    const std::uint8_t* m_pData;
    std::size_t m_nSize;
    std::uint64_t m_nObjectCount = 0;
    std::uint64_t m_nTableOffset = 0;
    std::uint8_t m_nOffsetSize = 0;
    std::uint8_t m_nRefSize = 0;
};

// The XML parser itself does not recurse, but freeing its tree does. This
// scan bounds the element nesting before parsing: every start tag that does
// not close itself opens a level, every end tag closes one. It also bounds
// the values: every start tag but a key's is one. (XML holds no references,
// so its strings and data never outgrow the input.) Comments, CDATA,
// processing instructions and declarations are skipped; a construct left
// unterminated ends the scan (the parser refuses it anyway).
bool xmlIsBounded(std::string_view text) {
    // The plist element and a value element inside the deepest container.
    constexpr std::size_t kMaxElementDepth = kMaxDepth + 2;
    std::size_t depth = 0;
    std::size_t values = 0;
    std::size_t at = 0;
    auto skipPast = [&](std::string_view terminator) {
        const std::size_t end = text.find(terminator, at);
        at = end == std::string_view::npos ? text.size() : end + terminator.size();
    };
    while ((at = text.find('<', at)) != std::string_view::npos) {
        const std::string_view tag = text.substr(at);
        if (tag.starts_with("<!--")) {
            at += 4;
            skipPast("-->");
        } else if (tag.starts_with("<![CDATA[")) {
            at += 9;
            skipPast("]]>");
        } else if (tag.starts_with("<?")) {
            at += 2;
            skipPast("?>");
        } else if (tag.starts_with("<!")) {
            // A declaration, possibly with an internal subset in brackets.
            int brackets = 0;
            for (++at; at < text.size(); ++at) {
                if (text[at] == '[') ++brackets;
                if (text[at] == ']') --brackets;
                if (text[at] == '>' && brackets <= 0) break;
            }
            ++at;
        } else if (tag.starts_with("</")) {
            if (depth > 0) --depth;
            at += 2;
            skipPast(">");
        } else {
            if (!tag.starts_with("<key") && ++values > kMaxObjects + 1) {
                Log::warning("plist", "an XML property list holds more than " +
                                          std::to_string(kMaxObjects) + " values; read as nothing");
                return false;
            }
            const std::size_t end = xmlTagEnd(text, at);
            if (end == std::string_view::npos) break;
            const bool selfClosing = end > at + 1 && text[end - 1] == '/';
            at = end + 1;
            if (!selfClosing && ++depth > kMaxElementDepth) return false;
        }
    }
    return true;
}

// Text the writer can take: UTF-8 without NUL (libplist writes C strings).
bool isValidUtf8(const std::string& text) {
    return text.find('\0') == std::string::npos && Utf8::isValid(text);
}

// --- libplist tree to PlistValue -------------------------------------------

// An integer node knows whether it holds an unsigned value above INT64_MAX
// (it was read as such); the only public way to see that is to compare it
// with a fresh node of the same bits, which never carries the flag.
bool isUnsignedBigNode(plist_t node, std::uint64_t bits) {
    PlistPtr plain(plist_new_uint(bits));
    return plain && !plist_compare_node_value(node, plain.get());
}

// The date getter answers whole seconds truncated toward zero and the
// magnitude of the fraction, so the fraction's sign is lost for dates less
// than a second before the reference date; compare to find it.
double dateSeconds(plist_t node) {
    std::int32_t seconds = 0;
    std::int32_t micros = 0;
    plist_get_date_val(node, &seconds, &micros);
    const double fraction = micros / 1e6;
    if (seconds < 0) return seconds - fraction;
    if (seconds == 0 && micros != 0) {
        PlistPtr positive(plist_new_date(0, micros));
        if (positive && !plist_compare_node_value(node, positive.get())) return -fraction;
    }
    return seconds + fraction;
}

// The binary reader links array elements into a plain list, so reading
// element i walks i links and reading a large array takes quadratic time.
// Appending an element makes the library index a long array; taking that
// element out again leaves the index in place.
void indexLongArray(plist_t array, std::uint32_t count) {
    constexpr std::uint32_t kShortArray = 100;
    if (count <= kShortArray) return;
    plist_array_append_item(array, plist_new_bool(0));
    plist_array_remove_item(array, count);
}

std::optional<PlistValue> fromNode(plist_t node, std::size_t depth, bool fromXml) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return PlistValue(value != 0);
        }
        case PLIST_UINT: {
            std::uint64_t bits = 0;
            plist_get_uint_val(node, &bits);
            if (bits > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) &&
                isUnsignedBigNode(node, bits)) {
                return PlistValue(bits);
            }
            return PlistValue(static_cast<std::int64_t>(bits));
        }
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            return PlistValue(value);
        }
        case PLIST_STRING: {
            std::uint64_t length = 0;
            const char* text = plist_get_string_ptr(node, &length);
            return PlistValue(text ? std::string(text, length) : std::string());
        }
        case PLIST_KEY: {
            // A key outside a dictionary (XML allows writing one) reads as a string.
            char* text = nullptr;
            plist_get_key_val(node, &text);
            std::string value = text ? text : "";
            std::free(text);
            return PlistValue(std::move(value));
        }
        case PLIST_DATE:
            return PlistValue(PlistDate{dateSeconds(node)});
        case PLIST_DATA: {
            std::uint64_t length = 0;
            const char* bytes = plist_get_data_ptr(node, &length);
            PlistData data;
            if (bytes && length) data.assign(bytes, bytes + length);
            return PlistValue(std::move(data));
        }
        case PLIST_UID: {
            std::uint64_t value = 0;
            plist_get_uid_val(node, &value);
            return PlistValue(PlistUid{value});
        }
        case PLIST_ARRAY: {
            if (depth >= kMaxDepth) return std::nullopt;
            const std::uint32_t count = plist_array_get_size(node);
            indexLongArray(node, count);
            PlistArray array;
            array.reserve(count);
            for (std::uint32_t i = 0; i < count; ++i) {
                plist_t item = plist_array_get_item(node, i);
                if (!item) return std::nullopt;
                auto value = fromNode(item, depth + 1, fromXml);
                if (!value) return std::nullopt;
                array.push_back(std::move(*value));
            }
            return PlistValue(std::move(array));
        }
        case PLIST_DICT: {
            if (depth >= kMaxDepth) return std::nullopt;
            PlistDictionary dictionary;
            plist_dict_iter iter = nullptr;
            plist_dict_new_iter(node, &iter);
            if (!iter) return std::nullopt;
            bool ok = true;
            for (;;) {
                char* key = nullptr;
                plist_t item = nullptr;
                plist_dict_next_item(node, iter, &key, &item);
                if (!key || !item) {
                    std::free(key);
                    break;
                }
                auto value = fromNode(item, depth + 1, fromXml);
                if (value) dictionary.insert_or_assign(std::string(key), std::move(*value));
                std::free(key);
                if (!value) {
                    ok = false;
                    break;
                }
            }
            std::free(iter);
            if (!ok) return std::nullopt;
            // XML has no UID element: keyed archives write a UID as a
            // dictionary whose only key is "CF$UID", and read it back as one.
            if (fromXml && dictionary.size() == 1) {
                auto it = dictionary.find("CF$UID");
                if (it != dictionary.end()) {
                    auto uid = it->second.asUnsignedInteger();
                    if (uid && *uid <= kMaxUid) return PlistValue(PlistUid{*uid});
                }
            }
            return PlistValue(std::move(dictionary));
        }
        default:
            return PlistValue();
    }
}

// --- PlistValue to libplist tree -------------------------------------------

// The writer takes a date as whole seconds and microseconds, both 32 bits.
std::optional<std::pair<std::int32_t, std::int32_t>> dateParts(double seconds) {
    if (!std::isfinite(seconds)) return std::nullopt;
    double whole = std::floor(seconds);
    double micros = std::round((seconds - whole) * 1e6);
    if (micros >= 1e6) {
        whole += 1;
        micros = 0;
    }
    if (whole < std::numeric_limits<std::int32_t>::min() ||
        whole > std::numeric_limits<std::int32_t>::max()) {
        return std::nullopt;
    }
    return std::pair{static_cast<std::int32_t>(whole), static_cast<std::int32_t>(micros)};
}

// libplist makes every integer node it creates signed; an unsigned node can
// only come from its parser.
PlistPtr newUnsignedBigNode(std::uint64_t value) {
    char xml[96];
    const int length = std::snprintf(xml, sizeof xml, "<plist><integer>%llu</integer></plist>",
                                     static_cast<unsigned long long>(value));
    plist_t node = nullptr;
    plist_from_xml(xml, static_cast<std::uint32_t>(length), &node);
    PlistPtr result(node);
    if (!result || plist_get_node_type(node) != PLIST_UINT) return nullptr;
    return result;
}

PlistPtr toNode(const PlistValue& value, std::size_t depth) {
    switch (value.kind()) {
        case PlistValue::Kind::None:
            return nullptr;
        case PlistValue::Kind::Bool:
            return PlistPtr(plist_new_bool(*value.asBool() ? 1 : 0));
        case PlistValue::Kind::Integer:
            if (value.isUnsignedInteger()) return newUnsignedBigNode(*value.asUnsignedInteger());
            return PlistPtr(plist_new_uint(static_cast<std::uint64_t>(*value.asInteger())));
        case PlistValue::Kind::Real:
            return PlistPtr(plist_new_real(*value.asReal()));
        case PlistValue::Kind::String:
            if (!isValidUtf8(*value.asString())) return nullptr;
            return PlistPtr(plist_new_string(value.asString()->c_str()));
        case PlistValue::Kind::Data: {
            static const char kEmpty = 0;
            const PlistData& data = *value.asData();
            const char* bytes = data.empty() ? &kEmpty : reinterpret_cast<const char*>(data.data());
            return PlistPtr(plist_new_data(bytes, data.size()));
        }
        case PlistValue::Kind::Date: {
            auto parts = dateParts(value.asDate()->secondsSinceReferenceDate);
            if (!parts) return nullptr;
            return PlistPtr(plist_new_date(parts->first, parts->second));
        }
        case PlistValue::Kind::Uid:
            if (*value.asUid() > kMaxUid) return nullptr;
            return PlistPtr(plist_new_uid(*value.asUid()));
        case PlistValue::Kind::Array: {
            if (depth >= kMaxDepth) return nullptr;
            PlistPtr array(plist_new_array());
            for (const PlistValue& item : *value.asArray()) {
                PlistPtr child = toNode(item, depth + 1);
                if (!child) return nullptr;
                plist_array_append_item(array.get(), child.release());
            }
            return array;
        }
        case PlistValue::Kind::Dictionary: {
            if (depth >= kMaxDepth) return nullptr;
            PlistPtr dictionary(plist_new_dict());
            for (const auto& [key, item] : *value.asDictionary()) {
                if (!isValidUtf8(key)) return nullptr;
                PlistPtr child = toNode(item, depth + 1);
                if (!child) return nullptr;
                plist_dict_set_item(dictionary.get(), key.c_str(), child.release());
            }
            return dictionary;
        }
    }
    return nullptr;
}

bool isSerializableAt(const PlistValue& value, std::size_t depth) {
    switch (value.kind()) {
        case PlistValue::Kind::None:
            return false;
        case PlistValue::Kind::String:
            return isValidUtf8(*value.asString());
        case PlistValue::Kind::Date:
            return dateParts(value.asDate()->secondsSinceReferenceDate).has_value();
        case PlistValue::Kind::Uid:
            return *value.asUid() <= kMaxUid;
        case PlistValue::Kind::Array:
            if (depth >= kMaxDepth) return false;
            for (const PlistValue& item : *value.asArray()) {
                if (!isSerializableAt(item, depth + 1)) return false;
            }
            return true;
        case PlistValue::Kind::Dictionary:
            if (depth >= kMaxDepth) return false;
            for (const auto& [key, item] : *value.asDictionary()) {
                if (!isValidUtf8(key) || !isSerializableAt(item, depth + 1)) return false;
            }
            return true;
        default:
            return true;
    }
}

// --- Binary writer -----------------------------------------------------------

// libplist's binary writer shares equal data objects only when their
// addresses happen to hash alike, so the same value could be written in
// different ways from one run to the next. This writer shares every equal
// scalar (by its encoded bytes) and no container, so the output depends on
// the value alone. Objects are numbered depth first from the root.
class BinaryWriter {
public:
    std::vector<std::uint8_t> write(const PlistValue& root) {
        add(root);
        const std::size_t count = m_arrObjects.size();
        const unsigned refSize = byteWidth(count - 1);
        std::string body(kBinaryMagic, kBinaryMagicSize);
        std::vector<std::uint64_t> offsets;
        offsets.reserve(count);
        for (const Object& object : m_arrObjects) {
            offsets.push_back(body.size());
            body += object.bytes;
            for (std::size_t ref : object.refs) appendBigEndian(body, ref, refSize);
        }
        const std::uint64_t tableOffset = body.size();
        const unsigned offsetSize = byteWidth(tableOffset);
        for (std::uint64_t offset : offsets) appendBigEndian(body, offset, offsetSize);
        body.append(6, '\0');
        body += static_cast<char>(offsetSize);
        body += static_cast<char>(refSize);
        appendBigEndian(body, count, 8);
        appendBigEndian(body, 0, 8);  // the root is the first object
        appendBigEndian(body, tableOffset, 8);
        return std::vector<std::uint8_t>(body.begin(), body.end());
    }

private:
    struct Object {
        std::string bytes;              // marker and contents, or marker and count
        std::vector<std::size_t> refs;  // a container's members
    };

    static unsigned byteWidth(std::uint64_t value) {
        if (value <= 0xFF) return 1;
        if (value <= 0xFFFF) return 2;
        if (value <= 0xFFFFFFFF) return 4;
        return 8;
    }
    static void appendBigEndian(std::string& out, std::uint64_t value, unsigned width) {
        for (unsigned i = width; i-- > 0;) out += static_cast<char>((value >> (8 * i)) & 0xFF);
    }
    // An integer object: 1, 2 or 4 bytes hold non-negative values, 8 bytes
    // two's complement, 16 bytes an unsigned value above the signed range.
    static std::string integer(std::uint64_t bits, bool unsignedBig) {
        std::string out;
        if (unsignedBig) {
            out += '\x14';
            appendBigEndian(out, 0, 8);
            appendBigEndian(out, bits, 8);
            return out;
        }
        const unsigned width = bits > 0xFFFFFFFF ? 8 : byteWidth(bits);
        out += static_cast<char>(0x10 | (width == 1 ? 0 : width == 2 ? 1 : width == 4 ? 2 : 3));
        appendBigEndian(out, bits, width);
        return out;
    }
    static std::string marker(std::uint8_t type, std::size_t count) {
        if (count < 15) return std::string(1, static_cast<char>(type | count));
        return std::string(1, static_cast<char>(type | 0x0F)) + integer(count, false);
    }
    static std::string realBytes(std::uint8_t type, double value) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        std::string out(1, static_cast<char>(type));
        appendBigEndian(out, bits, 8);
        return out;
    }
    static std::string string(const std::string& text) {
        const bool ascii = std::all_of(text.begin(), text.end(),
                                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
        if (ascii) return marker(0x50, text.size()) + text;
        const std::u16string units = Utf8::toUtf16(text);
        std::string out = marker(0x60, units.size());
        for (char16_t unit : units) appendBigEndian(out, unit, 2);
        return out;
    }

    // Only what isSerializable accepts reaches here.
    static std::string scalar(const PlistValue& value) {
        switch (value.kind()) {
            case PlistValue::Kind::Bool:
                return std::string(1, *value.asBool() ? '\x09' : '\x08');
            case PlistValue::Kind::Integer:
                if (value.isUnsignedInteger()) return integer(*value.asUnsignedInteger(), true);
                return integer(static_cast<std::uint64_t>(*value.asInteger()), false);
            case PlistValue::Kind::Real:
                return realBytes(0x23, *value.asReal());
            case PlistValue::Kind::Date: {
                // As the reader will see it: whole seconds and microseconds.
                const auto parts = *dateParts(value.asDate()->secondsSinceReferenceDate);
                return realBytes(0x33, parts.first + parts.second / 1e6);
            }
            case PlistValue::Kind::Data: {
                const PlistData& data = *value.asData();
                return marker(0x40, data.size()) + std::string(data.begin(), data.end());
            }
            case PlistValue::Kind::String:
                return string(*value.asString());
            case PlistValue::Kind::Uid: {
                const std::uint64_t uid = *value.asUid();
                const unsigned width = byteWidth(uid);
                std::string out(1, static_cast<char>(0x80 | (width - 1)));
                appendBigEndian(out, uid, width);
                return out;
            }
            default:
                return {};
        }
    }

    std::size_t addScalar(std::string bytes) {
        auto [it, added] = m_arrShared.try_emplace(std::move(bytes), m_arrObjects.size());
        if (added) m_arrObjects.push_back(Object{it->first, {}});
        return it->second;
    }

    std::size_t add(const PlistValue& value) {
        if (const PlistArray* array = value.asArray()) {
            const std::size_t index = m_arrObjects.size();
            m_arrObjects.push_back(Object{marker(0xA0, array->size()), {}});
            std::vector<std::size_t> refs;
            refs.reserve(array->size());
            for (const PlistValue& item : *array) refs.push_back(add(item));
            m_arrObjects[index].refs = std::move(refs);
            return index;
        }
        if (const PlistDictionary* dictionary = value.asDictionary()) {
            const std::size_t index = m_arrObjects.size();
            m_arrObjects.push_back(Object{marker(0xD0, dictionary->size()), {}});
            std::vector<std::size_t> keys, values;
            keys.reserve(dictionary->size());
            values.reserve(dictionary->size());
            for (const auto& [key, item] : *dictionary) {
                keys.push_back(addScalar(string(key)));
                values.push_back(add(item));
            }
            keys.insert(keys.end(), values.begin(), values.end());
            m_arrObjects[index].refs = std::move(keys);
            return index;
        }
        return addScalar(scalar(value));
    }

    std::vector<Object> m_arrObjects;
    std::map<std::string, std::size_t> m_arrShared;
};

}  // namespace

std::optional<PlistValue> parse(const std::uint8_t* data, std::size_t size) {
    if (!data || size == 0 || size > kMaxInputSize) return std::nullopt;
    plist_t root = nullptr;
    const bool binary =
        size >= kBinaryMagicSize && std::memcmp(data, kBinaryMagic, kBinaryMagicSize) == 0;
    if (binary) {
        if (!BinaryGraphCheck(data, size).isAcceptable()) return std::nullopt;
        plist_from_bin(reinterpret_cast<const char*>(data), static_cast<std::uint32_t>(size),
                       &root);
    } else {
        // A copy, so the parser always finds a terminating NUL. XML never
        // holds a NUL character, and one inside a key would abort the parser's
        // key getter.
        const std::string text(reinterpret_cast<const char*>(data), size);
        if (text.find('\0') != std::string::npos || !xmlIsBounded(text)) {
            return std::nullopt;
        }
        plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &root);
    }
    PlistPtr tree(root);
    if (!tree) return std::nullopt;
    return fromNode(root, 0, !binary);
}

std::optional<PlistValue> readFile(const std::string& path) {
    const auto bytes = platform::readWholeFile(path, kMaxInputSize);
    if (!bytes) return std::nullopt;
    return parse(*bytes);
}

bool isSerializable(const PlistValue& value) {
    return isSerializableAt(value, 0);
}

std::vector<std::uint8_t> toBinary(const PlistValue& value) {
    if (!isSerializable(value)) return {};
    return BinaryWriter().write(value);
}

std::string toXml(const PlistValue& value) {
    PlistPtr tree = toNode(value, 0);
    if (!tree) return {};
    char* buffer = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(tree.get(), &buffer, &length);
    std::string text;
    if (buffer) text.assign(buffer, length);
    plist_to_xml_free(buffer);
    return text;
}

bool writeFileAtomically(const std::string& path, const PlistValue& value, Format format,
                         unsigned permissions) {
    if (format == Format::Binary) {
        const std::vector<std::uint8_t> binary = toBinary(value);
        // Nothing serialised means the value could not be written.
        return !binary.empty() &&
               platform::writeFileAtomically(
                   path,
                   std::string_view(reinterpret_cast<const char*>(binary.data()), binary.size()),
                   permissions);
    }
    const std::string xml = toXml(value);
    return !xml.empty() && platform::writeFileAtomically(path, xml, permissions);
}

}  // namespace platform::PropertyList
