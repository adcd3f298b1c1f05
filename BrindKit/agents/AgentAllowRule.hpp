#pragma once

#include "BrindKit/agents/AgentHookEvent.hpp"
#include "BrindKit/agents/AgentKind.hpp"
#include "BrindKit/agents/AgentToolSummary.hpp"
#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/JSON.hpp"

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// A standing permission: always allow this tool (and, for shell tools, commands starting with
/// this prefix) for this agent inside this folder.
struct AgentAllowRule {
    /// Absent means any agent.
    std::optional<AgentKind> agent;
    /// The folder the rule covers, sub-folders included.
    std::string project;
    std::string tool;
    std::optional<std::string> commandPrefix;
    Date createdAt;

    /// The tools whose rules carry a command prefix: those whose summary is the command.
    static constexpr auto shellTools = AgentToolSummary::shellTools;
    /// Commands whose first word says little on its own: "git push" is a rule, "git" would be too
    /// broad.
    static constexpr std::array<std::string_view, 19> twoWordCommands{
        "npm", "pnpm", "yarn", "bun",    "git",    "swift", "cargo", "go",  "make", "docker",
        "kubectl", "xcodebuild", "python", "python3", "pip", "brew", "npx", "gh", "uv"};

    /// "claude-code|/path|Bash|git push" ("*" for any agent, empty prefix for none): equal rules
    /// share one id whatever their creation time.
    std::string id() const;

    /// One line for the rules list, e.g. "Claude Code · Bash `git push` in lighthouse".
    std::string display() const;

    /// The rule offered after the user allows `event` once: its agent, folder and tool, and for
    /// shell tools the command's first word (first two for `twoWordCommands`). Nothing without a
    /// tool name, a folder, or (for shell tools) a command. Created at the event's date.
    static std::optional<AgentAllowRule> suggested(const AgentHookEvent& event);

    /// True when the rule covers `event`. A compound or redirected command never matches, so a
    /// rule for "npm test" cannot be stretched to "npm test && curl ... | sh". The command judged
    /// is the tool input's own `command` when the event carries one, else the summary; a summary
    /// that was flattened over a line break or cut short never matches.
    bool matches(const AgentHookEvent& event) const;

    /// True when `path` is `root` or lies below it ("/a/b/c" is inside "/a/b", "/a/bc" is not).
    static bool isInside(std::string_view path, std::string_view root);

    /// The fields under their own names; `createdAt` as seconds since 1970.
    JSON toJSON() const;
    /// Nothing when `project` or `tool` is missing or `agent` names no known agent: a rule that
    /// cannot be read exactly is dropped rather than widened.
    static std::optional<AgentAllowRule> fromJSON(const JSON& json);

    friend bool operator==(const AgentAllowRule&, const AgentAllowRule&) = default;
};

} // namespace brind

template <>
struct std::hash<brind::AgentAllowRule> {
    std::size_t operator()(const brind::AgentAllowRule& rule) const noexcept {
        return std::hash<std::string>{}(rule.id()) ^ std::hash<double>{}(rule.createdAt.secondsSince1970);
    }
};
