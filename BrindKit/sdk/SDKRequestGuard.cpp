#include "BrindKit/sdk/SDKRequestGuard.hpp"

#include "BrindKit/foundation/Text.hpp"

#include <string>

namespace brind::SDKRequestGuard {

namespace {

constexpr std::string_view browserMessage = "Browser requests are not accepted.";

} // namespace

std::optional<SDKHTTPResponse> check(const SDKHTTPRequest& request, std::uint16_t port) {
    if (const auto origin = request.header("origin"); origin && !origin->empty())
        return SDKHTTPResponse::error(403, "forbidden", browserMessage);
    if (request.header("sec-fetch-site") || request.header("sec-fetch-mode"))
        return SDKHTTPResponse::error(403, "forbidden", browserMessage);

    const std::string host = Text::lowercased(request.header("host").value_or(""));
    const std::string portText = std::to_string(port);
    if (host != "127.0.0.1:" + portText && host != "localhost:" + portText && host != "127.0.0.1" && host != "localhost")
        return SDKHTTPResponse::error(403, "forbidden", "Bad Host header.");

    if (request.method == "OPTIONS")
        return SDKHTTPResponse::error(405, "method_not_allowed", "No CORS here.");

    const bool sendsBody = request.method == "POST" || request.method == "PUT" || request.method == "PATCH";
    if (sendsBody && !request.body.empty() &&
        !Text::lowercased(request.header("content-type").value_or("")).starts_with("application/json"))
        return SDKHTTPResponse::error(415, "unsupported_media_type", "Send Content-Type: application/json.");
    return std::nullopt;
}

} // namespace brind::SDKRequestGuard
