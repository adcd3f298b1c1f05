#include "BrindKit/foundation/JSON.hpp"

#include "BrindKit/foundation/Hex.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <charconv>
#include <cmath>
#include <limits>

namespace brind {

namespace JSONText {

std::expected<JSON, std::string> parse(std::string_view text) {
    try {
        return JSON::parse(text.begin(), text.end());
    } catch (const JSON::exception& error) {
        return std::unexpected(std::string(error.what()));
    }
}

namespace {

std::string dumped(const JSON& value) {
    return value.dump(-1, ' ', false, JSON::error_handler_t::replace);
}

// Quotes `text`, escaping what JSON requires; the runs between characters that need escaping are
// copied whole. nlohmann-json's form (`nlohmannForm`) also writes \b and \f short, where the plain
// form spells every control character but \n, \r and \t as \u00XX.
void appendQuotedText(std::string& out, std::string_view text, bool nlohmannForm) {
    out.push_back('"');
    std::size_t runStart = 0;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const char c = text[index];
        const auto byte = static_cast<unsigned char>(c);
        if (c != '"' && c != '\\' && byte >= 0x20)
            continue;
        out.append(text, runStart, index - runStart);
        runStart = index + 1;
        switch (c) {
        case '"':
        case '\\':
            out.push_back('\\');
            out.push_back(c);
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (nlohmannForm && c == '\b') {
                out += "\\b";
            } else if (nlohmannForm && c == '\f') {
                out += "\\f";
            } else {
                out += "\\u00";
                Hex::appendByte(out, byte);
            }
        }
    }
    out.append(text, runStart);
    out.push_back('"');
}

void appendString(std::string& out, std::string_view text) {
    if (Text::isValidUTF8(text))
        appendQuotedText(out, text, true);
    else
        out += dumped(JSON(std::string(text))); // ill-formed bytes become U+FFFD exactly as nlohmann replaces them
}

template <typename Integer>
void appendInteger(std::string& out, Integer number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    out.append(digits, end);
}

// The same text as nlohmann-json's compact dump, which checks every byte of every string against
// its UTF-8 automaton as it writes: that was a fifth of the work of answering a status request.
// Strings are checked once here instead; numbers with a fraction and binary values are still
// written by nlohmann.
void appendCompact(std::string& out, const JSON& value) {
    switch (value.type()) {
    case JSON::value_t::object: {
        out.push_back('{');
        bool first = true;
        for (const auto& [key, member] : value.get_ref<const JSON::object_t&>()) {
            if (!first)
                out.push_back(',');
            first = false;
            appendString(out, key);
            out.push_back(':');
            appendCompact(out, member);
        }
        out.push_back('}');
        return;
    }
    case JSON::value_t::array: {
        out.push_back('[');
        bool first = true;
        for (const JSON& element : value.get_ref<const JSON::array_t&>()) {
            if (!first)
                out.push_back(',');
            first = false;
            appendCompact(out, element);
        }
        out.push_back(']');
        return;
    }
    case JSON::value_t::string:
        appendString(out, value.get_ref<const std::string&>());
        return;
    case JSON::value_t::boolean:
        out += value.get<bool>() ? "true" : "false";
        return;
    case JSON::value_t::null:
        out += "null";
        return;
    case JSON::value_t::number_integer:
        appendInteger(out, value.get<JSON::number_integer_t>());
        return;
    case JSON::value_t::number_unsigned:
        appendInteger(out, value.get<JSON::number_unsigned_t>());
        return;
    default:
        out += dumped(value);
    }
}

} // namespace

std::string compact(const JSON& value) {
    std::string out;
    out.reserve(128);
    appendCompact(out, value);
    return out;
}

std::string pretty(const JSON& value) {
    return value.dump(2, ' ', false, JSON::error_handler_t::replace);
}

void appendQuoted(std::string& out, std::string_view text) {
    appendQuotedText(out, text, false);
}

void appendCompactString(std::string& out, std::string_view text) {
    appendString(out, text);
}

} // namespace JSONText

namespace JSONRead {

const JSON* member(const JSON& object, std::string_view key) {
    if (!object.is_object())
        return nullptr;
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

const JSON* present(const JSON& object, std::string_view key) {
    const JSON* value = member(object, key);
    return value && !value->is_null() ? value : nullptr;
}

std::optional<std::string> string(const JSON& object, std::string_view key) {
    const JSON* value = member(object, key);
    if (!value || !value->is_string())
        return std::nullopt;
    return value->get<std::string>();
}

std::optional<double> number(const JSON& object, std::string_view key) {
    const JSON* value = member(object, key);
    if (!value || !value->is_number())
        return std::nullopt;
    return value->get<double>();
}

std::optional<bool> boolean(const JSON& object, std::string_view key) {
    const JSON* value = member(object, key);
    if (!value || !value->is_boolean())
        return std::nullopt;
    return value->get<bool>();
}

std::optional<std::int64_t> integer(const JSON& value) {
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > std::numeric_limits<std::int64_t>::max())
        return std::nullopt;
    if (!value.is_number_integer())
        return std::nullopt;
    return value.get<std::int64_t>();
}

std::optional<std::int64_t> integer(const JSON& object, std::string_view key) {
    const JSON* value = member(object, key);
    return value ? integer(*value) : std::nullopt;
}

std::optional<std::int64_t> wholeNumber(const JSON& value) {
    if (!value.is_number_float())
        return integer(value);
    constexpr double largestExact = 9007199254740992.0; // 2^53
    const double number = value.get<double>();
    if (!std::isfinite(number) || std::trunc(number) != number || std::fabs(number) > largestExact)
        return std::nullopt;
    return static_cast<std::int64_t>(number);
}

std::optional<int> wholeInt(const JSON& value) {
    const auto number = wholeNumber(value);
    if (!number || *number < std::numeric_limits<int>::min() || *number > std::numeric_limits<int>::max())
        return std::nullopt;
    return static_cast<int>(*number);
}

std::optional<int> wholeInt(const JSON& object, std::string_view key) {
    const JSON* value = member(object, key);
    if (!value)
        return std::nullopt;
    return wholeInt(*value);
}

} // namespace JSONRead

} // namespace brind
