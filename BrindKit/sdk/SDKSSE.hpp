#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// The text of server-sent events written on an open event stream.
namespace SDKSSE {

/// "id: <id>\n" when an id is given, "event: <name>\n", one "data: <line>\n" per line of `data`,
/// then a blank line that ends the event.
std::string event(std::string_view name, std::string_view data, std::optional<std::string_view> id = std::nullopt);

/// ": <text>\n\n", a comment line that clients ignore; keeps idle streams alive.
std::string comment(std::string_view text);

} // namespace SDKSSE

} // namespace brind
