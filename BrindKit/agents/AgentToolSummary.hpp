#pragma once

#include "BrindKit/foundation/JSON.hpp"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// The one-line description of a tool call shown beside a session: the command for shell tools,
/// the file for editors, the URL, query or pattern for web and search tools.
namespace AgentToolSummary {

/// The tools that run a shell command, whose summary is the command itself.
inline constexpr std::array<std::string_view, 4> shellTools{"Bash", "Shell", "run_shell_command", "shell"};

/// Summary of a call of `tool` with `input` (a JSON object, or null for none). Nothing when there
/// is no input, no usable key, or the summary would be empty.
std::optional<std::string> summary(std::string_view tool, const JSON* input);

/// A long path shortened to its last three parts: "/a/b/c/d" is "…/b/c/d".
std::string shortPath(std::string_view path);

/// Line breaks become " ⏎ ", spaces and tabs are trimmed at both ends, and 201 characters or more
/// are cut to 197 and "…".
std::string flattened(std::string_view text);

} // namespace AgentToolSummary

} // namespace brind
