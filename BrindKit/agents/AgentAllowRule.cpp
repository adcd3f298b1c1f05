#include "BrindKit/agents/AgentAllowRule.hpp"

#include <algorithm>
#include <vector>

namespace brind {

namespace {

// Anything that chains, substitutes or redirects makes a command more than its prefix.
constexpr std::array<std::string_view, 10> commandOperators{"&&", "||", ";", "|", "`", "$(", ">", "<", "\n", "&"};

constexpr std::string_view flattenedLineBreak = "\xE2\x8F\x8E";
constexpr std::string_view ellipsis = "\xE2\x80\xA6";

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

std::vector<std::string_view> words(std::string_view text) {
    std::vector<std::string_view> result;
    std::size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && isBlank(text[i]))
            ++i;
        const std::size_t start = i;
        while (i < text.size() && !isBlank(text[i]))
            ++i;
        if (i > start)
            result.push_back(text.substr(start, i - start));
    }
    return result;
}

std::string_view trimBlanks(std::string_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view withoutTrailingSlash(std::string_view path) {
    if (path.ends_with('/'))
        path.remove_suffix(1);
    return path;
}

bool isShellTool(std::string_view tool) {
    return std::ranges::find(AgentAllowRule::shellTools, tool) != AgentAllowRule::shellTools.end();
}

std::string folderName(std::string_view path) {
    const std::string_view trimmed = withoutTrailingSlash(path);
    const std::size_t slash = trimmed.rfind('/');
    const std::string_view last = slash == std::string_view::npos ? trimmed : trimmed.substr(slash + 1);
    return std::string(last.empty() ? path : last);
}

// The command to judge. The summary is flattened and may be cut short, which could hide a line
// break or an operator past the cut; the tool input's own `command` is judged whenever there is
// one, and a summary that shows a flattened line break or a cut never matches.
std::optional<std::string> commandOf(const AgentHookEvent& event) {
    if (event.toolInputJSON) {
        const JSON input = JSON::parse(*event.toolInputJSON, nullptr, false);
        if (auto command = JSONRead::string(input, "command"))
            return command;
    }
    if (!event.toolSummary)
        return std::nullopt;
    const std::string& summary = *event.toolSummary;
    if (summary.find(flattenedLineBreak) != std::string::npos || summary.ends_with(ellipsis))
        return std::nullopt;
    return summary;
}

} // namespace

std::string AgentAllowRule::id() const {
    std::string result = agent ? std::string(name(*agent)) : "*";
    result += '|';
    result += project;
    result += '|';
    result += tool;
    result += '|';
    result += commandPrefix.value_or("");
    return result;
}

std::string AgentAllowRule::display() const {
    std::string result = agent ? std::string(displayName(*agent)) : "Any agent";
    result += " \xC2\xB7 "; // middle dot
    result += tool;
    if (commandPrefix) {
        result += " `";
        result += *commandPrefix;
        result += '`';
    }
    result += " in ";
    result += folderName(project);
    return result;
}

std::optional<AgentAllowRule> AgentAllowRule::suggested(const AgentHookEvent& event) {
    if (!event.toolName || !event.cwd)
        return std::nullopt;
    AgentAllowRule rule;
    rule.agent = event.agent;
    rule.project = *event.cwd;
    rule.tool = *event.toolName;
    rule.createdAt = event.date;
    if (!isShellTool(rule.tool))
        return rule;
    const std::string command = event.toolSummary.value_or("");
    const std::vector<std::string_view> parts = words(command);
    if (parts.empty())
        return std::nullopt;
    const bool twoWords = parts.size() > 1 && std::ranges::find(twoWordCommands, parts[0]) != twoWordCommands.end();
    rule.commandPrefix = twoWords ? std::string(parts[0]) + " " + std::string(parts[1]) : std::string(parts[0]);
    return rule;
}

bool AgentAllowRule::isInside(std::string_view path, std::string_view root) {
    path = withoutTrailingSlash(path);
    root = withoutTrailingSlash(root);
    if (path == root)
        return true;
    return path.size() > root.size() && path.starts_with(root) && path[root.size()] == '/';
}

bool AgentAllowRule::matches(const AgentHookEvent& event) const {
    if (agent && *agent != event.agent)
        return false;
    if (!event.toolName || *event.toolName != tool)
        return false;
    if (!event.cwd || !isInside(*event.cwd, project))
        return false;
    if (!commandPrefix)
        return true;
    const std::optional<std::string> fullCommand = commandOf(event);
    if (!fullCommand)
        return false;
    const std::string_view command = trimBlanks(*fullCommand);
    for (const std::string_view op : commandOperators) {
        if (command.find(op) != std::string_view::npos)
            return false;
    }
    if (command == *commandPrefix)
        return true;
    return command.size() > commandPrefix->size() && command.starts_with(*commandPrefix) &&
           command[commandPrefix->size()] == ' ';
}

JSON AgentAllowRule::toJSON() const {
    JSON json = {{"project", project}, {"tool", tool}, {"createdAt", createdAt.secondsSince1970}};
    if (agent)
        json["agent"] = name(*agent);
    if (commandPrefix)
        json["commandPrefix"] = *commandPrefix;
    return json;
}

std::optional<AgentAllowRule> AgentAllowRule::fromJSON(const JSON& json) {
    auto project = JSONRead::string(json, "project");
    auto tool = JSONRead::string(json, "tool");
    if (!project || !tool)
        return std::nullopt;
    AgentAllowRule rule;
    if (const JSON* agent = JSONRead::present(json, "agent")) {
        if (!agent->is_string())
            return std::nullopt;
        rule.agent = agentKindNamed(agent->get_ref<const std::string&>());
        if (!rule.agent)
            return std::nullopt;
    }
    rule.project = std::move(*project);
    rule.tool = std::move(*tool);
    rule.commandPrefix = JSONRead::string(json, "commandPrefix");
    if (const auto seconds = JSONRead::number(json, "createdAt"))
        rule.createdAt = Date{*seconds};
    else if (const auto text = JSONRead::string(json, "createdAt"))
        rule.createdAt = Date::parseISO8601(*text).value_or(Date{});
    return rule;
}

} // namespace brind
