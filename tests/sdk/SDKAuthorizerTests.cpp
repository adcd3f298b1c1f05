#include "BrindKit/sdk/SDKAuthorizer.hpp"

#include "BrindKit/foundation/SHA256.hpp"

#include <gtest/gtest.h>

#include <set>

using brind::Date;
using brind::SDKAuthError;
using brind::SDKAuthorizer;
using brind::SDKClient;
using brind::SDKScope;

namespace {

const Date now{1763770000};

} // namespace

TEST(SDKAuthorizer, ValidatesAppIDs) {
    const std::vector<std::pair<std::string, bool>> cases = {
        {"lumetta", true}, {"com.example.app-2", true}, {"9lives", true}, {std::string(64, 'a'), true},
        {"", false}, {std::string(65, 'a'), false}, {".hidden", false}, {"-dash", false},
        {"Upper", false}, {"under_score", false}, {"sp ace", false}, {"caf\xC3\xA9", false},
    };
    for (const auto& [text, valid] : cases)
        EXPECT_EQ(SDKAuthorizer::isValidAppID(text), valid) << text;
}

TEST(SDKAuthorizer, ValidatesNamesByUserPerceivedCharacters) {
    // Each flag is two code points and eight bytes, but one character.
    std::string flags;
    for (int i = 0; i < 48; ++i)
        flags += "\xF0\x9F\x87\xAB\xF0\x9F\x87\xB7";
    const std::vector<std::pair<std::string, bool>> cases = {
        {"Lumetta", true},
        {"  Build bot \n", true},
        {std::string(48, 'n'), true},
        {std::string(49, 'n'), false},
        {flags, true},
        {flags + "x", false},
        {"", false},
        {" \t\n ", false},
        {"two\nlines", false},
        {"carriage\rreturn", false},
        {"next\xC2\x85line", false},
        {"line\xE2\x80\xA8separator", false},
        {"paragraph\xE2\x80\xA9separator", false},
        {"bad\xFF", false},
    };
    for (const auto& [text, valid] : cases)
        EXPECT_EQ(SDKAuthorizer::isValidName(text), valid) << text;
}

TEST(SDKAuthorizer, MakesDistinctPrefixedURLSafeTokens) {
    std::set<std::string> seen;
    for (int i = 0; i < 64; ++i) {
        const std::string token = SDKAuthorizer::newToken();
        ASSERT_EQ(token.size(), 46u);
        EXPECT_TRUE(token.starts_with("vq_"));
        EXPECT_EQ(token.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_", 3),
                  std::string::npos);
        seen.insert(token);
    }
    EXPECT_EQ(seen.size(), 64u);
}

TEST(SDKAuthorizer, HashesAndComparesTokens) {
    EXPECT_EQ(SDKAuthorizer::hash("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_TRUE(SDKAuthorizer::same("vq_same", "vq_same"));
    EXPECT_TRUE(SDKAuthorizer::same("", ""));
    EXPECT_FALSE(SDKAuthorizer::same("vq_same", "vq_samE"));
    EXPECT_FALSE(SDKAuthorizer::same("Xq_same", "vq_same"));
    EXPECT_FALSE(SDKAuthorizer::same("vq_same", "vq_same "));
}

TEST(SDKAuthorizer, AuthorisesByTokenAndScope) {
    SDKAuthorizer auth;
    const std::string token = auth.issue("lumetta", "Lumetta", {SDKScope::hud, SDKScope::activities}, now);
    struct Case {
        std::string name;
        std::optional<std::string> token;
        std::optional<SDKScope> scope;
        std::optional<SDKAuthError> error;
    };
    const std::vector<Case> cases = {
        {"granted scope", token, SDKScope::hud, std::nullopt},
        {"no scope needed", token, std::nullopt, std::nullopt},
        {"scope not granted", token, SDKScope::shelf, SDKAuthError::scopeNotGranted(SDKScope::shelf)},
        {"no token", std::nullopt, SDKScope::hud, SDKAuthError::missingToken()},
        {"unknown token", "vq_unknown", SDKScope::hud, SDKAuthError::invalidToken()},
        {"token's hash", SDKAuthorizer::hash(token), SDKScope::hud, SDKAuthError::invalidToken()},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto result = auth.authorize(c.token, c.scope, now + 5);
        if (c.error) {
            ASSERT_FALSE(result.has_value());
            EXPECT_EQ(result.error(), *c.error);
            continue;
        }
        ASSERT_TRUE(result.has_value());
        EXPECT_EQ(result->appID, "lumetta");
        EXPECT_EQ(result->lastSeen, now + 5);
    }
    EXPECT_EQ(auth.client("lumetta")->lastSeen, now + 5);
    EXPECT_EQ(auth.client("lumetta")->createdAt, now);
    EXPECT_EQ(auth.client("lumetta")->tokenHash, brind::SHA256::hex(token));
}

TEST(SDKAuthorizer, ReissuingRevokingAndRescopingTakeEffectAtOnce) {
    SDKAuthorizer auth;
    const std::string first = auth.issue("lumetta", "Lumetta", {SDKScope::hud}, now);
    const std::string second = auth.issue("lumetta", "Lumetta 2", {SDKScope::hud}, now + 1);
    EXPECT_NE(first, second);
    EXPECT_EQ(auth.authorize(first, SDKScope::hud, now + 2).error(), SDKAuthError::invalidToken());
    EXPECT_TRUE(auth.authorize(second, SDKScope::hud, now + 2).has_value());
    EXPECT_EQ(auth.all().size(), 1u);

    auth.setScopes("lumetta", {SDKScope::shelf, SDKScope::shelf, SDKScope::activities});
    EXPECT_EQ(auth.client("lumetta")->scopes, (std::vector<SDKScope>{SDKScope::activities, SDKScope::shelf}));
    EXPECT_EQ(auth.authorize(second, SDKScope::hud, now + 3).error(), SDKAuthError::scopeNotGranted(SDKScope::hud));

    auth.revoke("lumetta");
    EXPECT_EQ(auth.authorize(second, SDKScope::shelf, now + 4).error(), SDKAuthError::invalidToken());
    EXPECT_EQ(auth.client("lumetta"), std::nullopt);
}

TEST(SDKAuthorizer, ReportsEveryChangeWithTheFullSortedList) {
    SDKAuthorizer auth;
    std::vector<std::vector<std::string>> reports;
    auth.setOnChange([&](const std::vector<SDKClient>& clients) {
        // Called outside the lock: reading the authoriser back must not deadlock.
        EXPECT_EQ(auth.all().size(), clients.size());
        std::vector<std::string> names;
        for (const auto& client : clients)
            names.push_back(client.name);
        reports.push_back(names);
    });
    const std::string token = auth.issue("zeta", "beta", {SDKScope::hud}, now);
    auth.issue("alpha", "Zulu", {SDKScope::hud}, now);
    auth.issue("mid", "Beta", {SDKScope::hud}, now);
    auth.setScopes("mid", {SDKScope::hud});    // unchanged: no report
    auth.setScopes("absent", {SDKScope::hud}); // unknown: no report
    auth.revoke("absent");
    auth.revoke("alpha");
    EXPECT_TRUE(auth.authorize(token, SDKScope::hud, now + 10).has_value()); // lastSeen moved little: no report
    EXPECT_TRUE(auth.authorize(token, SDKScope::hud, now + 70).has_value()); // a minute on: reported
    const std::vector<std::vector<std::string>> expected = {
        {"beta"},
        {"beta", "Zulu"},
        // "beta" and "Beta" tie without case; their exact texts decide.
        {"Beta", "beta", "Zulu"},
        {"Beta", "beta"},
        {"Beta", "beta"},
    };
    EXPECT_EQ(reports, expected);
}

TEST(SDKAuthorizer, FindsTheOwnerOfAnActivity) {
    SDKAuthorizer auth({
        SDKClient{.appID = "com.example", .name = "Short", .scopes = {}, .tokenHash = std::string(64, '1'), .createdAt = {}, .lastSeen = {}},
        SDKClient{.appID = "com.example.app", .name = "Long", .scopes = {}, .tokenHash = std::string(64, '2'), .createdAt = {}, .lastSeen = {}},
        SDKClient{.appID = "solo", .name = "Solo", .scopes = {}, .tokenHash = std::string(64, '3'), .createdAt = {}, .lastSeen = {}},
    });
    const std::vector<std::pair<std::string, std::optional<std::string>>> cases = {
        {"sdk.solo.timer", "solo"},
        {"sdk.com.example.app.build", "com.example.app"},
        {"sdk.com.example.other", "com.example"},
        {"sdk.solo.", std::nullopt},
        {"sdk.solo", std::nullopt},
        {"solo.timer", std::nullopt},
        {"sdk.unknown.timer", std::nullopt},
        {"media.sdk.solo.x", std::nullopt},
    };
    for (const auto& [activity, appID] : cases) {
        SCOPED_TRACE(activity);
        const auto owner = auth.owner(activity);
        EXPECT_EQ(owner ? std::optional(owner->appID) : std::nullopt, appID);
    }
}
