#include "BrindKit/sdk/SDKBridge.hpp"

#include "BrindKit/agents/AgentDecisionEncoder.hpp"
#include "BrindKit/agents/AgentEventDecoder.hpp"
#include "BrindKit/agents/AgentInteraction.hpp"
#include "BrindKit/agents/AgentTerminalInfo.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/foundation/UUID.hpp"
#include "BrindKit/sdk/SDKBridgeRoute.hpp"

namespace brind {

using namespace SDKBridgeRoute;

namespace {

// A script hears "allow", "deny" or "none"; leaving the choice to the agent's own prompt means
// nothing was decided here.
std::string_view decisionLabel(const AgentDecision& decision) {
    const std::string_view label = decision.label();
    return label == "ask" ? "none" : label;
}

// The five terminal headers of a hook call, each validated; one that fails is dropped.
void readTerminal(const SDKHTTPRequest& request, AgentHookEvent& event) {
    if (const auto terminal = request.header("x-vantaquill-terminal")) {
        const std::string trimmed = Text::trimmed(*terminal);
        if (!trimmed.empty())
            event.terminal = trimmed;
    }
    AgentTerminalInfo info;
    if (const auto tty = request.header("x-vantaquill-tty"))
        info.tty = AgentTerminalInfo::validTTY(*tty);
    if (const auto socket = request.header("x-vantaquill-tmux"))
        info.tmuxSocket = AgentTerminalInfo::validSocket(*socket);
    if (const auto pane = request.header("x-vantaquill-tmux-pane"))
        info.tmuxPane = AgentTerminalInfo::validPane(*pane);
    if (const auto session = request.header("x-vantaquill-term-session"))
        info.sessionID = AgentTerminalInfo::validSessionID(*session);
    if (const auto pid = request.header("x-vantaquill-pid"))
        info.processID = AgentTerminalInfo::validNumber(*pid);
    if (const auto window = request.header("x-vantaquill-kitty-window"))
        info.kittyWindow = AgentTerminalInfo::validNumber(*window);
    if (const auto pane = request.header("x-vantaquill-wezterm-pane"))
        info.weztermPane = AgentTerminalInfo::validNumber(*pane);
    if (info != AgentTerminalInfo{})
        event.terminalInfo = info;
}

} // namespace

const std::set<std::string, std::less<>> SDKBridge::readOnlyTools = {
    // Claude Code
    "Read", "Glob", "Grep", "LS", "NotebookRead", "TodoWrite", "WebSearch", "WebFetch", "BashOutput",
    // Gemini CLI
    "read_file", "read_many_files", "list_directory", "glob", "search_file_content", "google_web_search",
    "web_fetch",
};

bool SDKBridge::needsDecision(const AgentHookEvent& event) const {
    const Config current = config();
    if (current.approvalsEnabled && event.kind == AgentEventKind::permissionRequest) {
        if (current.approveEveryTool)
            return true;
        return !event.toolName || !readOnlyTools.contains(*event.toolName);
    }
    if (current.answerQuestions && event.kind == AgentEventKind::preTool && event.toolName &&
        AgentInteraction::isInteractiveTool(*event.toolName))
        return AgentInteraction::parse(*event.toolName, event.toolInputJSON.value_or("")).has_value();
    return false;
}

asio::awaitable<AgentDecision> SDKBridge::decide(const AgentHookEvent& event) {
    if (!needsDecision(event))
        co_return AgentDecision::none();
    const Config current = config();
    co_return co_await broker.request(event, current.approvalTimeout, UUID::random().string(), now());
}

SDKBridge::Result SDKBridge::agentHook(const SDKHTTPRequest& request) {
    const auto sent = request.header("x-vantaquill-hook");
    if (!sent || hookToken.empty() || !SDKAuthorizer::same(*sent, hookToken)) {
        SDKClient client;
        if (auto refusal = authorize(request, SDKScope::agents, client))
            co_return respond(std::move(*refusal));
    }
    const auto agentName = request.query.find("agent");
    const auto agent =
        agentName == request.query.end() ? std::nullopt : agentKindNamed(agentName->second);
    if (!agent || *agent == AgentKind::generic)
        co_return respond(SDKHTTPResponse::error(400, "bad_agent", "agent: claude-code, codex, gemini, cursor."));

    std::optional<std::string_view> eventName;
    if (const auto found = request.query.find("event"); found != request.query.end() && !found->second.empty())
        eventName = found->second;
    auto event = AgentEventDecoder::decode(*agent, eventName, request.body, now());
    if (!event)
        co_return respond(SDKHTTPResponse::error(400, "bad_event", "Couldn't read the hook payload."));
    readTerminal(request, *event);

    if (const auto target = delegateOrNull())
        target->agentEvent(*event);
    const AgentDecision decision = co_await decide(*event);
    const auto output = AgentDecisionEncoder::output(decision, *event);
    if (!output)
        co_return respond(SDKHTTPResponse::raw(200, "", std::nullopt));
    co_return respond(SDKHTTPResponse::raw(200, *output, "application/json"));
}

SDKBridge::Result SDKBridge::agentEvent(const SDKHTTPRequest& request) {
    // The decoder reads only JSON objects, so a body it accepts needs no second parse here.
    auto event = AgentEventDecoder::decode(AgentKind::generic, std::nullopt, request.body, now());
    if (!event)
        co_return respond(SDKHTTPResponse::error(400, "bad_event",
                                                 R"(Body: {"event":"start","session":"build","name":"Build"})"));
    if (const auto target = delegateOrNull())
        target->agentEvent(*event);
    const AgentDecision decision = co_await decide(*event);
    co_return respond(SDKHTTPResponse::json(200, JSON{{"ok", true}, {"decision", std::string(decisionLabel(decision))}}));
}

} // namespace brind
