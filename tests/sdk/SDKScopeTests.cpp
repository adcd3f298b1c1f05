#include "BrindKit/sdk/SDKScope.hpp"

#include <gtest/gtest.h>

using brind::SDKScope;
namespace SDKScopes = brind::SDKScopes;

TEST(SDKScope, ParsesNamesWithoutCaseIntoASortedSet) {
    using Scopes = std::vector<SDKScope>;
    const std::vector<std::pair<std::vector<std::string>, std::optional<Scopes>>> cases = {
        {{"HUD", "hud"}, Scopes{SDKScope::hud}},
        {{"agents", "Activities", "shelf"}, Scopes{SDKScope::activities, SDKScope::shelf, SDKScope::agents}},
        {{"activities", "hud", "shelf", "agents"}, Scopes{SDKScope::activities, SDKScope::hud, SDKScope::shelf, SDKScope::agents}},
        {{}, std::nullopt},
        // One unknown name refuses the whole request rather than granting less than was asked.
        {{"hud", "camera"}, std::nullopt},
        {{""}, std::nullopt},
        {{" hud"}, std::nullopt},
    };
    for (const auto& [names, scopes] : cases) {
        SCOPED_TRACE(::testing::PrintToString(names));
        EXPECT_EQ(SDKScopes::parse(names), scopes);
    }
}

TEST(SDKScope, ReadsBackOnlyExactWireNames) {
    for (const SDKScope scope : SDKScopes::all)
        EXPECT_EQ(SDKScopes::fromRawValue(brind::rawValue(scope)), scope);
    EXPECT_EQ(SDKScopes::fromRawValue("HUD"), std::nullopt);
}
