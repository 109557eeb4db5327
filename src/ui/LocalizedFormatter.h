#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "ui/StringsTable.h"

// One argument of a format: an object written with %@ (here always text) or
// an integer.
using FormatArgument = std::variant<std::string, std::int64_t>;

// Our format engine with the semantics of the platform's localised string
// formatting, for one locale:
//
// - %@ writes a text argument; %d %i (32-bit), %ld %lld %qd %zd (64-bit) and
//   %u %lu %llu (unsigned, of the same widths) write an integer the locale's
//   way (digits and grouping separators from ICU: 1234 is "1,234" in English,
//   "1.234" in German). A text given to an integer directive is written as it
//   is; an integer given to %@ is written as a number.
// - %% writes "%". "%n$" picks argument n (from 1) instead of the next one;
//   unnumbered directives take the arguments in order, whatever numbered ones
//   stand between them.
// - Flags and a width are honoured for padding ("-" pads on the right); a
//   precision is read and ignored.
// - %#@name@ (or %n$#@name@) is a plural variable: it takes its integer
//   argument and is replaced by the variable's form for that number, which is
//   itself formatted. "zero" is used for 0 when the variable has it, in every
//   language; otherwise the ICU plural category of the number picks the form,
//   and "other" stands in for a missing one. Inside a form, unnumbered
//   directives refer to the variable's own argument and numbered ones to the
//   arguments of the whole format; variables may nest up to kMaxNesting deep.
//
// Nothing in a format can make it fail: a directive with no argument, an
// unknown variable or a missing form writes nothing, and an unknown
// conversion (%f, %s, a lone "%" at the end) is written as it stands. Widths
// above 1024 count as 1024, and a text stops growing once it passes
// kMaxOutputSize bytes, so forms that repeat each other cannot blow up.
class LocalizedFormatter {
public:
    static constexpr int kMaxNesting = 8;
    static constexpr std::size_t kMaxOutputSize = std::size_t{1} << 20;

    // An ICU locale name: "de_DE", "pt_BR", "zh_Hans", "en". Names ICU does
    // not know fall back to its root locale.
    explicit LocalizedFormatter(const std::string& localeName);
    ~LocalizedFormatter();
    LocalizedFormatter(LocalizedFormatter&&) noexcept;
    LocalizedFormatter& operator=(LocalizedFormatter&&) noexcept;

    std::string localizedStringWithFormat(
        std::string_view format, std::span<const FormatArgument> arguments,
        const StringsTable::StringsDictEntry* plurals = nullptr) const;

    // The number written the locale's way.
    std::string localizedNumber(std::int64_t value) const;
    std::string localizedUnsignedNumber(std::uint64_t value) const;
    // The ICU plural category of the number: "zero", "one", "two", "few",
    // "many" or "other".
    std::string pluralCategory(std::int64_t value) const;

    const std::string& localeName() const { return m_sLocaleName; }

private:
    struct Impl;
    std::string m_sLocaleName;
    std::unique_ptr<Impl> m_pImpl;
};
