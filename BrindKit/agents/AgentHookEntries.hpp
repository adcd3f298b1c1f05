#pragma once

#include "BrindKit/agents/AgentJSON.hpp"

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brind {

/// The hook configuration files the installer edits, each in its agent's own shape.
enum class AgentHookFile {
    claudeSettings, ///< ~/.claude/settings.json
    geminiSettings, ///< ~/.gemini/settings.json (time-outs in milliseconds)
    cursorHooks,    ///< ~/.cursor/hooks.json (flat entries, no groups)
    codexHooks,     ///< ~/.codex/hooks.json (Claude Code's shape; permission requests only)
};

/// What the installed entries run.
struct AgentHookTarget {
    std::string executable;   ///< absolute path of the `vantaquill` command
    int holdSeconds = 600;    ///< time-out of the calls the island may hold open for the user
    /// Claude Code only: post straight to the island on this port instead of starting the command.
    std::optional<std::uint16_t> httpPort;
    friend bool operator==(const AgentHookTarget&, const AgentHookTarget&) = default;
};

/// The pure decisions of the hook installer: which entries each agent gets, how they are written
/// into a parsed settings file, and how ours are found again. Entries are recognised as ours by the
/// command they run (`.../vantaquill hook ...`) or the island's hook URL, never by position, so an
/// upgrade replaces them where they stand and other tools' hooks are never touched.
namespace AgentHookEntries {

/// One event we hook.
struct Event {
    std::string name;                   ///< the agent's own event name
    std::optional<std::string> matcher; ///< tool-name pattern, where the event has one
    bool held = false;                  ///< the island may keep the call open for an answer
    friend bool operator==(const Event&, const Event&) = default;
};

/// Environment variable that carries the hook token to Claude Code's HTTP hooks.
inline constexpr std::string_view tokenVariable = "VANTAQUILL_HOOK_TOKEN";

/// Time-out of the calls answered at once: a slow island must never stall the agent for long.
inline constexpr int quickSeconds = 10;

std::vector<Event> events(AgentHookFile file);

/// The `--agent` value the entries pass ("claude-code", "gemini", "cursor", "codex").
std::string_view agentArgument(AgentHookFile file);

/// The shell command line of one entry: the quoted executable, "hook", the agent and the event.
std::string commandLine(AgentHookFile file, std::string_view executable, std::string_view event);

/// A text quoted for a POSIX shell when it needs quoting.
std::string shellQuoted(std::string_view text);

/// True when a hook command runs `vantaquill hook` (whatever the path of the program).
bool isOurCommand(std::string_view command);

/// `root` with our entries for every event of `file` (replacing earlier ones in place, appending
/// the rest) and everything else as it was. Fails, naming the reason, when the file's hooks are
/// not in the agent's shape, so that a file we do not understand is left alone.
std::expected<AgentJSON, std::string> installed(const AgentJSON& root, AgentHookFile file, const AgentHookTarget& target);

/// `root` without our entries; event lists and the hooks object that only held ours go too.
std::expected<AgentJSON, std::string> removed(const AgentJSON& root, AgentHookFile file);

/// What a file holds of ours.
struct Found {
    std::vector<std::string> events;   ///< events with at least one of our entries, in file order
    std::vector<std::string> programs; ///< distinct programs our command entries run
    bool http = false;                 ///< some entries post to the island directly
    friend bool operator==(const Found&, const Found&) = default;
};
Found found(const AgentJSON& root, AgentHookFile file);

} // namespace AgentHookEntries

} // namespace brind
