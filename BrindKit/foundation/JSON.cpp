#include "BrindKit/foundation/JSON.hpp"

namespace brind {

namespace JSONText {

std::expected<JSON, std::string> parse(std::string_view text) {
    try {
        return JSON::parse(text.begin(), text.end());
    } catch (const JSON::exception& error) {
        return std::unexpected(std::string(error.what()));
    }
}

std::string compact(const JSON& value) {
    return value.dump(-1, ' ', false, JSON::error_handler_t::replace);
}

std::string pretty(const JSON& value) {
    return value.dump(2, ' ', false, JSON::error_handler_t::replace);
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

} // namespace JSONRead

} // namespace brind
