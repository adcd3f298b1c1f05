#include "BrindKit/sdk/SDKBridgeRoute.hpp"

#include <algorithm>
#include <utility>

namespace brind::SDKBridgeRoute {

SDKRouteResult respond(SDKHTTPResponse response) {
    return SDKRouteResult::response(std::move(response));
}

SDKHTTPResponse notFound() {
    return SDKHTTPResponse::error(404, "not_found", "Unknown path.");
}

SDKHTTPResponse jsonBodyRequired() {
    return SDKHTTPResponse::error(400, "bad_request", "JSON body required.");
}

SDKHTTPResponse unavailable() {
    return SDKHTTPResponse::error(503, "unavailable", "vantaquill is starting or stopping. Try again.");
}

std::optional<JSON> jsonObject(std::string_view body) {
    if (body.empty())
        return std::nullopt;
    auto parsed = JSONText::parse(body);
    if (!parsed || !parsed->is_object())
        return std::nullopt;
    return std::move(*parsed);
}

std::chrono::steady_clock::duration seconds(double value) {
    return std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        std::chrono::duration<double>(std::max(0.0, value)));
}

} // namespace brind::SDKBridgeRoute
