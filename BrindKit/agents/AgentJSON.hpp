#pragma once

#include <cstddef>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace brind {

/// A JSON value that keeps what a person wrote, for rewriting agents' settings files without
/// disturbing them: objects keep their pairs in source order (not a hash map), numbers keep their
/// literal text ("1.50" stays "1.50"), and the writer's layout is stable, so a file already in our
/// two-space layout comes back byte for byte. The parser tolerates comments and one trailing comma.
class AgentJSON {
public:
    struct Null {
        friend bool operator==(const Null&, const Null&) = default;
    };
    /// A number as the exact text it was written with.
    struct Number {
        std::string text;
        friend bool operator==(const Number&, const Number&) = default;
    };
    struct Member;
    using Array = std::vector<AgentJSON>;
    /// Key/value pairs in stored order; keys are unique.
    using Object = std::vector<Member>;
    using Storage = std::variant<Null, bool, Number, std::string, Array, Object>;

    struct ParseError {
        enum class Kind {
            unexpected, ///< a byte that cannot start or continue a value
            trailing,   ///< non-blank text after the top-level value
            empty,      ///< nothing but blanks and comments
        };
        Kind kind = Kind::empty;
        std::size_t offset = 0; ///< byte offset of the offending byte; 0 for `empty`

        std::string toString() const;
        friend bool operator==(const ParseError&, const ParseError&) = default;
    };

    /// Nesting deeper than this is refused as unexpected at the opening bracket, so that a hostile
    /// file cannot exhaust the stack of the recursive reader and writer.
    static constexpr std::size_t maxDepth = 512;

    AgentJSON() = default;
    explicit AgentJSON(Storage storage);

    static AgentJSON null();
    static AgentJSON boolean(bool value);
    /// A number with the given literal text, written back verbatim.
    static AgentJSON number(std::string text);
    /// A number whose text is the decimal form of `value`.
    static AgentJSON integer(long long value);
    static AgentJSON string(std::string text);
    static AgentJSON array();
    static AgentJSON array(Array elements);
    static AgentJSON object();
    static AgentJSON object(Object members);

    static std::expected<AgentJSON, ParseError> parse(std::string_view text);

    /// The text form with `indent` spaces per level, ending with one line break.
    std::string serialized(int indent = 2) const;

    /// The quoted, escaped form of a text: backslash, quote, \n, \r and \t get their short escapes,
    /// other control characters "\u00XX" (lower-case hex), everything else (including "/") as is.
    static std::string quote(std::string_view text);

    const Storage& storage() const { return storage_; }

    bool isNull() const;
    bool isObject() const;
    std::optional<bool> boolValue() const;
    /// The literal text of a number.
    std::optional<std::string> numberText() const;
    std::optional<std::string> stringValue() const;
    const Array* arrayValue() const;
    const Object* objectValue() const;
    /// Keys in stored order; empty for anything but an object.
    std::vector<std::string> objectKeys() const;

    /// The value under `key` of an object; nothing for a missing key or a non-object.
    const AgentJSON* get(std::string_view key) const;
    AgentJSON* get(std::string_view key);
    /// On an object: replaces the first pair with `key` in place, appends a new pair when the key is
    /// absent, and removes the pair when `value` is nothing. On anything else: does nothing.
    void set(std::string_view key, std::optional<AgentJSON> value);
    void remove(std::string_view key);

    friend bool operator==(const AgentJSON& a, const AgentJSON& b);

private:
    void write(std::string& out, int indent, int level) const;

    Storage storage_;
};

struct AgentJSON::Member {
    std::string key;
    AgentJSON value;
    friend bool operator==(const Member&, const Member&) = default;
};

} // namespace brind
