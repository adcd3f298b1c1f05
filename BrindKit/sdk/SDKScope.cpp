#include "BrindKit/sdk/SDKScope.hpp"

#include "BrindKit/foundation/Text.hpp"

#include <algorithm>
#include <utility>

namespace brind {

std::string_view rawValue(SDKScope scope) {
    switch (scope) {
    case SDKScope::activities:
        return "activities";
    case SDKScope::hud:
        return "hud";
    case SDKScope::shelf:
        return "shelf";
    case SDKScope::agents:
        return "agents";
    }
    std::unreachable();
}

std::string_view consentText(SDKScope scope) {
    switch (scope) {
    case SDKScope::activities:
        return "show live activities in the island";
    case SDKScope::hud:
        return "flash short messages in the island";
    case SDKScope::shelf:
        return "add files to your shelf";
    case SDKScope::agents:
        return "report coding-agent sessions";
    }
    std::unreachable();
}

namespace SDKScopes {

std::optional<SDKScope> fromRawValue(std::string_view name) {
    for (const SDKScope scope : all) {
        if (rawValue(scope) == name)
            return scope;
    }
    return std::nullopt;
}

std::optional<std::vector<SDKScope>> parse(const std::vector<std::string>& names) {
    std::vector<SDKScope> scopes;
    for (const auto& name : names) {
        const auto scope = fromRawValue(Text::lowercased(name));
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
