#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brind {

/// One HTTP request as the local SDK sees it, assembled by `SDKHTTPParser`.
struct SDKHTTPRequest {
    std::string method;                          ///< upper-cased ("GET", "POST", ...)
    std::string path;                            ///< the target up to the first "?", not decoded
    std::map<std::string, std::string> query;    ///< decoded query parameters
    std::map<std::string, std::string> headers;  ///< keyed by lower-cased field name
    std::string body;                            ///< exactly Content-Length bytes

    /// The value of a header field; the name is matched without regard to case.
    std::optional<std::string> header(std::string_view name) const;

    /// The same value, seen where it is stored (valid while the request is unchanged): for the
    /// checks every request goes through, which need no copy.
    std::optional<std::string_view> headerView(std::string_view name) const;

    /// The path split at "/" with empty pieces dropped: "/v1/activities/abc" gives v1, activities, abc
    /// (views into `path`).
    std::vector<std::string_view> segments() const;

    /// The token of an "Authorization: Bearer <token>" field, trimmed; nothing for a missing field,
    /// another scheme or an empty token.
    std::optional<std::string> bearerToken() const;

    friend bool operator==(const SDKHTTPRequest&, const SDKHTTPRequest&) = default;
};

} // namespace brind
