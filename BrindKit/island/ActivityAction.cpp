#include "BrindKit/island/ActivityAction.hpp"

#include <utility>

namespace brind {

std::string_view ActivityAction::name(Role role) {
    switch (role) {
    case Role::normal:
        return "normal";
    case Role::primary:
        return "primary";
    case Role::destructive:
        return "destructive";
    case Role::cancel:
        return "cancel";
    }
    std::unreachable();
}

std::optional<ActivityAction::Role> ActivityAction::roleNamed(std::string_view text) {
    for (const Role role : allRoles) {
        if (name(role) == text)
            return role;
    }
    return std::nullopt;
}

std::expected<ActivityAction, std::string> ActivityAction::fromJSON(const JSON& value) {
    if (!value.is_object())
        return std::unexpected(std::string("an action must be an object"));
    auto id = JSONRead::string(value, "id");
    if (!id)
        return std::unexpected(std::string("an action needs the string \"id\""));
    auto label = JSONRead::string(value, "label");
    if (!label)
        return std::unexpected(std::string("action ") + *id + ": needs the string \"label\"");

    ActivityAction action{std::move(*id), std::move(*label), Role::normal, JSONRead::string(value, "symbol")};
    if (const JSON* roleValue = JSONRead::present(value, "role")) {
        const auto role =
            roleValue->is_string() ? roleNamed(roleValue->get_ref<const std::string&>()) : std::nullopt;
        if (!role)
            return std::unexpected("action " + action.id +
                                   ": role must be normal, primary, destructive or cancel");
        action.role = *role;
    }
    return action;
}

JSON ActivityAction::toJSON() const {
    JSON object = {{"id", id}, {"label", label}, {"role", std::string(name(role))}};
    if (symbol)
        object["symbol"] = *symbol;
    return object;
}

} // namespace brind
