#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// A metadata search predicate in the small language the agent writes:
//
//   predicate  := or
//   or         := and { ("OR" | "||") and }
//   and        := unary { ("AND" | "&&") unary }
//   unary      := ("NOT" | "!") unary | "(" or ")" | "TRUEPREDICATE" | "FALSEPREDICATE"
//               | attribute operator [ "[c]" ] value
//   operator   := "==" | "=" | "!=" | "<>" | "LIKE" | "BEGINSWITH" | "ENDSWITH" | "CONTAINS"
//   value      := '...' | "..."      (backslash escapes \\ \' \" \n \t \r; any other
//                                     escaped character stands for itself)
//
// Keywords are matched without regard to case; attribute names are letters,
// digits, "_" and "$", not starting with a digit. In LIKE patterns "?" stands
// for one character and "*" for any run of characters; the whole value must
// match. "[c]" compares ASCII letters without regard to case. An attribute
// the item does not have makes every comparison false except "!=".
class MetadataPredicate {
public:
    // The parsed predicate; nullopt for anything outside the language, and for
    // nesting deeper than kMaxNesting.
    static std::optional<MetadataPredicate> predicateWithFormat(std::string_view format);

    bool evaluateWithObject(const std::map<std::string, std::string>& attributes) const;

    // The predicate written back in the language; parsing it gives the same predicate.
    std::string predicateFormat() const;

    static constexpr int kMaxNesting = 64;

    struct Node;

private:
    explicit MetadataPredicate(std::shared_ptr<const Node> root) : m_pRoot(std::move(root)) {}
    std::shared_ptr<const Node> m_pRoot;  // immutable, so copies share it
};

}  // namespace platform
