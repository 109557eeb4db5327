#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace testsupport {

// A binary property list put together byte by byte, as other programs lay
// it out: objects, a table of offsets as wide as the largest needs, the
// trailer. So tests can describe graphs no writer would produce (cycles,
// shared children, long chains). References are one byte unless asked for
// wider, so by default a list holds at most 256 objects, but an object may be
// referred to any number of times.
class BinaryPlist {
public:
    using Ref = std::uint32_t;

    explicit BinaryPlist(int referenceWidth = 1) : m_nRefWidth(referenceWidth) {}

    Ref add(std::string bytes) {
        m_arrObjects.push_back(std::move(bytes));
        return static_cast<Ref>(m_arrObjects.size() - 1);
    }
    Ref ascii(const std::string& text) { return add(marker(0x50, text.size()) + text); }
    Ref utf16(const std::u16string& text) {  // big-endian units
        std::string bytes = marker(0x60, text.size());
        for (char16_t unit : text) bytes += bigEndian(unit, 2);
        return add(bytes);
    }
    Ref integer(std::uint32_t value) { return add("\x12" + bigEndian(value, 4)); }
    Ref uid(std::uint8_t value) { return add(std::string("\x80") + char(value)); }
    Ref array(const std::vector<Ref>& refs) {
        std::string bytes = marker(0xA0, refs.size());
        for (Ref ref : refs) bytes += bigEndian(ref, m_nRefWidth);
        return add(bytes);
    }
    Ref dict(const std::vector<std::pair<Ref, Ref>>& entries) {
        std::string keys, values;
        for (auto [key, value] : entries) {
            keys += bigEndian(key, m_nRefWidth);
            values += bigEndian(value, m_nRefWidth);
        }
        return add(marker(0xD0, entries.size()) + keys + values);
    }
    std::vector<std::uint8_t> build(Ref root) const {
        std::string bytes = "bplist00";
        std::vector<std::size_t> offsets;
        for (const std::string& object : m_arrObjects) {
            offsets.push_back(bytes.size());
            bytes += object;
        }
        const std::size_t table = bytes.size();
        const int width = table <= 0xFF ? 1 : table <= 0xFFFF ? 2 : 4;
        for (std::size_t offset : offsets) bytes += bigEndian(offset, width);
        bytes += std::string(6, '\0') + char(width) + char(m_nRefWidth) +
                 bigEndian(m_arrObjects.size(), 8) + bigEndian(root, 8) + bigEndian(table, 8);
        return std::vector<std::uint8_t>(bytes.begin(), bytes.end());
    }

    static std::string bigEndian(std::uint64_t value, int width) {
        std::string bytes;
        for (int i = width - 1; i >= 0; --i) bytes += static_cast<char>((value >> (8 * i)) & 0xFF);
        return bytes;
    }
    // A type marker with its count, which follows as an integer from 15 on.
    static std::string marker(std::uint8_t type, std::size_t count) {
        if (count < 15) return std::string(1, static_cast<char>(type | count));
        return std::string(1, static_cast<char>(type | 0x0F)) + "\x12" + bigEndian(count, 4);
    }

private:
    int m_nRefWidth;
    std::vector<std::string> m_arrObjects;
};

}  // namespace testsupport
