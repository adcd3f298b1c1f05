#pragma once

#include "BrindKit/foundation/JSON.hpp"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// A complete HTTP response of the local SDK: every answer, refusals included, is one of these.
struct SDKHTTPResponse {
    int status = 200;
    std::map<std::string, std::string> headers; ///< the response's own fields, written in this (sorted) order
    std::string body;

    /// `object` as compact JSON with "Content-Type: application/json".
    static SDKHTTPResponse json(int status, const JSON& object);

    /// {"error": code, "message": message}: the one shape of every failure the SDK reports.
    static SDKHTTPResponse error(int status, std::string_view code, std::string_view message);

    /// The given bytes; a Content-Type field only when `contentType` is given.
    static SDKHTTPResponse raw(int status, std::string body, std::optional<std::string> contentType);

    /// The reason phrase for a status; statuses without one of their own get "Status".
    static std::string_view reason(int status);

    /// The wire form: status line, own fields, Content-Length (unless given), "Connection: close",
    /// "Cache-Control: no-store", a blank line and the body.
    std::string serialized() const;

    /// The head of an event stream followed by a 2 KiB padding comment that pushes the first event
    /// past clients' buffering thresholds.
    static std::string sseHead();

    friend bool operator==(const SDKHTTPResponse&, const SDKHTTPResponse&) = default;
};

} // namespace brind
