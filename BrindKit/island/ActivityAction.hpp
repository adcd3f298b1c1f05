#pragma once

#include "BrindKit/foundation/JSON.hpp"

#include <cstddef>
#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// One button of an expanded activity.
struct ActivityAction {
    enum class Role { normal, primary, destructive, cancel };

    /// Reported back to the poster when the button is pressed.
    std::string id;
    std::string label;
    Role role = Role::normal;
    /// A system symbol drawn before the label.
    std::optional<std::string> symbol;

    /// "id" and "label" are required strings; "role" defaults to normal when absent but an unknown
    /// role is an error; "symbol" is optional.
    static std::expected<ActivityAction, std::string> fromJSON(const JSON& value);
    JSON toJSON() const;

    friend bool operator==(const ActivityAction&, const ActivityAction&) = default;
};

/// "normal", "primary", "destructive" or "cancel".
std::string_view name(ActivityAction::Role role);
std::optional<ActivityAction::Role> activityActionRoleNamed(std::string_view name);

} // namespace brind

template <>
struct std::hash<brind::ActivityAction> {
    std::size_t operator()(const brind::ActivityAction& action) const noexcept {
        const std::hash<std::string> text;
        std::size_t seed = text(action.id);
        seed = seed * 31 + text(action.label);
        seed = seed * 31 + static_cast<std::size_t>(action.role);
        seed = seed * 31 + (action.symbol ? text(*action.symbol) : 0x9e3779b9u);
        return seed;
    }
};
