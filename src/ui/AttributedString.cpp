#include "ui/AttributedString.h"

#include <algorithm>

#include "platform/Utf8.h"

AttributedString::AttributedString(std::string_view text, const TextAttributes& attributes) {
    append(text, attributes);
}

void AttributedString::append(std::string_view text, const TextAttributes& attributes) {
    const std::string clean = platform::Utf8::sanitized(text);
    const std::size_t length = platform::Utf8::utf16Length(clean);
    if (length == 0) return;
    m_sText += clean;
    if (!m_arrRuns.empty() && m_arrRuns.back().attributes == attributes) {
        m_arrRuns.back().length += length;
    } else {
        m_arrRuns.push_back(AttributeRun{m_nLength, length, attributes});
    }
    m_nLength += length;
}

const TextAttributes& AttributedString::attributesAtIndex(std::size_t index) const {
    static const TextAttributes kNone;
    if (index >= m_nLength) return kNone;
    const auto run = std::upper_bound(
        m_arrRuns.begin(), m_arrRuns.end(), index,
        [](std::size_t value, const AttributeRun& r) { return value < r.location; });
    return std::prev(run)->attributes;
}

std::string AttributedString::substringWithRange(std::size_t location, std::size_t length) const {
    const std::size_t end = location + std::min(length, m_nLength - std::min(location, m_nLength));
    std::string out;
    std::size_t unit = 0;
    for (std::size_t i = 0; i < m_sText.size() && unit < end;) {
        const std::size_t start = i;
        const char32_t c = platform::Utf8::decode(m_sText, i);
        const std::size_t units = platform::Utf8::utf16Length(c);
        if (unit >= location && unit + units <= end) out.append(m_sText, start, i - start);
        unit += units;
    }
    return out;
}
