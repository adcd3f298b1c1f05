#include "BrindKit/island/ActivityAction.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

#include <utility>

namespace brind {

namespace {

constexpr auto roleRows = std::to_array<EnumTable::NameRow<ActivityAction::Role>>({
    {ActivityAction::Role::normal, "normal"},
    {ActivityAction::Role::primary, "primary"},
    {ActivityAction::Role::destructive, "destructive"},
    {ActivityAction::Role::cancel, "cancel"},
});
static_assert(EnumTable::coversEveryCase(roleRows));

} // namespace

std::string_view name(ActivityAction::Role role) {
    return EnumTable::row(roleRows, role).name;
}

std::optional<ActivityAction::Role> activityActionRoleNamed(std::string_view text) {
    return EnumTable::named(roleRows, text);
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
        const auto role = roleValue->is_string()
                              ? activityActionRoleNamed(roleValue->get_ref<const std::string&>())
                              : std::nullopt;
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
