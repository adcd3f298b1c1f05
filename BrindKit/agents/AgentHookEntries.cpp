#include "BrindKit/agents/AgentHookEntries.hpp"

#include <algorithm>
#include <utility>

namespace brind::AgentHookEntries {

namespace {

constexpr int millisecondsPerSecond = 1000;
constexpr std::string_view hookPath = "/v1/agents/hook";
constexpr std::string_view loopbackURL = "http://127.0.0.1:";

bool isGrouped(AgentHookFile file) {
    switch (file) {
    case AgentHookFile::claudeSettings:
    case AgentHookFile::geminiSettings:
    case AgentHookFile::codexHooks: return true;
    case AgentHookFile::cursorHooks: return false;
    }
    std::unreachable();
}

// The words of a command line, with single and double quotes removed; enough to read back what
// `commandLine` writes and what people usually type.
std::vector<std::string> words(std::string_view command) {
    std::vector<std::string> result;
    std::string current;
    bool inWord = false;
    char quote = 0;
    for (const char c : command) {
        if (quote) {
            if (c == quote)
                quote = 0;
            else
                current += c;
            continue;
        }
        if (c == '\'' || c == '"') {
            quote = c;
            inWord = true;
        } else if (c == ' ' || c == '\t') {
            if (inWord)
                result.push_back(std::exchange(current, {}));
            inWord = false;
        } else {
            current += c;
            inWord = true;
        }
    }
    if (inWord)
        result.push_back(current);
    return result;
}

std::string programOf(std::string_view command) {
    const auto parts = words(command);
    return parts.empty() ? std::string{} : parts.front();
}

bool isOurURL(std::string_view url) {
    return url.starts_with(loopbackURL) && url.find(hookPath) != std::string_view::npos;
}

bool isOurs(const AgentJSON& hook) {
    if (const AgentJSON* command = hook.get("command"); command && command->stringValue())
        return isOurCommand(*command->stringValue());
    if (const AgentJSON* url = hook.get("url"); url && url->stringValue())
        return isOurURL(*url->stringValue());
    return false;
}

AgentJSON hookURL(AgentHookFile file, std::uint16_t port, std::string_view event) {
    return AgentJSON::string(std::string(loopbackURL) + std::to_string(port) + std::string(hookPath) +
                             "?agent=" + std::string(agentArgument(file)) + "&event=" + std::string(event));
}

AgentJSON hookEntry(AgentHookFile file, const AgentHookTarget& target, const Event& event) {
    const int seconds = event.held ? target.holdSeconds : quickSeconds;
    AgentJSON hook = AgentJSON::object();
    switch (file) {
    case AgentHookFile::claudeSettings:
        if (target.httpPort) {
            hook.set("type", AgentJSON::string("http"));
            hook.set("url", hookURL(file, *target.httpPort, event.name));
            AgentJSON headers = AgentJSON::object();
            headers.set("x-vantaquill-hook", AgentJSON::string("$" + std::string(tokenVariable)));
            hook.set("headers", headers);
            hook.set("allowedEnvVars", AgentJSON::array({AgentJSON::string(std::string(tokenVariable))}));
            hook.set("timeout", AgentJSON::integer(seconds));
            return hook;
        }
        [[fallthrough]];
    case AgentHookFile::codexHooks:
        hook.set("type", AgentJSON::string("command"));
        hook.set("command", AgentJSON::string(commandLine(file, target.executable, event.name)));
        hook.set("timeout", AgentJSON::integer(seconds));
        return hook;
    case AgentHookFile::geminiSettings:
        hook.set("name", AgentJSON::string("vantaquill"));
        hook.set("type", AgentJSON::string("command"));
        hook.set("command", AgentJSON::string(commandLine(file, target.executable, event.name)));
        hook.set("timeout", AgentJSON::integer(static_cast<long long>(seconds) * millisecondsPerSecond));
        return hook;
    case AgentHookFile::cursorHooks:
        hook.set("command", AgentJSON::string(commandLine(file, target.executable, event.name)));
        return hook;
    }
    std::unreachable();
}

AgentJSON groupFor(AgentHookFile file, const AgentHookTarget& target, const Event& event) {
    if (!isGrouped(file))
        return hookEntry(file, target, event);
    AgentJSON group = AgentJSON::object();
    if (event.matcher)
        group.set("matcher", AgentJSON::string(*event.matcher));
    group.set("hooks", AgentJSON::array({hookEntry(file, target, event)}));
    return group;
}

// An event's list without our entries, and where the first of them stood.
struct Stripped {
    AgentJSON::Array entries;
    std::optional<std::size_t> firstOurs;
};

Stripped stripped(const AgentJSON::Array& entries, AgentHookFile file) {
    Stripped result;
    for (const AgentJSON& entry : entries) {
        if (!isGrouped(file)) {
            if (isOurs(entry)) {
                result.firstOurs = result.firstOurs.value_or(result.entries.size());
                continue;
            }
            result.entries.push_back(entry);
            continue;
        }
        const AgentJSON* hooks = entry.get("hooks");
        const AgentJSON::Array* list = hooks ? hooks->arrayValue() : nullptr;
        if (!list || std::ranges::none_of(*list, isOurs)) {
            result.entries.push_back(entry);
            continue;
        }
        result.firstOurs = result.firstOurs.value_or(result.entries.size());
        AgentJSON::Array others;
        std::ranges::copy_if(*list, std::back_inserter(others), [](const AgentJSON& hook) { return !isOurs(hook); });
        // A group someone else shares with our entry keeps their hooks.
        if (!others.empty()) {
            AgentJSON kept = entry;
            kept.set("hooks", AgentJSON::array(std::move(others)));
            result.entries.push_back(std::move(kept));
        }
    }
    return result;
}

std::expected<const AgentJSON::Object*, std::string> hooksObject(const AgentJSON& root) {
    if (!root.isObject())
        return std::unexpected("the file does not hold a JSON object");
    const AgentJSON* hooks = root.get("hooks");
    if (!hooks)
        return nullptr;
    if (!hooks->isObject())
        return std::unexpected("its \"hooks\" is not an object");
    return hooks->objectValue();
}

} // namespace

std::vector<Event> events(AgentHookFile file) {
    switch (file) {
    case AgentHookFile::claudeSettings:
        return {
            {"PreToolUse", "AskUserQuestion|ExitPlanMode", true},
            {"PermissionRequest", std::nullopt, true},
            {"PostToolUse", std::nullopt, false},
            {"PostToolUseFailure", std::nullopt, false},
            {"Notification", std::nullopt, false},
            {"UserPromptSubmit", std::nullopt, false},
            {"Stop", std::nullopt, false},
            {"StopFailure", std::nullopt, false},
            {"SubagentStop", std::nullopt, false},
            {"SessionStart", std::nullopt, false},
            {"SessionEnd", std::nullopt, false},
        };
    case AgentHookFile::geminiSettings:
        return {
            {"SessionStart", std::nullopt, false}, {"SessionEnd", std::nullopt, false},
            {"BeforeAgent", std::nullopt, false},  {"AfterAgent", std::nullopt, false},
            {"BeforeTool", "*", false},            {"AfterTool", "*", false},
            {"Notification", std::nullopt, false},
        };
    case AgentHookFile::cursorHooks:
        return {
            {"beforeShellExecution", std::nullopt, true}, {"beforeMCPExecution", std::nullopt, true},
            {"afterShellExecution", std::nullopt, false}, {"afterFileEdit", std::nullopt, false},
            {"beforeSubmitPrompt", std::nullopt, false},  {"stop", std::nullopt, false},
            {"sessionStart", std::nullopt, false},        {"sessionEnd", std::nullopt, false},
        };
    case AgentHookFile::codexHooks:
        // Turn ends come through `notify`; only the permission prompt needs a hook of its own.
        return {{"PermissionRequest", std::nullopt, true}};
    }
    std::unreachable();
}

std::string_view agentArgument(AgentHookFile file) {
    switch (file) {
    case AgentHookFile::claudeSettings: return "claude-code";
    case AgentHookFile::geminiSettings: return "gemini";
    case AgentHookFile::cursorHooks: return "cursor";
    case AgentHookFile::codexHooks: return "codex";
    }
    std::unreachable();
}

std::string shellQuoted(std::string_view text) {
    const bool plain = !text.empty() && std::ranges::all_of(text, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               std::string_view("/._-+=:,@%").find(c) != std::string_view::npos;
    });
    if (plain)
        return std::string(text);
    std::string out = "'";
    for (const char c : text) {
        if (c == '\'')
            out += "'\\''";
        else
            out += c;
    }
    return out + "'";
}

std::string commandLine(AgentHookFile file, std::string_view executable, std::string_view event) {
    return shellQuoted(executable) + " hook --agent " + std::string(agentArgument(file)) + " --event " +
           shellQuoted(event);
}

bool isOurCommand(std::string_view command) {
    const auto parts = words(command);
    if (parts.size() < 2 || parts[1] != "hook")
        return false;
    const std::string& program = parts[0];
    const std::size_t slash = program.rfind('/');
    return (slash == std::string::npos ? program : program.substr(slash + 1)) == "vantaquill";
}

std::expected<AgentJSON, std::string> installed(const AgentJSON& root, AgentHookFile file,
                                                const AgentHookTarget& target) {
    const auto existing = hooksObject(root);
    if (!existing)
        return std::unexpected(existing.error());
    AgentJSON hooks = *existing ? AgentJSON::object(**existing) : AgentJSON::object();
    for (const Event& event : events(file)) {
        AgentJSON::Array entries;
        if (const AgentJSON* list = hooks.get(event.name)) {
            if (!list->arrayValue())
                return std::unexpected("its hooks for " + event.name + " are not a list");
            entries = *list->arrayValue();
        }
        Stripped kept = stripped(entries, file);
        const std::size_t at = kept.firstOurs.value_or(kept.entries.size());
        kept.entries.insert(kept.entries.begin() + static_cast<std::ptrdiff_t>(at), groupFor(file, target, event));
        hooks.set(event.name, AgentJSON::array(std::move(kept.entries)));
    }
    AgentJSON result = root;
    result.set("hooks", std::move(hooks));
    return result;
}

std::expected<AgentJSON, std::string> removed(const AgentJSON& root, AgentHookFile file) {
    const auto existing = hooksObject(root);
    if (!existing)
        return std::unexpected(existing.error());
    if (!*existing)
        return root;
    AgentJSON hooks = AgentJSON::object(**existing);
    bool changed = false;
    for (const auto& member : **existing) {
        const AgentJSON::Array* list = member.value.arrayValue();
        if (!list)
            continue;
        Stripped kept = stripped(*list, file);
        if (!kept.firstOurs)
            continue;
        changed = true;
        hooks.set(member.key, kept.entries.empty() ? std::nullopt
                                                    : std::optional(AgentJSON::array(std::move(kept.entries))));
    }
    if (!changed)
        return root;
    AgentJSON result = root;
    result.set("hooks", hooks.objectValue()->empty() ? std::nullopt : std::optional(std::move(hooks)));
    return result;
}

Found found(const AgentJSON& root, AgentHookFile file) {
    Found result;
    const auto existing = hooksObject(root);
    if (!existing || !*existing)
        return result;
    const auto note = [&result](const AgentJSON& hook) {
        if (const AgentJSON* url = hook.get("url"); url && url->stringValue()) {
            result.http = true;
            return;
        }
        const std::string program = programOf(hook.get("command")->stringValue().value_or(""));
        if (std::ranges::find(result.programs, program) == result.programs.end())
            result.programs.push_back(program);
    };
    for (const auto& member : **existing) {
        const AgentJSON::Array* list = member.value.arrayValue();
        if (!list)
            continue;
        bool any = false;
        for (const AgentJSON& entry : *list) {
            if (!isGrouped(file)) {
                if (isOurs(entry)) {
                    note(entry);
                    any = true;
                }
                continue;
            }
            const AgentJSON* hooks = entry.get("hooks");
            if (!hooks || !hooks->arrayValue())
                continue;
            for (const AgentJSON& hook : *hooks->arrayValue()) {
                if (isOurs(hook)) {
                    note(hook);
                    any = true;
                }
            }
        }
        if (any)
            result.events.push_back(member.key);
    }
    return result;
}

} // namespace brind::AgentHookEntries
