#include "BrindKit/agents/AgentSettingsText.hpp"

#include <vector>

namespace brind::AgentSettingsText {

namespace {

constexpr int defaultIndent = 2;

// Where one top-level member sits in the text.
struct MemberSpan {
    std::string_view key; ///< as written between the quotes
    std::size_t keyStart = 0;
    std::size_t valueStart = 0;
    std::size_t valueEnd = 0;
};

struct ObjectSpans {
    std::size_t open = 0;
    std::size_t close = 0;
    std::vector<MemberSpan> members;
};

// Walks text that `AgentJSON::parse` has already accepted as an object, so it need not check the
// grammar again: it only has to step over strings, comments and nested values the same way.
class Scanner {
public:
    explicit Scanner(std::string_view text) : text_(text) {}

    ObjectSpans topLevel() {
        ObjectSpans spans;
        skipBlanks();
        spans.open = position_++;
        for (;;) {
            skipBlanks();
            const char c = text_[position_];
            if (c == '}') {
                spans.close = position_;
                return spans;
            }
            if (c == ',') {
                ++position_;
                continue;
            }
            MemberSpan member;
            member.keyStart = position_;
            skipString();
            member.key = text_.substr(member.keyStart + 1, position_ - member.keyStart - 2);
            skipBlanks();
            ++position_; // the colon
            skipBlanks();
            member.valueStart = position_;
            skipValue();
            member.valueEnd = position_;
            spans.members.push_back(member);
        }
    }

private:
    void skipBlanks() {
        while (position_ < text_.size()) {
            const char c = text_[position_];
            if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
                ++position_;
            } else if (text_.substr(position_, 2) == "//") {
                const std::size_t end = text_.find('\n', position_);
                position_ = end == std::string_view::npos ? text_.size() : end + 1;
            } else if (text_.substr(position_, 2) == "/*") {
                const std::size_t end = text_.find("*/", position_ + 2);
                position_ = end == std::string_view::npos ? text_.size() : end + 2;
            } else {
                return;
            }
        }
    }

    void skipString() {
        ++position_;
        while (position_ < text_.size()) {
            const char c = text_[position_++];
            if (c == '\\')
                ++position_;
            else if (c == '"')
                return;
        }
    }

    void skipValue() {
        const char first = text_[position_];
        if (first == '"') {
            skipString();
            return;
        }
        if (first != '{' && first != '[') {
            while (position_ < text_.size() && std::string_view(",}] \t\r\n/").find(text_[position_]) == std::string_view::npos)
                ++position_;
            return;
        }
        std::size_t depth = 0;
        while (position_ < text_.size()) {
            skipBlanks();
            const char c = text_[position_];
            if (c == '"') {
                skipString();
                continue;
            }
            ++position_;
            if (c == '{' || c == '[')
                ++depth;
            else if ((c == '}' || c == ']') && --depth == 0)
                return;
        }
    }

    std::string_view text_;
    std::size_t position_ = 0;
};

// The blanks between the start of the line and `offset`, when nothing else precedes it there.
std::string_view lineIndent(std::string_view text, std::size_t offset) {
    const std::size_t lineStart = text.rfind('\n', offset == 0 ? 0 : offset - 1);
    const std::size_t begin = lineStart == std::string_view::npos || offset == 0 ? 0 : lineStart + 1;
    const std::string_view prefix = text.substr(begin, offset - begin);
    return prefix.find_first_not_of(" \t") == std::string_view::npos ? prefix : std::string_view{};
}

// The value in the writer's layout, its inner lines indented to sit under a member at `indent`.
std::string valueText(const AgentJSON& value, std::string_view indent) {
    const bool tabs = indent.find('\t') != std::string_view::npos;
    const int unit = indent.empty() || tabs ? defaultIndent : static_cast<int>(indent.size());
    std::string written = value.serialized(unit);
    written.pop_back(); // the writer's final line break
    std::string out;
    for (const char c : written) {
        out += c;
        if (c == '\n')
            out += indent;
    }
    return out;
}

std::string memberText(std::string_view key, const AgentJSON& value, std::string_view indent) {
    return AgentJSON::quote(key) + ": " + valueText(value, indent);
}

std::string replaced(std::string_view text, std::size_t begin, std::size_t end, std::string_view with) {
    std::string out(text.substr(0, begin));
    out += with;
    out += text.substr(end);
    return out;
}

// Where a member's lines begin: its line start when only blanks precede the key, else the key.
std::size_t memberLineStart(std::string_view text, const MemberSpan& member) {
    return member.keyStart - lineIndent(text, member.keyStart).size();
}

std::string withoutMember(std::string_view text, const ObjectSpans& spans, std::size_t index) {
    const MemberSpan& member = spans.members[index];
    if (index + 1 < spans.members.size())
        return replaced(text, memberLineStart(text, member), memberLineStart(text, spans.members[index + 1]), "");
    if (index > 0)
        return replaced(text, spans.members[index - 1].valueEnd, member.valueEnd, "");
    // The inverse of adding to an empty object: the line break written after the member goes too.
    const bool lineBreak = member.valueEnd < text.size() && text[member.valueEnd] == '\n';
    return replaced(text, spans.open + 1, member.valueEnd + (lineBreak ? 1 : 0), "");
}

std::string withNewMember(std::string_view text, const ObjectSpans& spans, std::string_view key,
                          const AgentJSON& value) {
    if (spans.members.empty()) {
        const std::string indent(defaultIndent, ' ');
        return replaced(text, spans.open + 1, spans.open + 1, "\n" + indent + memberText(key, value, indent) + "\n");
    }
    const MemberSpan& last = spans.members.back();
    std::string_view indent = lineIndent(text, last.keyStart);
    const std::string separator = indent.empty() ? ", " : ",\n" + std::string(indent);
    return replaced(text, last.valueEnd, last.valueEnd, separator + memberText(key, value, indent));
}

} // namespace

std::expected<std::string, AgentJSON::ParseError> withMember(std::string_view text, std::string_view key,
                                                             const std::optional<AgentJSON>& value) {
    auto parsed = AgentJSON::parse(text);
    if (!parsed && parsed.error().kind == AgentJSON::ParseError::Kind::empty) {
        AgentJSON root = AgentJSON::object();
        root.set(key, value);
        return root.serialized(defaultIndent);
    }
    if (!parsed)
        return std::unexpected(parsed.error());
    if (!parsed->isObject())
        return std::unexpected(AgentJSON::ParseError{AgentJSON::ParseError::Kind::unexpected, 0});

    const ObjectSpans spans = Scanner(text).topLevel();
    for (std::size_t index = 0; index < spans.members.size(); ++index) {
        const MemberSpan& member = spans.members[index];
        if (member.key != key)
            continue;
        if (!value)
            return withoutMember(text, spans, index);
        return replaced(text, member.valueStart, member.valueEnd,
                        valueText(*value, lineIndent(text, member.keyStart)));
    }
    if (!value)
        return std::string(text);
    return withNewMember(text, spans, key, *value);
}

} // namespace brind::AgentSettingsText
