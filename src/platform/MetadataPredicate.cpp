#include "platform/MetadataPredicate.h"

#include <cstddef>
#include <cstdint>

#include "platform/Utf8.h"

namespace platform {

struct MetadataPredicate::Node {
    enum class Kind { True, False, And, Or, Not, Comparison };
    enum class Operator { Equal, NotEqual, Like, BeginsWith, EndsWith, Contains };

    Kind kind = Kind::True;
    std::vector<std::unique_ptr<Node>> children;  // And, Or: two or more; Not: one
    Operator op = Operator::Equal;
    bool caseInsensitive = false;
    std::string attribute;
    std::string value;
};

namespace {

using Node = MetadataPredicate::Node;

char foldAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalsIgnoringAsciiCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (foldAscii(a[i]) != foldAscii(b[i])) return false;
    }
    return true;
}

bool sameChar(char a, char b, bool caseInsensitive) {
    return caseInsensitive ? foldAscii(a) == foldAscii(b) : a == b;
}

bool sameText(std::string_view a, std::string_view b, bool caseInsensitive) {
    return caseInsensitive ? equalsIgnoringAsciiCase(a, b) : a == b;
}

// "?" is one character, "*" any run. Greedy with one point of return, so the
// time is bounded by the product of the lengths, never exponential.
bool matchesLike(std::string_view text, std::string_view pattern, bool caseInsensitive) {
    std::size_t t = 0, p = 0;
    std::size_t starAt = std::string_view::npos, resumeAt = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            starAt = p++;
            resumeAt = t;
        } else if (p < pattern.size() && pattern[p] == '?') {
            ++p;
            t += Utf8::characterLength(text, t);
        } else if (p < pattern.size() && sameChar(pattern[p], text[t], caseInsensitive)) {
            ++p;
            ++t;
        } else if (starAt != std::string_view::npos) {
            p = starAt + 1;
            resumeAt += Utf8::characterLength(text, resumeAt);
            t = resumeAt;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*') ++p;
    return p == pattern.size();
}

bool contains(std::string_view text, std::string_view part, bool caseInsensitive) {
    if (part.size() > text.size()) return false;
    for (std::size_t at = 0; at + part.size() <= text.size(); ++at) {
        if (sameText(text.substr(at, part.size()), part, caseInsensitive)) return true;
    }
    return false;
}

bool compare(const Node& node, const std::string* actual) {
    if (actual == nullptr) return node.op == Node::Operator::NotEqual;
    const std::string_view text = *actual;
    const std::string_view value = node.value;
    const bool ci = node.caseInsensitive;
    switch (node.op) {
        case Node::Operator::Equal:
            return sameText(text, value, ci);
        case Node::Operator::NotEqual:
            return !sameText(text, value, ci);
        case Node::Operator::Like:
            return matchesLike(text, value, ci);
        case Node::Operator::BeginsWith:
            return text.size() >= value.size() && sameText(text.substr(0, value.size()), value, ci);
        case Node::Operator::EndsWith:
            return text.size() >= value.size() &&
                   sameText(text.substr(text.size() - value.size()), value, ci);
        case Node::Operator::Contains:
            return contains(text, value, ci);
    }
    return false;
}

bool evaluate(const Node& node, const std::map<std::string, std::string>& attributes) {
    switch (node.kind) {
        case Node::Kind::True:
            return true;
        case Node::Kind::False:
            return false;
        case Node::Kind::And:
            for (const auto& child : node.children) {
                if (!evaluate(*child, attributes)) return false;
            }
            return true;
        case Node::Kind::Or:
            for (const auto& child : node.children) {
                if (evaluate(*child, attributes)) return true;
            }
            return false;
        case Node::Kind::Not:
            return !evaluate(*node.children.front(), attributes);
        case Node::Kind::Comparison: {
            const auto found = attributes.find(node.attribute);
            return compare(node, found == attributes.end() ? nullptr : &found->second);
        }
    }
    return false;
}

enum class TokenKind {
    End,
    Open,
    Close,
    And,
    Or,
    Not,
    True,
    False,
    Operator,
    Modifier,
    Name,
    Text,
    Bad
};

struct Token {
    Token(TokenKind kind = TokenKind::End, Node::Operator op = Node::Operator::Equal,
          std::string text = {})
        : kind(kind), op(op), text(std::move(text)) {}

    TokenKind kind;
    Node::Operator op;
    std::string text;
};

bool isNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$';
}

bool isNamePart(char c) {
    return isNameStart(c) || (c >= '0' && c <= '9');
}

class Lexer {
public:
    explicit Lexer(std::string_view input) : m_sInput(input) {}

    Token next() {
        while (m_nAt < m_sInput.size() && isSpace(m_sInput[m_nAt])) ++m_nAt;
        if (m_nAt == m_sInput.size()) return {TokenKind::End};
        const char c = m_sInput[m_nAt];
        if (c == '(') return single(TokenKind::Open);
        if (c == ')') return single(TokenKind::Close);
        if (c == '\'' || c == '"') return quoted(c);
        if (c == '[') return modifier();
        if (isNameStart(c)) return word();
        return symbol();
    }

private:
    static bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

    bool skip(std::string_view text) {
        if (m_sInput.substr(m_nAt, text.size()) != text) return false;
        m_nAt += text.size();
        return true;
    }

    Token single(TokenKind kind) {
        ++m_nAt;
        return {kind};
    }

    Token symbol() {
        if (skip("==")) return {TokenKind::Operator, Node::Operator::Equal};
        if (skip("!=") || skip("<>")) return {TokenKind::Operator, Node::Operator::NotEqual};
        if (skip("=")) return {TokenKind::Operator, Node::Operator::Equal};
        if (skip("&&")) return {TokenKind::And};
        if (skip("||")) return {TokenKind::Or};
        if (skip("!")) return {TokenKind::Not};
        return {TokenKind::Bad};
    }

    Token quoted(char quote) {
        ++m_nAt;
        Token token{TokenKind::Text};
        while (m_nAt < m_sInput.size()) {
            char c = m_sInput[m_nAt++];
            if (c == quote) return token;
            if (c == '\\') {
                if (m_nAt == m_sInput.size()) break;
                c = m_sInput[m_nAt++];
                c = c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c;
            }
            token.text.push_back(c);
        }
        return {TokenKind::Bad};  // not closed
    }

    // Only "[c]" is understood: other comparison options would be silently
    // ignored otherwise, and a search that means something else is worse
    // than one that fails.
    Token modifier() {
        const std::size_t close = m_sInput.find(']', m_nAt);
        if (close == std::string_view::npos) return {TokenKind::Bad};
        const std::string_view options = m_sInput.substr(m_nAt + 1, close - m_nAt - 1);
        m_nAt = close + 1;
        if (options != "c" && options != "C") return {TokenKind::Bad};
        return {TokenKind::Modifier};
    }

    Token word() {
        const std::size_t start = m_nAt;
        while (m_nAt < m_sInput.size() && isNamePart(m_sInput[m_nAt])) ++m_nAt;
        const std::string_view name = m_sInput.substr(start, m_nAt - start);
        const auto is = [&](std::string_view keyword) {
            return equalsIgnoringAsciiCase(name, keyword);
        };
        if (is("AND")) return {TokenKind::And};
        if (is("OR")) return {TokenKind::Or};
        if (is("NOT")) return {TokenKind::Not};
        if (is("TRUEPREDICATE")) return {TokenKind::True};
        if (is("FALSEPREDICATE")) return {TokenKind::False};
        if (is("LIKE")) return {TokenKind::Operator, Node::Operator::Like};
        if (is("BEGINSWITH")) return {TokenKind::Operator, Node::Operator::BeginsWith};
        if (is("ENDSWITH")) return {TokenKind::Operator, Node::Operator::EndsWith};
        if (is("CONTAINS")) return {TokenKind::Operator, Node::Operator::Contains};
        return {TokenKind::Name, Node::Operator::Equal, std::string(name)};
    }

    std::string_view m_sInput;
    std::size_t m_nAt = 0;
};

class Parser {
public:
    explicit Parser(std::string_view input) : m_lexer(input) { advance(); }

    std::unique_ptr<Node> parse() {
        auto root = parseOr(0);
        if (!root || m_token.kind != TokenKind::End) return nullptr;
        return root;
    }

private:
    void advance() { m_token = m_lexer.next(); }

    bool accept(TokenKind kind) {
        if (m_token.kind != kind) return false;
        advance();
        return true;
    }

    // AND binds tighter than OR; a run of either becomes one node.
    std::unique_ptr<Node> parseOr(int depth) { return parseList(depth, TokenKind::Or); }
    std::unique_ptr<Node> parseAnd(int depth) { return parseList(depth, TokenKind::And); }

    std::unique_ptr<Node> parseList(int depth, TokenKind joiner) {
        auto operand = [&] {
            return joiner == TokenKind::Or ? parseAnd(depth) : parseUnary(depth);
        };
        auto first = operand();
        if (!first || m_token.kind != joiner) return first;
        auto list = std::make_unique<Node>();
        list->kind = joiner == TokenKind::Or ? Node::Kind::Or : Node::Kind::And;
        list->children.push_back(std::move(first));
        while (accept(joiner)) {
            auto next = operand();
            if (!next) return nullptr;
            list->children.push_back(std::move(next));
        }
        return list;
    }

    std::unique_ptr<Node> parseUnary(int depth) {
        if (depth >= MetadataPredicate::kMaxNesting) return nullptr;
        if (accept(TokenKind::Not)) {
            auto operand = parseUnary(depth + 1);
            if (!operand) return nullptr;
            auto node = std::make_unique<Node>();
            node->kind = Node::Kind::Not;
            node->children.push_back(std::move(operand));
            return node;
        }
        if (accept(TokenKind::Open)) {
            auto inner = parseOr(depth + 1);
            if (!inner || !accept(TokenKind::Close)) return nullptr;
            return inner;
        }
        if (accept(TokenKind::True)) return constant(Node::Kind::True);
        if (accept(TokenKind::False)) return constant(Node::Kind::False);
        return parseComparison();
    }

    static std::unique_ptr<Node> constant(Node::Kind kind) {
        auto node = std::make_unique<Node>();
        node->kind = kind;
        return node;
    }

    std::unique_ptr<Node> parseComparison() {
        if (m_token.kind != TokenKind::Name) return nullptr;
        auto node = std::make_unique<Node>();
        node->kind = Node::Kind::Comparison;
        node->attribute = std::move(m_token.text);
        advance();
        if (m_token.kind != TokenKind::Operator) return nullptr;
        node->op = m_token.op;
        advance();
        node->caseInsensitive = accept(TokenKind::Modifier);
        if (m_token.kind != TokenKind::Text) return nullptr;
        node->value = std::move(m_token.text);
        advance();
        return node;
    }

    Lexer m_lexer;
    Token m_token;
};

const char* operatorText(Node::Operator op) {
    switch (op) {
        case Node::Operator::Equal:
            return "==";
        case Node::Operator::NotEqual:
            return "!=";
        case Node::Operator::Like:
            return "LIKE";
        case Node::Operator::BeginsWith:
            return "BEGINSWITH";
        case Node::Operator::EndsWith:
            return "ENDSWITH";
        case Node::Operator::Contains:
            return "CONTAINS";
    }
    return "==";
}

void write(const Node& node, std::string& out);

// Parentheses only where the reader needs them (AND binds tighter than OR),
// so that the text never nests deeper than what it was parsed from.
void writeOperand(const Node& child, Node::Kind parent, std::string& out) {
    const bool isList = child.kind == Node::Kind::And || child.kind == Node::Kind::Or;
    const bool group = isList && !(parent == Node::Kind::Or && child.kind == Node::Kind::And);
    if (group) out += "(";
    write(child, out);
    if (group) out += ")";
}

void write(const Node& node, std::string& out) {
    switch (node.kind) {
        case Node::Kind::True:
            out += "TRUEPREDICATE";
            return;
        case Node::Kind::False:
            out += "FALSEPREDICATE";
            return;
        case Node::Kind::Not:
            out += "NOT ";
            writeOperand(*node.children.front(), node.kind, out);
            return;
        case Node::Kind::And:
        case Node::Kind::Or: {
            const char* joiner = node.kind == Node::Kind::And ? " AND " : " OR ";
            for (std::size_t i = 0; i < node.children.size(); ++i) {
                if (i > 0) out += joiner;
                writeOperand(*node.children[i], node.kind, out);
            }
            return;
        }
        case Node::Kind::Comparison:
            out += node.attribute;
            out += " ";
            out += operatorText(node.op);
            if (node.caseInsensitive) out += "[c]";
            out += " \"";
            for (char c : node.value) {
                if (c == '"' || c == '\\') out.push_back('\\');
                out.push_back(c);
            }
            out += "\"";
            return;
    }
}

}  // namespace

std::optional<MetadataPredicate> MetadataPredicate::predicateWithFormat(std::string_view format) {
    auto root = Parser(format).parse();
    if (!root) return std::nullopt;
    return MetadataPredicate(std::shared_ptr<const Node>(std::move(root)));
}

bool MetadataPredicate::evaluateWithObject(
    const std::map<std::string, std::string>& attributes) const {
    return evaluate(*m_pRoot, attributes);
}

std::string MetadataPredicate::predicateFormat() const {
    std::string out;
    write(*m_pRoot, out);
    return out;
}

}  // namespace platform
