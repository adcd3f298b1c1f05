#pragma once

#include "BrindKit/sdk/SDKHTTPResponse.hpp"

#include <variant>

namespace brind {

/// What the SDK handler tells the server to do with a request's connection.
struct SDKRouteResult {
    /// Send the response, then close.
    struct Response {
        SDKHTTPResponse response;
        friend bool operator==(const Response&, const Response&) = default;
    };
    /// The handler has taken the connection over as an event stream (it has already sent
    /// `SDKHTTPResponse::sseHead()` and keeps the `SDKConnection`).
    struct Stream {
        friend bool operator==(const Stream&, const Stream&) = default;
    };

    std::variant<Response, Stream> kind = Stream{};

    static SDKRouteResult response(SDKHTTPResponse response) { return SDKRouteResult{Response{std::move(response)}}; }
    static SDKRouteResult stream() { return SDKRouteResult{Stream{}}; }

    friend bool operator==(const SDKRouteResult&, const SDKRouteResult&) = default;
};

} // namespace brind
