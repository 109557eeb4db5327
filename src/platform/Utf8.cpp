#include "platform/Utf8.h"

namespace platform::Utf8 {

char32_t decode(std::string_view s, std::size_t& index) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(s[i]); };
    const unsigned char first = byte(index);
    if (first < 0x80) {
        ++index;
        return first;
    }
    std::size_t length = 0;
    char32_t value = 0;
    char32_t minimum = 0;
    if ((first & 0xE0) == 0xC0) {
        length = 2, value = first & 0x1F, minimum = 0x80;
    } else if ((first & 0xF0) == 0xE0) {
        length = 3, value = first & 0x0F, minimum = 0x800;
    } else if ((first & 0xF8) == 0xF0) {
        length = 4, value = first & 0x07, minimum = 0x10000;
    } else {
        ++index;
        return kReplacementCharacter;
    }
    if (s.size() - index < length) {
        ++index;
        return kReplacementCharacter;
    }
    for (std::size_t i = 1; i < length; ++i) {
        const unsigned char next = byte(index + i);
        if ((next & 0xC0) != 0x80) {
            ++index;
            return kReplacementCharacter;
        }
        value = (value << 6) | (next & 0x3F);
    }
    if (value < minimum || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
        ++index;
        return kReplacementCharacter;
    }
    index += length;
    return value;
}

void append(std::string& out, char32_t c) {
    if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = kReplacementCharacter;
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

std::string sanitized(std::string_view s) {
    if (isValid(s)) return std::string(s);
    std::string out;
    out.reserve(s.size() + 8);
    for (std::size_t i = 0; i < s.size();) append(out, decode(s, i));
    return out;
}

bool isValid(std::string_view s) {
    for (std::size_t i = 0; i < s.size();) {
        const std::size_t start = i;
        if (decode(s, i) == kReplacementCharacter &&
            (i - start != 3 || s.substr(start, 3) != "\xEF\xBF\xBD")) {
            return false;
        }
    }
    return true;
}

std::size_t utf16Length(std::string_view s) {
    std::size_t length = 0;
    for (std::size_t i = 0; i < s.size();) length += utf16Length(decode(s, i));
    return length;
}

std::u16string toUtf16(std::string_view s) {
    std::u16string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size();) {
        const char32_t c = decode(s, i);
        if (c >= 0x10000) {
            out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            out += static_cast<char16_t>(c);
        }
    }
    return out;
}

std::string fromUtf16(std::u16string_view s) {
    std::string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        const char16_t unit = s[i];
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < s.size() && s[i + 1] >= 0xDC00 &&
            s[i + 1] <= 0xDFFF) {
            append(out,
                   0x10000 + ((char32_t(unit) - 0xD800) << 10) + (char32_t(s[i + 1]) - 0xDC00));
            ++i;
        } else {
            append(out, unit);  // a lone surrogate becomes U+FFFD in append
        }
    }
    return out;
}

}  // namespace platform::Utf8
