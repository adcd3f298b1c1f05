#include "BrindKit/sdk/SDKAuthError.hpp"

#include "BrindKit/foundation/Overloaded.hpp"

#include <string>

namespace brind {

int SDKAuthError::status() const {
    return std::holds_alternative<ScopeNotGranted>(kind) ? 403 : 401;
}

SDKHTTPResponse SDKAuthError::response() const {
    return std::visit(
        Overloaded{
            [](const ScopeNotGranted& denied) {
                return SDKHTTPResponse::error(
                    403, "forbidden", "This app wasn't granted the '" + std::string(name(denied.scope)) + "' scope.");
            },
            [](const MissingToken&) {
                return SDKHTTPResponse::error(401, "unauthorized",
                                              "Send Authorization: Bearer <token> from POST /v1/register.");
            },
            [](const InvalidToken&) {
                return SDKHTTPResponse::error(401, "unauthorized", "Unknown or revoked token. Register again.");
            },
        },
        kind);
}

} // namespace brind
