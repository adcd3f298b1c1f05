#pragma once

#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/sdk/SDKHTTPResponse.hpp"
#include "BrindKit/sdk/SDKRouteResult.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

/// What the bridge's route families share: their common refusals and the way they read a body.
namespace brind::SDKBridgeRoute {

SDKRouteResult respond(SDKHTTPResponse response);

/// 404 for a path no route serves.
SDKHTTPResponse notFound();
/// 400 for a route whose body must be a JSON object.
SDKHTTPResponse jsonBodyRequired();
/// 503 while the application has no delegate to hand the request to.
SDKHTTPResponse unavailable();

/// The body as a JSON object; nothing for an empty body, bad JSON or any other JSON value.
std::optional<JSON> jsonObject(std::string_view body);

/// Seconds from the configuration as a timer's duration; a negative value waits not at all.
std::chrono::steady_clock::duration seconds(double value);

} // namespace brind::SDKBridgeRoute
