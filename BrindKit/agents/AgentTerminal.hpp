#pragma once

#include "BrindKit/agents/AgentKind.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// Maps the terminal program a hook reported to the application that can be brought forward.
namespace AgentTerminal {

/// Cursor's application identifier, used when Cursor's own agent reports no terminal.
inline constexpr std::string_view cursorBundleID = "com.todesktop.230313mzl4w4u92";

/// The application identifier for a reported terminal program ("kitty", "WezTerm", ...); a
/// reported value with a full stop is taken as an identifier itself; with nothing usable,
/// Cursor's identifier for the agent `cursor` and nothing for any other.
std::optional<std::string> bundleID(std::optional<std::string_view> reported, AgentKind agent);

} // namespace AgentTerminal

} // namespace brind
