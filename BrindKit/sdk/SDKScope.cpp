#include "BrindKit/sdk/SDKScope.hpp"

#include "BrindKit/foundation/EnumTable.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <algorithm>
#include <utility>

namespace brind {

namespace {

struct ScopeRow {
    SDKScope value;
    std::string_view name;
    std::string_view consentText;
};

constexpr auto scopeRows = std::to_array<ScopeRow>({
    {SDKScope::activities, "activities", "show live activities in the island"},
    {SDKScope::hud, "hud", "flash short messages in the island"},
    {SDKScope::shelf, "shelf", "add files to your shelf"},
    {SDKScope::agents, "agents", "report coding-agent sessions"},
});
static_assert(EnumTable::coversEveryCase(scopeRows));
static_assert(EnumTable::coversEveryCase(SDKScopes::all));

} // namespace

std::string_view name(SDKScope scope) {
    return EnumTable::row(scopeRows, scope).name;
}

std::optional<SDKScope> sdkScopeNamed(std::string_view text) {
    return EnumTable::named(scopeRows, text);
}

std::string_view consentText(SDKScope scope) {
    return EnumTable::row(scopeRows, scope).consentText;
}

namespace SDKScopes {

std::optional<std::vector<SDKScope>> parse(const std::vector<std::string>& names) {
    std::vector<SDKScope> scopes;
    for (const auto& name : names) {
        const auto scope = sdkScopeNamed(Text::lowercased(name));
        if (!scope)
            return std::nullopt;
        scopes.push_back(*scope);
    }
    scopes = normalized(std::move(scopes));
    if (scopes.empty())
        return std::nullopt;
    return scopes;
}

std::vector<SDKScope> normalized(std::vector<SDKScope> scopes) {
    std::ranges::sort(scopes);
    const auto [first, last] = std::ranges::unique(scopes);
    scopes.erase(first, last);
    return scopes;
}

} // namespace SDKScopes

} // namespace brind
