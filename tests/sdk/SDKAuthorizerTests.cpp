#include "BrindKit/sdk/SDKAuthorizer.hpp"
#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/sdk/SDKClient.hpp"

#include <gtest/gtest.h>
#include <set>

using brind::Date;
using brind::JSON;
using brind::SDKAuthError;
using brind::SDKAuthorizer;
using brind::SDKClient;
using brind::SDKScope;

namespace {

const Date now{1763770000};

SDKClient stored(std::string appID, char hashDigit) {
    return SDKClient{std::move(appID), "App", {}, std::string(64, hashDigit), {}, {}};
}

const std::string hashOfToken(64, 'a');
const SDKClient sample{"com.example.lumetta", "Lumetta",          {SDKScope::activities, SDKScope::agents},
                       hashOfToken,           Date{1700000000.5}, Date{1700000100}};

} // namespace

TEST(SDKAuthorizer, ValidatesAppIDs) {
    const std::string longest(64, 'a'), tooLong(65, 'a');
    for (const auto& text : std::vector<std::string>{"lumetta", "com.example.app-2", "9lives", longest})
        EXPECT_TRUE(SDKAuthorizer::isValidAppID(text)) << text;
    for (const auto& text :
         std::vector<std::string>{"", tooLong, ".hidden", "-dash", "Upper", "under_score", "caf\xC3\xA9"})
        EXPECT_FALSE(SDKAuthorizer::isValidAppID(text)) << text;
}

TEST(SDKAuthorizer, ValidatesNamesByUserPerceivedCharacters) {
    // Each flag is two code points and eight bytes, but one character.
    std::string flags;
    for (int i = 0; i < 48; ++i)
        flags += "\xF0\x9F\x87\xAB\xF0\x9F\x87\xB7";
    const std::string longest(48, 'n'), tooLong(49, 'n'), flagTooMany = flags + "x";
    for (const auto& text : std::vector<std::string>{"  Build bot \n", longest, flags})
        EXPECT_TRUE(SDKAuthorizer::isValidName(text)) << text;
    // Every line break counts, the Unicode ones included.
    for (const auto& text : std::vector<std::string>{
             tooLong, flagTooMany, " \t\n ", "bad\xFF", "two\nlines", "carriage\rreturn", "next\xC2\x85line",
             "line\xE2\x80\xA8separator", "paragraph\xE2\x80\xA9separator"})
        EXPECT_FALSE(SDKAuthorizer::isValidName(text)) << text;
}

TEST(SDKAuthorizer, MakesDistinctPrefixedURLSafeTokensAndHashesThem) {
    std::set<std::string> seen;
    for (int i = 0; i < 64; ++i) {
        const std::string token = SDKAuthorizer::newToken();
        ASSERT_EQ(token.size(), 46u);
        EXPECT_TRUE(token.starts_with("vq_"));
        EXPECT_EQ(
            token.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_", 3),
            std::string::npos);
        seen.insert(token);
    }
    EXPECT_EQ(seen.size(), 64u);
    EXPECT_EQ(SDKAuthorizer::hash("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_TRUE(SDKAuthorizer::same("vq_same", "vq_same"));
    EXPECT_FALSE(SDKAuthorizer::same("vq_same", "vq_samE"));
    EXPECT_FALSE(SDKAuthorizer::same("vq_same", "vq_same "));
    const std::string digest = SDKAuthorizer::hash("vq_same");
    for (const std::size_t at : {0u, 7u, 8u, 35u, 63u}) {
        std::string other = digest;
        other[at] ^= 1;
        EXPECT_FALSE(SDKAuthorizer::same(digest, other)) << at;
    }
}

// A missing, unknown or too narrow token: tests/bridge's table of refusals.
TEST(SDKAuthorizer, AuthorisesByTokenAndScopeAndNotesWhenTheClientWasSeen) {
    SDKAuthorizer auth;
    const std::string token = auth.issue("lumetta", "Lumetta", {SDKScope::hud, SDKScope::activities}, now);
    const SDKClient seen{
        "lumetta", "Lumetta", {SDKScope::activities, SDKScope::hud}, SDKAuthorizer::hash(token),
        now,       now + 5};
    EXPECT_EQ(auth.authorize(token, std::nullopt, now + 5), seen);
    EXPECT_EQ(auth.authorize(token, SDKScope::hud, now + 5), seen);
    EXPECT_EQ(auth.client("lumetta"), seen);
    // What is stored must not work as a token.
    EXPECT_EQ(auth.authorize(seen.tokenHash, SDKScope::hud, now + 5),
              std::unexpected(SDKAuthError::invalidToken()));
}

TEST(SDKAuthorizer, FindsEachOfManyClientsByItsOwnTokenOnly) {
    // Enough clients for the digests to be compared many to a pass, and a count that is not even.
    SDKAuthorizer auth({SDKClient{"shouting", "Shouting", {SDKScope::hud}, brind::ASCII::uppercased(SDKAuthorizer::hash("vq_loud")), now, now}});
    std::vector<std::string> tokens;
    for (int n = 0; n < 37; ++n)
        tokens.push_back(auth.issue("app" + std::to_string(n), "App", {SDKScope::hud}, now));
    for (int n = 0; n < 37; ++n) {
        EXPECT_EQ(auth.authorize(tokens[n], SDKScope::hud, now).value_or(SDKClient{}).appID, "app" + std::to_string(n));
        std::string changed = tokens[n];
        changed.back() = changed.back() == 'A' ? 'B' : 'A';
        EXPECT_EQ(auth.authorize(changed, SDKScope::hud, now).error(), SDKAuthError::invalidToken());
    }
    // A digest stored in upper case is not the lower-case text it should have been.
    EXPECT_EQ(auth.authorize("vq_loud", SDKScope::hud, now).error(), SDKAuthError::invalidToken());
    // Two clients edited into the file with one digest: the later appID holds it.
    SDKAuthorizer twins({SDKClient{"b-twin", "B", {}, SDKAuthorizer::hash("vq_twin"), now, now},
                               SDKClient{"a-twin", "A", {}, SDKAuthorizer::hash("vq_twin"), now, now}});
    EXPECT_EQ(twins.authorize("vq_twin", std::nullopt, now)->appID, "b-twin");
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
    EXPECT_EQ(auth.authorize(second, SDKScope::hud, now + 3).error(),
              SDKAuthError::scopeNotGranted(SDKScope::hud));

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
    EXPECT_TRUE(
        auth.authorize(token, SDKScope::hud, now + 10).has_value()); // lastSeen moved little: no report
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

TEST(SDKAuthorizer, FindsTheOwnerOfAnActivityByTheLongestFittingAppID) {
    const SDKAuthorizer auth(
        {stored("com.example", '1'), stored("com.example.app", '2'), stored("solo", '3')});
    const auto ownerOf = [&](std::string_view activity) {
        return auth.owner(activity).value_or(SDKClient{}).appID;
    };
    EXPECT_EQ(ownerOf("sdk.solo.timer"), "solo");
    EXPECT_EQ(ownerOf("sdk.com.example.app.build"), "com.example.app");
    EXPECT_EQ(ownerOf("sdk.com.example.other"), "com.example");
    for (const char* activity : {"sdk.solo.", "sdk.solo", "sdk.unknown.timer", "media.sdk.solo.x"})
        EXPECT_EQ(auth.owner(activity), std::nullopt) << activity;
}

TEST(SDKClient, WritesExactlyItsSixKeysWithDatesAsSeconds) {
    const JSON expected = {{"appID", "com.example.lumetta"},     {"name", "Lumetta"},
                           {"scopes", {"activities", "agents"}}, {"tokenHash", hashOfToken},
                           {"createdAt", 1700000000.5},          {"lastSeen", 1700000100}};
    EXPECT_EQ(sample.toJSON(), expected);
    EXPECT_EQ(SDKClient::fromJSON(sample.toJSON()), sample);
    const auto list = SDKClient::listFromJSON(SDKClient::listToJSON({sample, sample}));
    EXPECT_EQ(list, (std::vector<SDKClient>{sample, sample}));
}

TEST(SDKClient, IsStrictOnIdentityAndLenientElsewhere) {
    JSON lenient = sample.toJSON();
    lenient["name"] = 42;
    // Stored names are read exactly: "HUD" is not the HUD scope.
    lenient["scopes"] = JSON::array({"agents", "camera", 7, "HUD", "hud", "agents"});
    lenient.erase("createdAt");
    lenient["lastSeen"] = "yesterday";
    const SDKClient read{sample.appID, sample.appID, {SDKScope::hud, SDKScope::agents}, hashOfToken, {}, {}};
    EXPECT_EQ(SDKClient::fromJSON(lenient), read);

    const std::vector<std::pair<std::string, JSON>> refused = {
        {"appID", "Not Valid"}, {"appID", 3}, {"tokenHash", "ABC"}, {"tokenHash", std::string(64, 'A')}};
    for (const auto& [key, value] : refused) {
        JSON entry = sample.toJSON();
        entry[key] = value;
        EXPECT_EQ(SDKClient::fromJSON(entry), std::nullopt) << key << " = " << value;
    }
    JSON withoutHash = sample.toJSON();
    withoutHash.erase("tokenHash");
    const auto list = SDKClient::listFromJSON(JSON::array({withoutHash, sample.toJSON(), "junk"}));
    EXPECT_EQ(list, (std::vector<SDKClient>{sample}));
    EXPECT_EQ(SDKClient::listFromJSON(JSON::object()), std::nullopt);
}
