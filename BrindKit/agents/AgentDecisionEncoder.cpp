#include "BrindKit/agents/AgentDecisionEncoder.hpp"

#include "BrindKit/foundation/ASCII.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace brind::AgentDecisionEncoder {

namespace {

constexpr std::string_view allowedReason = "Allowed from the vantaquill island.";
constexpr std::string_view answeredReason = "Answered from the vantaquill island.";

// A reason that is missing or blank gives the agent our default sentence instead.
std::string reasonOf(const AgentDecision::Deny& deny) {
    if (deny.reason && !ASCII::trimmed(*deny.reason).empty())
        return *deny.reason;
    return std::string(denyDefault);
}

// Agents with one plain "allow" take answers to questions as an allow too.
bool allows(const AgentDecision& decision) {
    return std::holds_alternative<AgentDecision::Allow>(decision.value) ||
           std::holds_alternative<AgentDecision::AllowUpdating>(decision.value);
}

std::string written(const JSON& value) { return JSONText::compact(value); }

std::optional<std::string> claudePreToolUse(const AgentDecision& decision) {
    JSON output = {{"hookEventName", "PreToolUse"}};
    if (std::holds_alternative<AgentDecision::Allow>(decision.value)) {
        output["permissionDecision"] = "allow";
        output["permissionDecisionReason"] = allowedReason;
    } else if (const auto* updating = std::get_if<AgentDecision::AllowUpdating>(&decision.value)) {
        output["permissionDecision"] = "allow";
        output["permissionDecisionReason"] = answeredReason;
        output["updatedInput"] = updating->input;
    } else if (const auto* deny = std::get_if<AgentDecision::Deny>(&decision.value)) {
        output["permissionDecision"] = "deny";
        output["permissionDecisionReason"] = reasonOf(*deny);
    } else if (std::holds_alternative<AgentDecision::Ask>(decision.value)) {
        output["permissionDecision"] = "ask";
    } else {
        return std::nullopt;
    }
    return written({{"hookSpecificOutput", output}});
}

// The permission dialog has no "ask" of its own: not answering leaves the agent's prompt up.
std::optional<std::string> claudePermissionRequest(const AgentDecision& decision) {
    JSON verdict;
    if (std::holds_alternative<AgentDecision::Allow>(decision.value)) {
        verdict = {{"behavior", "allow"}};
    } else if (const auto* updating = std::get_if<AgentDecision::AllowUpdating>(&decision.value)) {
        verdict = {{"behavior", "allow"}, {"updatedInput", updating->input}};
    } else if (const auto* deny = std::get_if<AgentDecision::Deny>(&decision.value)) {
        verdict = {{"behavior", "deny"}, {"message", reasonOf(*deny)}};
    } else {
        return std::nullopt;
    }
    return written({{"hookSpecificOutput", {{"hookEventName", "PermissionRequest"}, {"decision", verdict}}}});
}

std::optional<std::string> claude(const AgentDecision& decision, std::string_view rawName) {
    if (rawName == "PreToolUse")
        return claudePreToolUse(decision);
    if (rawName == "PermissionRequest")
        return claudePermissionRequest(decision);
    return std::nullopt;
}

std::optional<std::string> gemini(const AgentDecision& decision, std::string_view rawName) {
    if (rawName != "BeforeTool")
        return std::nullopt;
    if (allows(decision))
        return written({{"decision", "allow"}});
    if (const auto* deny = std::get_if<AgentDecision::Deny>(&decision.value))
        return written({{"decision", "deny"}, {"reason", reasonOf(*deny)}});
    return std::nullopt;
}

std::optional<std::string> cursor(const AgentDecision& decision, std::string_view rawName) {
    // Prompts are never held back from the island.
    if (rawName == "beforeSubmitPrompt")
        return written({{"continue", true}});
    if (rawName != "beforeShellExecution" && rawName != "beforeMCPExecution")
        return std::nullopt;
    if (allows(decision))
        return written({{"permission", "allow"}});
    if (const auto* deny = std::get_if<AgentDecision::Deny>(&decision.value)) {
        const std::string reason = reasonOf(*deny);
        return written({{"permission", "deny"}, {"user_message", reason}, {"agent_message", reason}});
    }
    if (std::holds_alternative<AgentDecision::Ask>(decision.value))
        return written({{"permission", "ask"}});
    return std::nullopt;
}

// Codex's lifecycle hooks answer in Claude Code's shape; its notify program reads no answer at all.
constexpr std::string_view codexHookEvents[] = {"SessionStart", "UserPromptSubmit", "PreToolUse",
                                                "PostToolUse",  "PermissionRequest", "Stop"};

std::optional<std::string> plain(const AgentDecision& decision);

std::optional<std::string> codex(const AgentDecision& decision, std::string_view rawName) {
    if (rawName == "PermissionRequest") {
        // Codex's permission answer has no input rewriting: an answer to a question allows as asked.
        if (std::holds_alternative<AgentDecision::AllowUpdating>(decision.value))
            return claudePermissionRequest(AgentDecision::allow());
        return claudePermissionRequest(decision);
    }
    if (std::ranges::find(codexHookEvents, rawName) != std::end(codexHookEvents))
        return std::nullopt;
    return plain(decision);
}

std::optional<std::string> plain(const AgentDecision& decision) {
    if (allows(decision))
        return written({{"decision", "allow"}});
    if (const auto* deny = std::get_if<AgentDecision::Deny>(&decision.value))
        return written({{"decision", "deny"}, {"reason", reasonOf(*deny)}});
    if (std::holds_alternative<AgentDecision::Ask>(decision.value))
        return written({{"decision", "ask"}});
    return std::nullopt;
}

} // namespace

std::optional<std::string> output(const AgentDecision& decision, const AgentHookEvent& event) {
    switch (event.agent) {
    case AgentKind::claudeCode: return claude(decision, event.rawName);
    case AgentKind::gemini: return gemini(decision, event.rawName);
    case AgentKind::cursor: return cursor(decision, event.rawName);
    case AgentKind::codex: return codex(decision, event.rawName);
    case AgentKind::generic: return plain(decision);
    }
    std::unreachable();
}

Meaningful meaningful(const AgentHookEvent& event) {
    Meaningful result;
    // Gemini CLI reads "allow" but still applies its own approval policy, so an allow from the
    // island approves nothing; only a denial changes what it does.
    result.allow = event.agent != AgentKind::gemini && output(AgentDecision::allow(), event).has_value();
    result.deny = output(AgentDecision::deny(), event).has_value();
    result.ask = output(AgentDecision::ask(), event).has_value();
    return result;
}

std::string unreachableFallback(AgentKind agent, std::string_view eventName) {
    if (!unreachableFallbackVaries(agent))
        return {};
    if (eventName == "beforeShellExecution" || eventName == "beforeMCPExecution")
        return "{\"permission\":\"ask\"}";
    if (eventName == "beforeSubmitPrompt")
        return "{\"continue\":true}";
    return {};
}

bool unreachableFallbackVaries(AgentKind agent) {
    return agent == AgentKind::cursor;
}

} // namespace brind::AgentDecisionEncoder
