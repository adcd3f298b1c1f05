#include "BrindKit/sdk/SDKClient.hpp"

#include <gtest/gtest.h>

using brind::Date;
using brind::JSON;
using brind::SDKClient;
using brind::SDKScope;

namespace {

const std::string hashOfToken(64, 'a');
const SDKClient sample{"com.example.lumetta", "Lumetta",          {SDKScope::activities, SDKScope::agents},
                       hashOfToken,           Date{1700000000.5}, Date{1700000100}};

} // namespace

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
    lenient["scopes"] = JSON::array({"agents", "camera", 7, "hud", "agents"});
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
