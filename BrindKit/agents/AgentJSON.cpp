#include "BrindKit/agents/AgentJSON.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/Hex.hpp"
#include "BrindKit/foundation/JSON.hpp"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace brind {

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;

void appendUTF8(std::string& out, char32_t scalar) {
    if (scalar < 0x80) {
        out += static_cast<char>(scalar);
    } else if (scalar < 0x800) {
        out += static_cast<char>(0xC0 | (scalar >> 6));
        out += static_cast<char>(0x80 | (scalar & 0x3F));
    } else if (scalar < 0x10000) {
        out += static_cast<char>(0xE0 | (scalar >> 12));
        out += static_cast<char>(0x80 | ((scalar >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (scalar & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (scalar >> 18));
        out += static_cast<char>(0x80 | ((scalar >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((scalar >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (scalar & 0x3F));
    }
}

// Objects up to this size look for a repeated key by scanning; larger ones build an index.
constexpr std::size_t linearLookupLimit = 16;

// A recursive-descent reader over bytes. Every failure records the offset of the byte that could
// not be read and unwinds by returning false.
class Reader {
public:
    explicit Reader(std::string_view text) : text_(text) {}

    std::expected<AgentJSON, AgentJSON::ParseError> document() {
        skipBlanks();
        if (atEnd())
            return std::unexpected(AgentJSON::ParseError{AgentJSON::ParseError::Kind::empty, 0});
        AgentJSON value;
        if (!readValue(value, 0))
            return std::unexpected(AgentJSON::ParseError{AgentJSON::ParseError::Kind::unexpected, errorOffset_});
        skipBlanks();
        if (!atEnd())
            return std::unexpected(AgentJSON::ParseError{AgentJSON::ParseError::Kind::trailing, position_});
        return value;
    }

private:
    bool atEnd() const { return position_ >= text_.size(); }
    char peek() const { return text_[position_]; }

    bool fail(std::size_t offset) {
        errorOffset_ = offset;
        return false;
    }

    // Blank space and comments between tokens. An unclosed block comment runs to the end.
    void skipBlanks() {
        while (!atEnd()) {
            const char c = peek();
            if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
                ++position_;
                continue;
            }
            if (c != '/' || position_ + 1 >= text_.size())
                return;
            const char next = text_[position_ + 1];
            if (next == '/') {
                const std::size_t end = text_.find('\n', position_ + 2);
                position_ = end == std::string_view::npos ? text_.size() : end + 1;
            } else if (next == '*') {
                const std::size_t end = text_.find("*/", position_ + 2);
                position_ = end == std::string_view::npos ? text_.size() : end + 2;
            } else {
                return;
            }
        }
    }

    bool readValue(AgentJSON& out, std::size_t depth) {
        if (atEnd())
            return fail(position_);
        switch (peek()) {
        case '{':
            return readObject(out, depth);
        case '[':
            return readArray(out, depth);
        case '"': {
            std::string text;
            if (!readString(text))
                return false;
            out = AgentJSON::string(std::move(text));
            return true;
        }
        case 't':
            return readLiteral("true", AgentJSON::boolean(true), out);
        case 'f':
            return readLiteral("false", AgentJSON::boolean(false), out);
        case 'n':
            return readLiteral("null", AgentJSON::null(), out);
        default:
            if (peek() == '-' || ASCII::isDigit(peek()))
                return readNumber(out);
            return fail(position_);
        }
    }

    bool readLiteral(std::string_view word, AgentJSON value, AgentJSON& out) {
        for (const char expected : word) {
            if (atEnd() || peek() != expected)
                return fail(position_);
            ++position_;
        }
        out = std::move(value);
        return true;
    }

    // -?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?, kept as the matched text.
    bool readNumber(AgentJSON& out) {
        const std::size_t start = position_;
        if (peek() == '-')
            ++position_;
        if (atEnd() || !ASCII::isDigit(peek()))
            return fail(position_);
        if (peek() == '0') {
            ++position_;
        } else {
            while (!atEnd() && ASCII::isDigit(peek()))
                ++position_;
        }
        if (!atEnd() && peek() == '.') {
            ++position_;
            if (atEnd() || !ASCII::isDigit(peek()))
                return fail(position_);
            while (!atEnd() && ASCII::isDigit(peek()))
                ++position_;
        }
        if (!atEnd() && (peek() == 'e' || peek() == 'E')) {
            ++position_;
            if (!atEnd() && (peek() == '+' || peek() == '-'))
                ++position_;
            if (atEnd() || !ASCII::isDigit(peek()))
                return fail(position_);
            while (!atEnd() && ASCII::isDigit(peek()))
                ++position_;
        }
        out = AgentJSON::number(std::string(text_.substr(start, position_ - start)));
        return true;
    }

    bool readHex4(char32_t& out) {
        if (text_.size() - position_ < 4) {
            // Point at the first byte that is missing or not hexadecimal.
            while (!atEnd() && Hex::digitValue(peek()) >= 0)
                ++position_;
            return fail(position_);
        }
        char32_t value = 0;
        for (int i = 0; i < 4; ++i) {
            const int digit = Hex::digitValue(peek());
            if (digit < 0)
                return fail(position_);
            value = value * 16 + static_cast<char32_t>(digit);
            ++position_;
        }
        out = value;
        return true;
    }

    bool readString(std::string& out) {
        ++position_; // opening quote
        while (true) {
            if (atEnd())
                return fail(position_);
            const char c = peek();
            if (c == '"') {
                ++position_;
                return true;
            }
            if (static_cast<unsigned char>(c) < 0x20)
                return fail(position_);
            if (c != '\\') {
                // Copy a run of ordinary bytes at once.
                std::size_t end = position_;
                while (end < text_.size() && text_[end] != '"' && text_[end] != '\\' &&
                       static_cast<unsigned char>(text_[end]) >= 0x20)
                    ++end;
                out.append(text_.substr(position_, end - position_));
                position_ = end;
                continue;
            }
            ++position_;
            if (atEnd())
                return fail(position_);
            const char escape = peek();
            ++position_;
            switch (escape) {
            case '"': out += '"'; break;
            case '\\': out += '\\'; break;
            case '/': out += '/'; break;
            case 'b': out += '\b'; break;
            case 'f': out += '\f'; break;
            case 'n': out += '\n'; break;
            case 'r': out += '\r'; break;
            case 't': out += '\t'; break;
            case 'u':
                if (!readUnicodeEscape(out))
                    return false;
                break;
            default:
                return fail(position_ - 1);
            }
        }
    }

    // A lone surrogate cannot be written as UTF-8; it becomes U+FFFD rather than failing the file.
    bool readUnicodeEscape(std::string& out) {
        char32_t unit = 0;
        if (!readHex4(unit))
            return false;
        if (unit >= 0xD800 && unit <= 0xDBFF && text_.substr(position_, 2) == "\\u") {
            const std::size_t save = position_;
            position_ += 2;
            char32_t low = 0;
            if (!readHex4(low))
                return false;
            if (low >= 0xDC00 && low <= 0xDFFF) {
                appendUTF8(out, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
                return true;
            }
            position_ = save; // the next escape stands on its own
            appendUTF8(out, replacementCharacter);
            return true;
        }
        if (unit >= 0xD800 && unit <= 0xDFFF) {
            appendUTF8(out, replacementCharacter);
            return true;
        }
        appendUTF8(out, unit);
        return true;
    }

    bool readArray(AgentJSON& out, std::size_t depth) {
        if (depth >= AgentJSON::maxDepth)
            return fail(position_);
        ++position_;
        AgentJSON::Array elements;
        skipBlanks();
        if (!atEnd() && peek() == ']') {
            ++position_;
            out = AgentJSON::array(std::move(elements));
            return true;
        }
        while (true) {
            AgentJSON element;
            if (!readValue(element, depth + 1))
                return false;
            elements.push_back(std::move(element));
            const AfterItem next = afterItem(']');
            if (next == AfterItem::malformed)
                return fail(position_);
            if (next == AfterItem::closed)
                break;
        }
        out = AgentJSON::array(std::move(elements));
        return true;
    }

    bool readObject(AgentJSON& out, std::size_t depth) {
        if (depth >= AgentJSON::maxDepth)
            return fail(position_);
        ++position_;
        AgentJSON::Object members;
        std::unordered_map<std::string, std::size_t> index;
        skipBlanks();
        if (!atEnd() && peek() == '}') {
            ++position_;
            out = AgentJSON::object(std::move(members));
            return true;
        }
        while (true) {
            if (atEnd() || peek() != '"')
                return fail(position_);
            std::string key;
            if (!readString(key))
                return false;
            skipBlanks();
            if (atEnd() || peek() != ':')
                return fail(position_);
            ++position_;
            skipBlanks();
            AgentJSON value;
            if (!readValue(value, depth + 1))
                return false;
            // A repeated key keeps its first position and takes the later value. Large objects get
            // an index so that a file with thousands of keys is not read in quadratic time.
            std::size_t existing = members.size();
            if (index.empty()) {
                for (std::size_t i = 0; i < members.size(); ++i) {
                    if (members[i].key == key) {
                        existing = i;
                        break;
                    }
                }
            } else if (const auto found = index.find(key); found != index.end()) {
                existing = found->second;
            }
            if (existing < members.size()) {
                members[existing].value = std::move(value);
            } else {
                if (!index.empty())
                    index.emplace(key, members.size());
                members.push_back({std::move(key), std::move(value)});
                if (index.empty() && members.size() > linearLookupLimit) {
                    for (std::size_t i = 0; i < members.size(); ++i)
                        index.emplace(members[i].key, i);
                }
            }
            const AfterItem next = afterItem('}');
            if (next == AfterItem::malformed)
                return fail(position_);
            if (next == AfterItem::closed)
                break;
        }
        out = AgentJSON::object(std::move(members));
        return true;
    }

    enum class AfterItem { more, closed, malformed };

    // After an array element or object member: a comma (and then more, or the closing bracket of a
    // single trailing comma) or the closing bracket itself.
    AfterItem afterItem(char close) {
        skipBlanks();
        if (atEnd())
            return AfterItem::malformed;
        if (peek() == close) {
            ++position_;
            return AfterItem::closed;
        }
        if (peek() != ',')
            return AfterItem::malformed;
        ++position_;
        skipBlanks();
        if (!atEnd() && peek() == close) {
            ++position_;
            return AfterItem::closed;
        }
        return AfterItem::more;
    }

    std::string_view text_;
    std::size_t position_ = 0;
    std::size_t errorOffset_ = 0;
};

} // namespace

std::string AgentJSON::ParseError::toString() const {
    switch (kind) {
    case Kind::unexpected:
        return "unexpected character at byte " + std::to_string(offset);
    case Kind::trailing:
        return "unexpected text after the value at byte " + std::to_string(offset);
    case Kind::empty:
        return "no JSON value";
    }
    std::unreachable();
}

AgentJSON::AgentJSON(Storage storage) : storage_(std::move(storage)) {}

AgentJSON AgentJSON::null() { return AgentJSON(Storage{Null{}}); }
AgentJSON AgentJSON::boolean(bool value) { return AgentJSON(Storage{value}); }
AgentJSON AgentJSON::number(std::string text) { return AgentJSON(Storage{Number{std::move(text)}}); }
AgentJSON AgentJSON::integer(long long value) { return number(std::to_string(value)); }
AgentJSON AgentJSON::string(std::string text) { return AgentJSON(Storage{std::move(text)}); }
AgentJSON AgentJSON::array() { return array(Array{}); }
AgentJSON AgentJSON::object() { return object(Object{}); }
AgentJSON AgentJSON::array(Array elements) { return AgentJSON(Storage{std::move(elements)}); }
AgentJSON AgentJSON::object(Object members) { return AgentJSON(Storage{std::move(members)}); }

std::expected<AgentJSON, AgentJSON::ParseError> AgentJSON::parse(std::string_view text) {
    return Reader(text).document();
}

bool operator==(const AgentJSON& a, const AgentJSON& b) { return a.storage_ == b.storage_; }

bool AgentJSON::isNull() const { return std::holds_alternative<Null>(storage_); }
bool AgentJSON::isObject() const { return std::holds_alternative<Object>(storage_); }

std::optional<bool> AgentJSON::boolValue() const {
    if (const bool* value = std::get_if<bool>(&storage_))
        return *value;
    return std::nullopt;
}

std::optional<std::string> AgentJSON::numberText() const {
    if (const Number* value = std::get_if<Number>(&storage_))
        return value->text;
    return std::nullopt;
}

std::optional<std::string> AgentJSON::stringValue() const {
    if (const std::string* value = std::get_if<std::string>(&storage_))
        return *value;
    return std::nullopt;
}

const AgentJSON::Array* AgentJSON::arrayValue() const { return std::get_if<Array>(&storage_); }
const AgentJSON::Object* AgentJSON::objectValue() const { return std::get_if<Object>(&storage_); }

std::vector<std::string> AgentJSON::objectKeys() const {
    std::vector<std::string> keys;
    if (const Object* members = objectValue()) {
        keys.reserve(members->size());
        for (const Member& member : *members)
            keys.push_back(member.key);
    }
    return keys;
}

const AgentJSON* AgentJSON::get(std::string_view key) const {
    const Object* members = objectValue();
    if (!members)
        return nullptr;
    for (const Member& member : *members) {
        if (member.key == key)
            return &member.value;
    }
    return nullptr;
}

AgentJSON* AgentJSON::get(std::string_view key) {
    return const_cast<AgentJSON*>(std::as_const(*this).get(key));
}

void AgentJSON::set(std::string_view key, std::optional<AgentJSON> value) {
    Object* members = std::get_if<Object>(&storage_);
    if (!members)
        return;
    const auto existing =
        std::find_if(members->begin(), members->end(), [&](const Member& member) { return member.key == key; });
    if (!value) {
        if (existing != members->end())
            members->erase(existing);
        return;
    }
    if (existing != members->end()) {
        existing->value = std::move(*value);
        return;
    }
    members->push_back({std::string(key), std::move(*value)});
}

void AgentJSON::remove(std::string_view key) { set(key, std::nullopt); }

std::string AgentJSON::quote(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 2);
    JSONText::appendQuoted(out, text);
    return out;
}

std::string AgentJSON::serialized(int indent) const {
    std::string out;
    write(out, std::max(indent, 0), 0);
    out += '\n';
    return out;
}

void AgentJSON::write(std::string& out, int indent, int level) const {
    const auto pad = [&](int depth) { out.append(static_cast<std::size_t>(depth) * static_cast<std::size_t>(indent), ' '); };
    if (isNull()) {
        out += "null";
    } else if (const bool* flag = std::get_if<bool>(&storage_)) {
        out += *flag ? "true" : "false";
    } else if (const Number* number = std::get_if<Number>(&storage_)) {
        out += number->text;
    } else if (const std::string* text = std::get_if<std::string>(&storage_)) {
        JSONText::appendQuoted(out, *text);
    } else if (const Array* elements = std::get_if<Array>(&storage_)) {
        if (elements->empty()) {
            out += "[]";
            return;
        }
        out += "[\n";
        for (std::size_t i = 0; i < elements->size(); ++i) {
            pad(level + 1);
            (*elements)[i].write(out, indent, level + 1);
            out += i + 1 < elements->size() ? ",\n" : "\n";
        }
        pad(level);
        out += ']';
    } else if (const Object* members = std::get_if<Object>(&storage_)) {
        if (members->empty()) {
            out += "{}";
            return;
        }
        out += "{\n";
        for (std::size_t i = 0; i < members->size(); ++i) {
            pad(level + 1);
            JSONText::appendQuoted(out, (*members)[i].key);
            out += ": ";
            (*members)[i].value.write(out, indent, level + 1);
            out += i + 1 < members->size() ? ",\n" : "\n";
        }
        pad(level);
        out += '}';
    }
}

} // namespace brind
