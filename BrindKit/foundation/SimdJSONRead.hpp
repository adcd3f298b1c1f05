#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <simdjson.h>
#include <string_view>
#include <utility>

/// What the fast readers of records in their writer's exact shape share: each looks a key up in its
/// own table of fields, reads values of the one type the writer gives them, and hands anything else
/// to the JSON tree. (Header only: the libraries using it link simdjson themselves.)
namespace brind::SimdJSONRead {

/// The field at the position of `key` in `names`, or nothing for a key the reader does not take.
template <typename Field, std::size_t count>
std::optional<Field> fieldNamed(const std::array<std::string_view, count>& names, std::string_view key) {
    for (std::size_t index = 0; index < count; ++index) {
        if (names[index] == key)
            return static_cast<Field>(index);
    }
    return std::nullopt;
}

/// A string's text, pointing into the parsed document.
inline std::optional<std::string_view> text(simdjson::dom::element value) {
    std::string_view text;
    if (value.get_string().get(text))
        return std::nullopt;
    return text;
}

inline std::optional<bool> boolean(simdjson::dom::element value) {
    bool flag = false;
    if (value.get_bool().get(flag))
        return std::nullopt;
    return flag;
}

/// Sets `target` from a value read with the expected type; whether it had that type.
template <typename Value>
bool assign(Value& target, std::optional<Value> value) {
    if (value)
        target = std::move(*value);
    return value.has_value();
}

template <typename Value>
bool assign(std::optional<Value>& target, std::optional<Value> value) {
    target = std::move(value);
    return target.has_value();
}

} // namespace brind::SimdJSONRead
