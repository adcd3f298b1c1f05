#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace brind {

/// Which coding agent sent a hook call.
enum class AgentKind {
    claudeCode,
    codex,
    gemini,
    cursor,
    generic,
};

/// Every kind, in display order.
inline constexpr std::array<AgentKind, 5> allAgentKinds{AgentKind::claudeCode, AgentKind::codex, AgentKind::gemini,
                                                        AgentKind::cursor, AgentKind::generic};

/// The name used in URLs, rules and stored records ("claude-code", "codex", ...).
std::string_view name(AgentKind kind);

/// The name shown to people ("Claude Code", "Codex CLI", ...).
std::string_view displayName(AgentKind kind);

/// The word a session's key starts with ("claude", "codex", ..., "agent").
std::string_view keyWord(AgentKind kind);

/// The kind with exactly this name; used where a stored identifier must be read strictly.
std::optional<AgentKind> agentKindNamed(std::string_view name);

/// A user- or script-supplied name, read loosely: case is ignored and common aliases ("claude",
/// "cc", "codex-cli", "agent", ...) are understood. Nothing for a name no agent answers to.
std::optional<AgentKind> agentKindLoose(std::string_view name);

} // namespace brind
