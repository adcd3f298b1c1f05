#include "BrindKit/sdk/SDKClient.hpp"

#include <gtest/gtest.h>

using brind::Date;
using brind::JSON;
using brind::SDKClient;
using brind::SDKScope;

namespace {

const std::string hashOfToken(64, 'a');

SDKClient sample() {
    return SDKClient{
        .appID = "com.example.lumetta",
        .name = "Lumetta",
        .scopes = {SDKScope::activities, SDKScope::agents},
        .tokenHash = hashOfToken,
        .createdAt = Date{1700000000.5},
        .lastSeen = Date{1700000100},
    };
}

} // namespace

TEST(SDKClient, WritesExactlyItsSixKeysWithDatesAsSeconds) {
    EXPECT_EQ(sample().toJSON(), JSON::parse(R"({"appID":"com.example.lumetta","name":"Lumetta",
        "scopes":["activities","agents"],"tokenHash":")" + hashOfToken + R"(",
        "createdAt":1700000000.5,"lastSeen":1700000100})"));
    EXPECT_EQ(SDKClient::fromJSON(sample().toJSON()), sample());
    const auto list = SDKClient::listFromJSON(SDKClient::listToJSON({sample(), sample()}));
    EXPECT_EQ(list, (std::vector<SDKClient>{sample(), sample()}));
}

TEST(SDKClient, IsStrictOnIdentityAndLenientElsewhere) {
    JSON lenient = sample().toJSON();
    lenient["name"] = 42;
    lenient["scopes"] = JSON::array({"agents", "camera", 7, "hud", "agents"});
    lenient.erase("createdAt");
    lenient["lastSeen"] = "yesterday";
    const auto read = SDKClient::fromJSON(lenient);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->name, "com.example.lumetta");
    EXPECT_EQ(read->scopes, (std::vector<SDKScope>{SDKScope::hud, SDKScope::agents}));
    EXPECT_EQ(read->createdAt, Date{0});
    EXPECT_EQ(read->lastSeen, Date{0});

    const std::vector<std::pair<std::string, JSON>> refused = {
        {"appID", "Not Valid"}, {"appID", 3}, {"tokenHash", "ABC"}, {"tokenHash", std::string(64, 'A')},
    };
    for (const auto& [key, value] : refused) {
        JSON entry = sample().toJSON();
        entry[key] = value;
        EXPECT_EQ(SDKClient::fromJSON(entry), std::nullopt) << key << " = " << value;
    }
    JSON withoutHash = sample().toJSON();
    withoutHash.erase("tokenHash");
    const auto list = SDKClient::listFromJSON(JSON::array({withoutHash, sample().toJSON(), "junk"}));
    EXPECT_EQ(list, (std::vector<SDKClient>{sample()}));
    EXPECT_EQ(SDKClient::listFromJSON(JSON::object()), std::nullopt);
}
