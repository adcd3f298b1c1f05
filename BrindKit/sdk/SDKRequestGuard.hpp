#pragma once

#include "BrindKit/sdk/SDKHTTPRequest.hpp"
#include "BrindKit/sdk/SDKHTTPResponse.hpp"

#include <cstdint>
#include <optional>

namespace brind {

/// The first gate of every SDK request: refuses what looks like a web browser or a page reached
/// through another host name (DNS rebinding), CORS preflights, and bodies that are not JSON.
namespace SDKRequestGuard {

/// Nothing when the request may go on; otherwise the refusal to send. `port` is the port the
/// server listens on, which a legitimate Host field names.
std::optional<SDKHTTPResponse> check(const SDKHTTPRequest& request, std::uint16_t port);

} // namespace SDKRequestGuard

} // namespace brind
