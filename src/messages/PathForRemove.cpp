#include "messages/PathForRemove.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>

#include "environment/StringUtils.h"
#include "platform/FileSystem.h"
#include "platform/Utf8.h"

namespace {

std::string asciiLowercase(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

// A JSON number or string read as a signed 64-bit number; nullopt for other
// kinds. Booleans are numbers here (1 and 0), as the platform's parser makes
// them. Unsigned values wrap; a fraction is truncated toward zero, and a real
// outside the range (or NaN) gives the minimum, as the processor's
// conversion does.
std::optional<std::int64_t> longLongValue(const nlohmann::json& value) {
    switch (value.type()) {
        case nlohmann::json::value_t::string:
            return StringUtils::longLongValue(value.get_ref<const std::string&>());
        case nlohmann::json::value_t::number_integer:
            return value.get<std::int64_t>();
        case nlohmann::json::value_t::number_unsigned:
            return static_cast<std::int64_t>(value.get<std::uint64_t>());
        case nlohmann::json::value_t::number_float: {
            const double real = value.get<double>();
            if (!(real >= -9223372036854775808.0 && real < 9223372036854775808.0)) {
                return std::numeric_limits<std::int64_t>::min();
            }
            return static_cast<std::int64_t>(std::trunc(real));
        }
        case nlohmann::json::value_t::boolean:
            return value.get<bool>() ? 1 : 0;
        default:
            return std::nullopt;
    }
}

}  // namespace

PathForRemove::PathForRemove(std::string path, std::int32_t type, std::string bundleId)
    : m_sPath(std::move(path)), m_nType(type), m_sBundleId(asciiLowercase(std::move(bundleId))) {}

std::shared_ptr<PathForRemove> PathForRemove::createFromDictionary(const nlohmann::json& object) {
    if (!object.is_object()) return nullptr;
    const auto type = object.find("type");
    const auto size = object.find("size");
    const auto path = object.find("path");
    const auto bundleId = object.find("bundleId");
    if (type == object.end() || path == object.end() || bundleId == object.end()) return nullptr;
    if (!path->is_string() || !bundleId->is_string()) return nullptr;
    const std::optional<std::int64_t> typeValue = longLongValue(*type);
    if (!typeValue) return nullptr;
    std::int64_t sizeValue = -1;
    if (size != object.end()) {
        const auto value = longLongValue(*size);
        if (!value) return nullptr;
        sizeValue = *value;
    }
    // Only the low 32 bits of the type count, read unsigned: negative codes
    // are as far out of range as large ones.
    const auto typeBits = static_cast<std::uint32_t>(static_cast<std::uint64_t>(*typeValue));
    if (typeBits > static_cast<std::uint32_t>(kMaxType)) return nullptr;

    auto entry = std::make_shared<PathForRemove>(path->get<std::string>(),
                                                 static_cast<std::int32_t>(typeBits),
                                                 bundleId->get<std::string>());
    // A size of 0 comes back as not calculated, like a missing one.
    if (sizeValue > 0) entry->setSize(static_cast<std::uint64_t>(sizeValue));
    return entry;
}

nlohmann::json PathForRemove::toDictionary() const {
    // A Linux file name may hold any byte, but JSON text carries only UTF-8:
    // such an entry cannot be written and is left out of the list.
    if (!platform::Utf8::isValid(m_sPath) || !platform::Utf8::isValid(m_sBundleId)) return nullptr;
    nlohmann::json object = nlohmann::json::object();
    object["type"] = std::to_string(m_nType);
    if (m_bIsSizeCalculated) object["size"] = std::to_string(m_nSize);
    object["path"] = m_sPath;
    object["bundleId"] = m_sBundleId;
    return object;
}

void PathForRemove::setSize(std::uint64_t size) {
    m_nSize = size;
    m_bIsSizeCalculated = true;
}

bool PathForRemove::checkIsRemovedByUser() const {
    return !platform::existsWithoutFollowingLink(m_sPath);
}
