#include "BrindKit/sdk/SDKClient.hpp"

#include "BrindKit/sdk/SDKAuthorizer.hpp"

#include <algorithm>

namespace brind {

namespace {

constexpr std::size_t tokenHashDigits = 64;

bool isTokenHash(std::string_view text) {
    return text.size() == tokenHashDigits &&
           std::ranges::all_of(text, [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); });
}

} // namespace

JSON SDKClient::toJSON() const {
    JSON scopeNames = JSON::array();
    for (const SDKScope scope : scopes)
        scopeNames.push_back(brind::name(scope));
    return JSON{
        {"appID", appID},
        {"name", name},
        {"scopes", std::move(scopeNames)},
        {"tokenHash", tokenHash},
        {"createdAt", createdAt.secondsSince1970},
        {"lastSeen", lastSeen.secondsSince1970},
    };
}

std::optional<SDKClient> SDKClient::fromJSON(const JSON& object) {
    const auto appID = JSONRead::string(object, "appID");
    const auto tokenHash = JSONRead::string(object, "tokenHash");
    if (!appID || !SDKAuthorizer::isValidAppID(*appID) || !tokenHash || !isTokenHash(*tokenHash))
        return std::nullopt;

    SDKClient client;
    client.appID = *appID;
    client.name = JSONRead::string(object, "name").value_or(*appID);
    client.tokenHash = *tokenHash;
    if (const JSON* names = JSONRead::member(object, "scopes"); names && names->is_array()) {
        for (const JSON& name : *names) {
            if (!name.is_string())
                continue;
            if (const auto scope = sdkScopeNamed(name.get_ref<const std::string&>()))
                client.scopes.push_back(*scope);
        }
    }
    client.scopes = SDKScopes::normalized(std::move(client.scopes));
    client.createdAt = Date{JSONRead::number(object, "createdAt").value_or(0)};
    client.lastSeen = Date{JSONRead::number(object, "lastSeen").value_or(0)};
    return client;
}

JSON SDKClient::listToJSON(const std::vector<SDKClient>& clients) {
    JSON array = JSON::array();
    for (const auto& client : clients)
        array.push_back(client.toJSON());
    return array;
}

std::optional<std::vector<SDKClient>> SDKClient::listFromJSON(const JSON& array) {
    if (!array.is_array())
        return std::nullopt;
    std::vector<SDKClient> clients;
    for (const JSON& entry : array) {
        if (auto client = fromJSON(entry))
            clients.push_back(std::move(*client));
    }
    return clients;
}

} // namespace brind
