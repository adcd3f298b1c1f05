#pragma once

#include "BrindKit/sdk/SDKHTTPResponse.hpp"
#include "BrindKit/sdk/SDKScope.hpp"

#include <variant>

namespace brind {

/// Why a request was not authorised; each case has one fixed response.
struct SDKAuthError {
    struct ScopeNotGranted {
        SDKScope scope = SDKScope::activities;
        friend bool operator==(const ScopeNotGranted&, const ScopeNotGranted&) = default;
    };
    struct MissingToken {
        friend bool operator==(const MissingToken&, const MissingToken&) = default;
    };
    struct InvalidToken {
        friend bool operator==(const InvalidToken&, const InvalidToken&) = default;
    };

    std::variant<ScopeNotGranted, MissingToken, InvalidToken> kind;

    static SDKAuthError scopeNotGranted(SDKScope scope) { return SDKAuthError{ScopeNotGranted{scope}}; }
    static SDKAuthError missingToken() { return SDKAuthError{MissingToken{}}; }
    static SDKAuthError invalidToken() { return SDKAuthError{InvalidToken{}}; }

    /// 401 for a missing or unknown token, 403 for a scope the client does not hold.
    int status() const;

    /// The JSON error response to send.
    SDKHTTPResponse response() const;

    friend bool operator==(const SDKAuthError&, const SDKAuthError&) = default;
};

} // namespace brind
