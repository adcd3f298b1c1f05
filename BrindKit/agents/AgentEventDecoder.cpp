#include "BrindKit/agents/AgentEventDecoder.hpp"

#include "BrindKit/agents/AgentText.hpp"
#include "BrindKit/agents/AgentToolSummary.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace brind::AgentEventDecoder {

namespace {

constexpr std::size_t firstLineLimit = 161;
constexpr std::size_t firstLineKeep = 157;
// The JSON writer recurses; deeper tool inputs are not re-serialised rather than risk the stack.
constexpr std::size_t maxCompactDepth = 512;

using Kind = AgentEventKind;

std::optional<std::string> string(const JSON& payload, std::string_view key) {
    return JSONRead::string(payload, key);
}

// Identifiers must never be empty; an empty one counts as missing.
std::optional<std::string> nonEmptyString(const JSON& payload, std::string_view key) {
    auto value = JSONRead::string(payload, key);
    if (value && value->empty())
        return std::nullopt;
    return value;
}

// Tool inputs are objects; some agents send the object as JSON text, which is read the same way.
JSON toolInput(const JSON& payload) {
    const JSON* input = JSONRead::member(payload, "tool_input");
    if (!input)
        return nullptr;
    if (input->is_object())
        return *input;
    if (input->is_string()) {
        JSON parsed = JSON::parse(input->get_ref<const std::string&>(), nullptr, false);
        if (parsed.is_object())
            return parsed;
    }
    return nullptr;
}

void setTool(AgentHookEvent& event, std::string tool, const JSON& input) {
    const JSON* object = input.is_object() ? &input : nullptr;
    event.toolSummary = AgentToolSummary::summary(tool, object);
    if (object)
        event.toolInputJSON = compactJSON(*object);
    event.toolName = std::move(tool);
}

std::optional<std::string> firstLineOf(const JSON& payload, std::string_view key) {
    if (const auto text = string(payload, key))
        return firstLine(*text);
    return std::nullopt;
}

std::optional<std::string> modelOf(const JSON& payload) {
    const JSON* value = JSONRead::member(payload, "model");
    return value ? modelName(*value) : std::nullopt;
}

// The string elements of an array member, in order; other elements are skipped.
std::vector<std::string> stringArray(const JSON& payload, std::string_view key) {
    std::vector<std::string> result;
    const JSON* array = JSONRead::member(payload, key);
    if (!array || !array->is_array())
        return result;
    for (const JSON& element : *array) {
        if (element.is_string())
            result.push_back(element.get<std::string>());
    }
    return result;
}

bool containsIgnoringCase(std::string_view text, std::string_view needle) {
    return Text::lowercased(text).find(needle) != std::string::npos;
}

constexpr std::array<std::string_view, 5> claudeInputNotifications{
    "permission_prompt", "idle_prompt", "elicitation_dialog", "elicitation_url_dialog", "agent_needs_input"};

Kind claudeKind(std::string_view name, const AgentHookEvent& event) {
    if (name == "SessionStart")
        return Kind::sessionStart;
    if (name == "SessionEnd")
        return Kind::sessionEnd;
    if (name == "UserPromptSubmit")
        return Kind::prompt;
    if (name == "PreToolUse")
        return Kind::preTool;
    if (name == "PostToolUse")
        return Kind::postTool;
    if (name == "PermissionRequest")
        return Kind::permissionRequest;
    if (name == "Stop")
        return Kind::stop;
    if (name == "SubagentStop")
        return Kind::subagentStop;
    if (name != "Notification")
        return Kind::unknown;
    if (event.notificationType) {
        return std::ranges::find(claudeInputNotifications, *event.notificationType) != claudeInputNotifications.end()
                   ? Kind::needsInput
                   : Kind::notification;
    }
    // Older versions send no type; the wording of the message is all there is to go on.
    if (event.message && (containsIgnoringCase(*event.message, "waiting for your input") ||
                          containsIgnoringCase(*event.message, "needs your permission")))
        return Kind::needsInput;
    return Kind::notification;
}

AgentHookEvent decodeClaude(const JSON& payload, AgentHookEvent event, std::string_view defaultSession = "default") {
    event.notificationType = string(payload, "notification_type");
    event.message = string(payload, "message");
    if (!event.message)
        event.message = firstLineOf(payload, "last_assistant_message");
    event.kind = claudeKind(event.rawName, event);
    if (auto tool = string(payload, "tool_name"))
        setTool(event, std::move(*tool), toolInput(payload));
    event.sessionID = nonEmptyString(payload, "session_id").value_or(std::string(defaultSession));
    event.cwd = string(payload, "cwd");
    event.transcriptPath = string(payload, "transcript_path");
    event.prompt = string(payload, "prompt");
    event.model = modelOf(payload);
    return event;
}

AgentHookEvent decodeCodex(const JSON& payload, AgentHookEvent event) {
    // Codex's lifecycle hooks (PermissionRequest, PreToolUse, ...) send Claude Code's payload shape.
    if (JSONRead::string(payload, "hook_event_name"))
        return decodeClaude(payload, std::move(event), "codex");
    if (event.rawName == "agent-turn-complete")
        event.kind = Kind::stop;
    else if (event.rawName == "approval-requested" || event.rawName == "exec-approval-request")
        event.kind = Kind::needsInput;
    else
        event.kind = Kind::notification;
    event.sessionID = nonEmptyString(payload, "thread-id")
                          .or_else([&] { return nonEmptyString(payload, "thread_id"); })
                          .or_else([&] { return nonEmptyString(payload, "session-id"); })
                          .value_or("codex");
    if (const JSON* messages = JSONRead::member(payload, "input-messages");
        messages && messages->is_array() && !messages->empty() && messages->back().is_string())
        event.prompt = messages->back().get<std::string>();
    event.cwd = string(payload, "cwd");
    event.message = firstLineOf(payload, "last-assistant-message");
    return event;
}

Kind geminiKind(std::string_view name, const std::optional<std::string>& notificationType) {
    if (name == "SessionStart")
        return Kind::sessionStart;
    if (name == "SessionEnd")
        return Kind::sessionEnd;
    if (name == "BeforeAgent")
        return Kind::prompt;
    if (name == "BeforeTool")
        return Kind::preTool;
    if (name == "AfterTool")
        return Kind::postTool;
    if (name == "AfterAgent")
        return Kind::stop;
    if (name == "Notification")
        return notificationType == "ToolPermission" ? Kind::needsInput : Kind::notification;
    return Kind::unknown;
}

AgentHookEvent decodeGemini(const JSON& payload, AgentHookEvent event) {
    event.notificationType = string(payload, "notification_type");
    event.kind = geminiKind(event.rawName, event.notificationType);
    if (auto tool = string(payload, "tool_name"))
        setTool(event, std::move(*tool), toolInput(payload));
    event.sessionID = nonEmptyString(payload, "session_id").value_or("gemini");
    event.cwd = string(payload, "cwd");
    event.message = string(payload, "message");
    if (!event.message)
        event.message = firstLineOf(payload, "prompt_response");
    event.transcriptPath = string(payload, "transcript_path");
    event.prompt = string(payload, "prompt");
    return event;
}

AgentHookEvent decodeCursor(const JSON& payload, AgentHookEvent event) {
    const std::string& raw = event.rawName;
    if (raw == "sessionStart") {
        event.kind = Kind::sessionStart;
    } else if (raw == "sessionEnd") {
        event.kind = Kind::sessionEnd;
    } else if (raw == "beforeSubmitPrompt") {
        event.kind = Kind::prompt;
    } else if (raw == "beforeShellExecution") {
        event.kind = Kind::permissionRequest;
        setTool(event, "Shell", JSON{{"command", string(payload, "command").value_or("")}});
    } else if (raw == "beforeMCPExecution") {
        // The server name (`mcp_server_name`) is not part of the tool name: rules and summaries key
        // on the tool itself.
        event.kind = Kind::permissionRequest;
        setTool(event, "MCP " + string(payload, "tool_name").value_or("tool"), toolInput(payload));
    } else if (raw == "afterShellExecution") {
        event.kind = Kind::postTool;
        const auto command = string(payload, "command");
        setTool(event, "Shell", command ? JSON{{"command", *command}} : JSON(nullptr));
    } else if (raw == "afterFileEdit") {
        event.kind = Kind::postTool;
        event.toolName = "Edit";
        if (const auto path = string(payload, "file_path"); path && !path->empty())
            event.toolSummary = AgentToolSummary::shortPath(*path);
    } else if (raw == "preToolUse" || raw == "postToolUse") {
        event.kind = raw == "preToolUse" ? Kind::preTool : Kind::postTool;
        if (auto tool = string(payload, "tool_name"))
            setTool(event, std::move(*tool), toolInput(payload));
    } else if (raw == "stop") {
        event.kind = Kind::stop;
    } else if (raw == "subagentStop") {
        event.kind = Kind::subagentStop;
    } else {
        event.kind = Kind::unknown;
    }
    const std::vector<std::string> roots = stringArray(payload, "workspace_roots");
    event.cwd = roots.empty() ? string(payload, "cwd") : roots.front();
    event.sessionID = nonEmptyString(payload, "conversation_id").value_or("cursor");
    if (const auto status = string(payload, "status"))
        event.message = "Finished (" + *status + ")";
    event.transcriptPath = string(payload, "transcript_path");
    event.prompt = string(payload, "prompt");
    event.model = modelOf(payload);
    return event;
}

Kind genericKind(std::string_view name) {
    struct Entry {
        std::string_view name;
        Kind kind;
    };
    static constexpr Entry table[] = {
        {"start", Kind::sessionStart},       {"update", Kind::status},  {"status", Kind::status},
        {"progress", Kind::status},          {"tool", Kind::preTool},   {"ask", Kind::needsInput},
        {"input", Kind::needsInput},         {"approve", Kind::permissionRequest},
        {"permission", Kind::permissionRequest},
        {"done", Kind::stop},                {"finish", Kind::stop},    {"stop", Kind::stop},
        {"end", Kind::sessionEnd},           {"quit", Kind::sessionEnd},
    };
    for (const Entry& entry : table) {
        if (entry.name == name)
            return entry.kind;
    }
    return Kind::status;
}

AgentHookEvent decodeGeneric(const JSON& payload, AgentHookEvent event) {
    event.kind = genericKind(event.rawName);
    const auto agentName = string(payload, "agent");
    event.agent = agentName ? agentKindLoose(*agentName).value_or(AgentKind::generic) : AgentKind::generic;
    if (const auto progress = JSONRead::number(payload, "progress"))
        event.progress = std::clamp(*progress, 0.0, 1.0);
    event.sessionID = nonEmptyString(payload, "session")
                          .or_else([&] { return nonEmptyString(payload, "name"); })
                          .value_or("agent");
    event.cwd = string(payload, "cwd");
    event.toolName = string(payload, "tool");
    event.toolSummary = string(payload, "command").or_else([&] { return string(payload, "detail"); });
    event.message = string(payload, "message");
    event.title = string(payload, "name");
    return event;
}

// Depth of nesting, measured without recursion.
bool nestsDeeperThan(const JSON& value, std::size_t limit) {
    std::vector<std::pair<const JSON*, std::size_t>> pending{{&value, 1}};
    while (!pending.empty()) {
        const auto [current, depth] = pending.back();
        pending.pop_back();
        if (!current->is_structured())
            continue;
        if (depth > limit)
            return true;
        for (const JSON& child : *current)
            pending.emplace_back(&child, depth + 1);
    }
    return false;
}

} // namespace

std::string firstLine(std::string_view text) {
    for (const std::string_view line : AgentText::lines(text)) {
        if (!line.empty())
            return AgentText::truncated(line, firstLineLimit, firstLineKeep);
    }
    return AgentText::truncated(text, firstLineLimit, firstLineKeep);
}

std::optional<std::string> modelName(const JSON& value) {
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_object())
        return JSONRead::string(value, "display_name").or_else([&] { return JSONRead::string(value, "id"); });
    return std::nullopt;
}

std::optional<std::string> compactJSON(const JSON& value) {
    if (!value.is_object() || nestsDeeperThan(value, maxCompactDepth))
        return std::nullopt;
    return JSONText::compact(value);
}

std::expected<AgentHookEvent, AgentDecodeError> decode(AgentKind agent, std::optional<std::string_view> eventName,
                                                       std::string_view body, Date now) {
    const JSON payload = JSON::parse(body, nullptr, false);
    if (!payload.is_object())
        return std::unexpected(AgentDecodeError::notJSON);
    auto name = eventNameIn(agent, eventName, payload);
    if (!name)
        return std::unexpected(AgentDecodeError::missingEvent);
    AgentHookEvent event;
    event.agent = agent;
    event.rawName = std::move(*name);
    event.date = now;
    switch (agent) {
    case AgentKind::claudeCode: return decodeClaude(payload, std::move(event));
    case AgentKind::codex: return decodeCodex(payload, std::move(event));
    case AgentKind::gemini: return decodeGemini(payload, std::move(event));
    case AgentKind::cursor: return decodeCursor(payload, std::move(event));
    case AgentKind::generic: return decodeGeneric(payload, std::move(event));
    }
    std::unreachable();
}

} // namespace brind::AgentEventDecoder
