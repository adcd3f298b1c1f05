#include "BrindKit/sdk/SDKScope.hpp"

#include <gtest/gtest.h>

using brind::SDKScope;
namespace SDKScopes = brind::SDKScopes;

TEST(SDKScope, ParsesNamesWithoutCaseIntoASortedSetButReadsStoredNamesExactly) {
    using Scopes = std::vector<SDKScope>;
    const std::vector<std::pair<std::vector<std::string>, std::optional<Scopes>>> cases = {
        {{"HUD", "hud"}, Scopes{SDKScope::hud}},
        {{"agents", "Activities", "shelf"}, Scopes{SDKScope::activities, SDKScope::shelf, SDKScope::agents}},
        {{}, std::nullopt},
        // One unknown name refuses the whole request rather than granting less than was asked.
        {{"hud", "camera"}, std::nullopt},
        {{" hud"}, std::nullopt},
    };
    for (const auto& [names, scopes] : cases)
        EXPECT_EQ(SDKScopes::parse(names), scopes) << ::testing::PrintToString(names);
    EXPECT_EQ(brind::sdkScopeNamed("hud"), SDKScope::hud);
    EXPECT_EQ(brind::sdkScopeNamed("HUD"), std::nullopt);
}
