#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/sdk/SDKScope.hpp"

#include <optional>
#include <string>
#include <vector>

namespace brind {

/// A registered SDK client as kept in "sdk-clients.json". The token itself is never stored.
struct SDKClient {
    std::string appID;
    std::string name;
    std::vector<SDKScope> scopes; ///< sorted, without duplicates
    std::string tokenHash;        ///< lower-case hexadecimal SHA-256 of the token
    Date createdAt;
    Date lastSeen;

    /// An object with exactly the six field names as keys; scopes by wire name, dates as seconds
    /// since 1970.
    JSON toJSON() const;

    /// Reads `toJSON`'s form. Strict on what identifies the client (a valid `appID`, a 64-digit
    /// lower-case hexadecimal `tokenHash`); lenient elsewhere: a missing or mistyped name falls
    /// back to the appID, unknown scope names are skipped, missing dates are 1970.
    static std::optional<SDKClient> fromJSON(const JSON& object);

    /// The stored list: an array of client objects.
    static JSON listToJSON(const std::vector<SDKClient>& clients);

    /// Reads a stored list, skipping entries that do not identify a client; nothing when the value
    /// is not an array.
    static std::optional<std::vector<SDKClient>> listFromJSON(const JSON& array);

    friend bool operator==(const SDKClient&, const SDKClient&) = default;
};

} // namespace brind
