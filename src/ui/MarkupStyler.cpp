#include "ui/MarkupStyler.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <set>
#include <utility>

#include "platform/Utf8.h"

namespace {

std::mutex& defaultTagLock() {
    static std::mutex lock;
    return lock;
}
std::string& defaultTagValue() {
    static std::string tag;
    return tag;
}

bool isNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool isNameChar(char c) {
    return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

// The end of a tag name starting at `from`, or `from` when none starts there.
std::size_t nameEnd(std::string_view s, std::size_t from) {
    if (from >= s.size() || !isNameStart(s[from])) return from;
    std::size_t i = from + 1;
    while (i < s.size() && isNameChar(s[i])) ++i;
    return i;
}

// The entity at s[at] == '&': its character and the length of its source, or
// nullopt when none is written there.
std::optional<std::pair<char32_t, std::size_t>> entityAt(std::string_view s, std::size_t at) {
    static const std::pair<std::string_view, char32_t> kNamed[] = {
        {"quot", U'"'}, {"amp", U'&'}, {"apos", U'\''}, {"lt", U'<'}, {"gt", U'>'}};
    const std::string_view rest = s.substr(at + 1);
    const std::size_t semicolon = rest.substr(0, 10).find(';');
    if (semicolon == std::string_view::npos) return std::nullopt;
    const std::string_view body = rest.substr(0, semicolon);
    for (const auto& [name, character] : kNamed) {
        if (body == name) return std::make_pair(character, body.size() + 2);
    }
    if (body.size() < 2 || body[0] != '#') return std::nullopt;
    const bool hex = body[1] == 'x' || body[1] == 'X';
    const std::string_view digits = body.substr(hex ? 2 : 1);
    if (digits.empty() || digits.size() > (hex ? 6u : 7u)) return std::nullopt;
    char32_t value = 0;
    for (char c : digits) {
        int digit = -1;
        if (c >= '0' && c <= '9')
            digit = c - '0';
        else if (hex && c >= 'a' && c <= 'f')
            digit = c - 'a' + 10;
        else if (hex && c >= 'A' && c <= 'F')
            digit = c - 'A' + 10;
        if (digit < 0) return std::nullopt;
        value = value * (hex ? 16 : 10) + static_cast<char32_t>(digit);
    }
    if (value == 0 || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return std::nullopt;
    return std::make_pair(value, body.size() + 2);
}

struct Token {
    enum Kind { Text, Open, Close } kind = Text;
    std::string text;         // decoded text, or the tag's name
    std::string_view source;  // the tag as written
    std::size_t partner = 0;  // index of the matching tag token
    bool matched = false;
};

std::vector<Token> tokenize(std::string_view markup) {
    std::vector<Token> tokens;
    const auto appendText = [&tokens](std::string_view piece) {
        if (tokens.empty() || tokens.back().kind != Token::Text) tokens.push_back(Token{});
        tokens.back().text.append(piece);
    };
    std::size_t textStart = 0;
    std::size_t i = 0;
    while (i < markup.size()) {
        const char c = markup[i];
        if (c == '<') {
            const bool closing = i + 1 < markup.size() && markup[i + 1] == '/';
            const std::size_t nameStart = i + (closing ? 2 : 1);
            const std::size_t end = nameEnd(markup, nameStart);
            if (end > nameStart && end < markup.size() && markup[end] == '>') {
                appendText(markup.substr(textStart, i - textStart));
                Token tag;
                tag.kind = closing ? Token::Close : Token::Open;
                tag.text = std::string(markup.substr(nameStart, end - nameStart));
                tag.source = markup.substr(i, end + 1 - i);
                tokens.push_back(std::move(tag));
                i = textStart = end + 1;
                continue;
            }
        } else if (c == '&') {
            if (const auto entity = entityAt(markup, i)) {
                appendText(markup.substr(textStart, i - textStart));
                std::string character;
                platform::Utf8::append(character, entity->first);
                appendText(character);
                i = textStart = i + entity->second;
                continue;
            }
        }
        ++i;
    }
    appendText(markup.substr(textStart));
    return tokens;
}

// Pairs each closing tag with the most recent unmatched opening tag of its name.
void matchTags(std::vector<Token>& tokens) {
    std::map<std::string_view, std::vector<std::size_t>> open;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        Token& token = tokens[i];
        if (token.kind == Token::Open) {
            open[token.text].push_back(i);
        } else if (token.kind == Token::Close) {
            const auto found = open.find(token.text);
            if (found == open.end() || found->second.empty()) continue;
            const std::size_t opener = found->second.back();
            found->second.pop_back();
            tokens[opener].matched = token.matched = true;
            tokens[opener].partner = i;
            token.partner = opener;
        }
    }
}

}  // namespace

MarkupStyler::ParsedMarkup MarkupStyler::parse(std::string_view markup) {
    const std::string clean = platform::Utf8::sanitized(markup);
    std::vector<Token> tokens = tokenize(clean);
    matchTags(tokens);

    ParsedMarkup parsed;
    parsed.text.reserve(clean.size());
    std::vector<std::size_t> tagOfToken(tokens.size(), 0);
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const Token& token = tokens[i];
        if (token.kind == Token::Text) {
            parsed.text += token.text;
        } else if (!token.matched) {
            parsed.text.append(token.source);
            ++parsed.literalTags;
        } else if (token.kind == Token::Open) {
            tagOfToken[i] = parsed.tags.size();
            parsed.tags.push_back(Tag{token.text, parsed.text.size(), 0});
        } else {
            Tag& tag = parsed.tags[tagOfToken[token.partner]];
            tag.length = parsed.text.size() - tag.location;
        }
    }
    return parsed;
}

std::string MarkupStyler::DefaultTag() {
    std::lock_guard<std::mutex> guard(defaultTagLock());
    return defaultTagValue();
}

void MarkupStyler::setDefaultTag(std::string tag) {
    std::lock_guard<std::mutex> guard(defaultTagLock());
    defaultTagValue() = std::move(tag);
}

std::string MarkupStyler::prepareString(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else
            out += c;
    }
    return out;
}

MarkupStyler::Style& MarkupStyler::styleForTag(const std::string& tag) {
    if (tag == DefaultTag()) return m_defaultStyle;
    auto [style, inserted] = m_arrStyles.try_emplace(tag);
    if (inserted) style->second.name = tag;
    return style->second;
}

void MarkupStyler::setFont(const FontDescription& font, const std::string& tag) {
    styleForTag(tag).attributes.font = font;
}
void MarkupStyler::setForegroundColor(const Color& color, const std::string& tag) {
    styleForTag(tag).attributes.foregroundColor = color;
}
void MarkupStyler::setBackgroundColor(const Color& color, const std::string& tag) {
    styleForTag(tag).attributes.backgroundColor = color;
}
void MarkupStyler::setDefaultParagraphStyleWithAlignment(TextAlignment alignment,
                                                         const std::string& tag) {
    ParagraphStyle style = ParagraphStyle::defaultParagraphStyle();
    style.alignment = alignment;
    styleForTag(tag).attributes.paragraphStyle = style;
}
void MarkupStyler::setParagraphStyle(const ParagraphStyle& style, const std::string& tag) {
    styleForTag(tag).attributes.paragraphStyle = style;
}
void MarkupStyler::setLink(const std::string& url, const std::string& tag) {
    styleForTag(tag).attributes.link = url;
}
void MarkupStyler::setCursor(Cursor cursor, const std::string& tag) {
    styleForTag(tag).attributes.cursor = cursor;
}

AttributedString MarkupStyler::convertString(std::string_view markup) const {
    const ParsedMarkup parsed = parse(markup);

    // Sweep the text from boundary to boundary. For each attribute, the tags
    // over the current position that set it are kept by opening order; the
    // last opened wins. This stays fast however deep or many the tags are.
    struct Event {
        std::size_t position;
        bool isStart;
        std::size_t tag;
    };
    std::vector<const TextAttributes*> tagAttributes(parsed.tags.size(), nullptr);
    std::vector<Event> events;
    for (std::size_t i = 0; i < parsed.tags.size(); ++i) {
        const Tag& tag = parsed.tags[i];
        const auto style = m_arrStyles.find(tag.name);
        if (style == m_arrStyles.end() || tag.length == 0) continue;
        tagAttributes[i] = &style->second.attributes;
        events.push_back(Event{tag.location, true, i});
        events.push_back(Event{tag.location + tag.length, false, i});
    }
    std::sort(events.begin(), events.end(),
              [](const Event& a, const Event& b) { return a.position < b.position; });

    enum { kFont, kForeground, kBackground, kParagraph, kLink, kCursor, kCount };
    std::set<std::size_t> active[kCount];
    const auto update = [&](const Event& event) {
        const TextAttributes& a = *tagAttributes[event.tag];
        const bool sets[kCount] = {a.font.has_value(),
                                   a.foregroundColor.has_value(),
                                   a.backgroundColor.has_value(),
                                   a.paragraphStyle.has_value(),
                                   a.link.has_value(),
                                   a.cursor.has_value()};
        for (int kind = 0; kind < kCount; ++kind) {
            if (!sets[kind]) continue;
            if (event.isStart)
                active[kind].insert(event.tag);
            else
                active[kind].erase(event.tag);
        }
    };
    const auto winner = [&](int kind) -> const TextAttributes* {
        return active[kind].empty() ? nullptr : tagAttributes[*active[kind].rbegin()];
    };

    AttributedString result;
    std::size_t position = 0;
    std::size_t next = 0;
    while (position < parsed.text.size()) {
        while (next < events.size() && events[next].position == position) update(events[next++]);
        const std::size_t end = next < events.size() ? events[next].position : parsed.text.size();
        TextAttributes attributes = m_defaultStyle.attributes;
        if (const auto* w = winner(kFont)) attributes.font = w->font;
        if (const auto* w = winner(kForeground)) attributes.foregroundColor = w->foregroundColor;
        if (const auto* w = winner(kBackground)) attributes.backgroundColor = w->backgroundColor;
        if (const auto* w = winner(kParagraph)) attributes.paragraphStyle = w->paragraphStyle;
        if (const auto* w = winner(kLink)) attributes.link = w->link;
        if (const auto* w = winner(kCursor)) attributes.cursor = w->cursor;
        result.append(std::string_view(parsed.text).substr(position, end - position), attributes);
        position = end;
    }
    return result;
}
