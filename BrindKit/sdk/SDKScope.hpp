#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brind {

/// What a registered client may do. The declaration order is also the sort order.
enum class SDKScope {
    activities,
    hud,
    shelf,
    agents,
};

/// The wire name ("activities", "hud", "shelf", "agents").
std::string_view name(SDKScope scope);
/// The scope with this exact wire name.
std::optional<SDKScope> sdkScopeNamed(std::string_view name);

/// The line shown for the scope in the consent prompt ("show live activities in the island", ...).
std::string_view consentText(SDKScope scope);

namespace SDKScopes {

/// Every scope in sort order.
inline constexpr std::array<SDKScope, 4> all{SDKScope::activities, SDKScope::hud, SDKScope::shelf, SDKScope::agents};

/// Reads requested scope names, matched case-insensitively, as a sorted list without duplicates.
/// Nothing when the list is empty or names a scope that does not exist: a registration asks for
/// known scopes only, and a typo is better refused than silently narrowed.
std::optional<std::vector<SDKScope>> parse(const std::vector<std::string>& names);

/// Sorted, without duplicates.
std::vector<SDKScope> normalized(std::vector<SDKScope> scopes);

} // namespace SDKScopes

} // namespace brind
