#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// UTF-8 and UTF-16 helpers. Text from outside (files, messages, tables) may
// hold bytes that are not UTF-8; each such byte is read as U+FFFD, so nothing
// is dropped and every offset stays well defined.
namespace platform::Utf8 {

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

// The code point at s[index], advancing index past it. A byte that does not
// start a well-formed sequence (overlong forms, surrogates and values above
// U+10FFFF included) yields U+FFFD and advances by one. index < s.size().
char32_t decode(std::string_view s, std::size_t& index);

// Bytes taken by the character at s[index]: 1 for a byte that does not start
// a well-formed sequence, so stepping by it visits every byte once.
inline std::size_t characterLength(std::string_view s, std::size_t index) {
    const std::size_t start = index;
    decode(s, index);
    return index - start;
}

// Appends the UTF-8 form of a code point; surrogates and values above
// U+10FFFF are written as U+FFFD.
void append(std::string& out, char32_t codePoint);

// s with every ill-formed byte replaced by U+FFFD.
std::string sanitized(std::string_view s);
bool isValid(std::string_view s);

// Number of UTF-16 code units of s once sanitised.
std::size_t utf16Length(std::string_view s);
inline std::size_t utf16Length(char32_t codePoint) {
    return codePoint >= 0x10000 ? 2 : 1;
}

std::u16string toUtf16(std::string_view s);
// A lone surrogate becomes U+FFFD.
std::string fromUtf16(std::u16string_view s);

}  // namespace platform::Utf8
