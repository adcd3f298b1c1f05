#include "cli/HookInstaller.hpp"
#include "cli/ProgramSearch.hpp"

#include "BrindKit/agents/AgentCodexNotify.hpp"
#include "BrindKit/agents/AgentJSON.hpp"
#include "BrindKit/agents/AgentSettingsFile.hpp"
#include "BrindKit/agents/AgentSettingsText.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"

#include <cstdlib>
#include <utility>

namespace vq {

namespace {

namespace fs = std::filesystem;
using brind::AgentHookFile;
using brind::AgentJSON;
using brind::AgentKind;
using Change = brind::AgentSettingsFile::Change;
using Contents = std::expected<std::optional<std::string>, std::string>;

bool onPath(std::string_view program) {
    return ProgramSearch::find(program).has_value();
}

std::expected<AgentJSON, std::string> parsedRoot(std::string_view text) {
    auto root = AgentJSON::parse(text);
    if (!root && root.error().kind == AgentJSON::ParseError::Kind::empty)
        return AgentJSON::object();
    if (!root)
        return std::unexpected("it is not valid JSON (" + root.error().toString() +
                               "); it was left alone: fix it, then run install again");
    if (!root->isObject())
        return std::unexpected("it does not hold a JSON object; it was left alone");
    return *root;
}

// Writes the edited root back by replacing only its top-level members that changed.
Contents spliced(const std::optional<std::string>& current, const AgentJSON& before, const AgentJSON& after) {
    if (after == before)
        return current;
    std::string text = current.value_or("");
    for (const std::string_view key : {"version", "hooks"}) {
        const AgentJSON* was = before.get(key);
        const AgentJSON* now = after.get(key);
        if ((was == nullptr) == (now == nullptr) && (!was || *was == *now))
            continue;
        auto edited = brind::AgentSettingsText::withMember(text, key, now ? std::optional(*now) : std::nullopt);
        if (!edited)
            return std::unexpected(edited.error().toString());
        text = std::move(*edited);
    }
    return text;
}

Change jsonInstall(AgentHookFile format, brind::AgentHookTarget target) {
    return [format, target](const std::optional<std::string>& current) -> Contents {
        auto root = parsedRoot(current.value_or(""));
        if (!root)
            return std::unexpected(root.error());
        // Cursor reads only files that say which version of its format they use.
        AgentJSON versioned = *root;
        if (format == AgentHookFile::cursorHooks && !versioned.get("version"))
            versioned.set("version", AgentJSON::integer(1));
        auto next = brind::AgentHookEntries::installed(versioned, format, target);
        if (!next)
            return std::unexpected(next.error() + "; the file was left alone");
        if (!current)
            return next->serialized(2);
        return spliced(current, *root, *next);
    };
}

Change jsonRemove(AgentHookFile format) {
    return [format](const std::optional<std::string>& current) -> Contents {
        if (!current)
            return current;
        auto root = parsedRoot(*current);
        if (!root)
            return std::unexpected(root.error());
        auto next = brind::AgentHookEntries::removed(*root, format);
        if (!next)
            return std::unexpected(next.error() + "; the file was left alone");
        return spliced(current, *root, *next);
    };
}

std::vector<std::string> notifyProgram(const std::string& executable) {
    return {executable, "hook", "--agent", "codex", "--"};
}

Change tomlInstall(std::string executable) {
    return [executable](const std::optional<std::string>& current) -> Contents {
        auto next = brind::AgentCodexNotify::installed(current.value_or(""), notifyProgram(executable));
        if (!next)
            return std::unexpected(next.error() + "; the file was left alone");
        return *next;
    };
}

Change tomlRemove() {
    return [](const std::optional<std::string>& current) -> Contents {
        if (!current)
            return current;
        auto next = brind::AgentCodexNotify::removed(*current);
        if (!next)
            return std::unexpected(next.error() + "; the file was left alone");
        return *next;
    };
}

} // namespace

HookInstaller::HookInstaller(AgentKind agent, fs::path home) : agent_(agent), home_(std::move(home)) {}

std::vector<AgentKind> HookInstaller::agents() {
    return {AgentKind::claudeCode, AgentKind::codex, AgentKind::gemini, AgentKind::cursor};
}

fs::path HookInstaller::folder() const {
    switch (agent_) {
    case AgentKind::claudeCode: return home_ / ".claude";
    case AgentKind::codex: return home_ / ".codex";
    case AgentKind::gemini: return home_ / ".gemini";
    case AgentKind::cursor: return home_ / ".cursor";
    case AgentKind::generic: return {};
    }
    std::unreachable();
}

std::vector<HookInstaller::JSONFile> HookInstaller::jsonFiles() const {
    switch (agent_) {
    case AgentKind::claudeCode: return {{AgentHookFile::claudeSettings, folder() / "settings.json"}};
    case AgentKind::codex: return {{AgentHookFile::codexHooks, folder() / "hooks.json"}};
    case AgentKind::gemini: return {{AgentHookFile::geminiSettings, folder() / "settings.json"}};
    case AgentKind::cursor: return {{AgentHookFile::cursorHooks, folder() / "hooks.json"}};
    case AgentKind::generic: return {};
    }
    std::unreachable();
}

std::optional<fs::path> HookInstaller::tomlFile() const {
    if (agent_ == AgentKind::codex)
        return folder() / "config.toml";
    return std::nullopt;
}

bool HookInstaller::found() const {
    std::error_code error;
    if (fs::is_directory(folder(), error))
        return true;
    switch (agent_) {
    case AgentKind::claudeCode: return onPath("claude");
    case AgentKind::codex: return onPath("codex");
    case AgentKind::gemini: return onPath("gemini");
    case AgentKind::cursor: return onPath("cursor") || onPath("cursor-agent");
    case AgentKind::generic: return false;
    }
    std::unreachable();
}

std::expected<std::string, std::string> HookInstaller::edit(const fs::path& path, Direction direction,
                                                            const brind::AgentHookTarget& target,
                                                            const std::optional<AgentHookFile>& format) const {
    const Change install = format ? jsonInstall(*format, target) : tomlInstall(target.executable);
    const Change remove = format ? jsonRemove(*format) : tomlRemove();
    const auto original = brind::AgentSettingsFile::original(path);
    const bool installing = direction == Direction::install;
    const Change change = installing ? install : [&](const std::optional<std::string>& current) {
        return brind::AgentSettingsFile::uninstalled(current, original, install, remove);
    };
    const auto outcome = brind::AgentSettingsFile::edit(path, change);
    if (!outcome)
        return std::unexpected(path.string() + ": " + outcome.error());
    if (!installing)
        brind::AgentSettingsFile::forgetOriginal(path);
    switch (*outcome) {
    case brind::AgentSettingsFile::Outcome::unchanged: return "unchanged " + path.string();
    case brind::AgentSettingsFile::Outcome::written: return "wrote " + path.string();
    case brind::AgentSettingsFile::Outcome::removed: return "removed " + path.string() + " (we had created it)";
    }
    std::unreachable();
}

std::expected<HookInstaller::Report, std::string> HookInstaller::apply(Direction direction,
                                                                       const brind::AgentHookTarget& target) const {
    Report report;
    brind::AgentHookTarget forAgent = target;
    if (agent_ != AgentKind::claudeCode)
        forAgent.httpPort.reset();
    std::vector<std::pair<fs::path, std::optional<AgentHookFile>>> files;
    for (const JSONFile& file : jsonFiles())
        files.emplace_back(file.path, file.format);
    if (const auto toml = tomlFile())
        files.emplace_back(*toml, std::nullopt);
    for (const auto& [path, format] : files) {
        auto line = edit(path, direction, forAgent, format);
        if (!line)
            return std::unexpected(line.error());
        report.push_back(*line);
    }
    return report;
}

std::expected<HookInstaller::Report, std::string> HookInstaller::install(const brind::AgentHookTarget& target) const {
    return apply(Direction::install, target);
}

std::expected<HookInstaller::Report, std::string> HookInstaller::uninstall(const brind::AgentHookTarget& target) const {
    return apply(Direction::uninstall, target);
}

HookInstaller::Status HookInstaller::status() const {
    Status result;
    result.found = found();
    for (const JSONFile& file : jsonFiles()) {
        FileState state;
        state.path = file.path;
        state.eventCount = brind::AgentHookEntries::events(file.format).size();
        const auto text = brind::AtomicFile::read(file.path);
        state.exists = text.has_value();
        if (text) {
            const auto root = parsedRoot(*text);
            if (!root) {
                state.problem = root.error();
            } else {
                const auto found = brind::AgentHookEntries::found(*root, file.format);
                state.events = found.events;
                state.programs = found.programs;
                state.http = found.http;
                if (file.format == AgentHookFile::geminiSettings) {
                    const AgentJSON* tools = root->get("tools");
                    const AgentJSON* enabled = tools ? tools->get("enableHooks") : nullptr;
                    if (!enabled || enabled->boolValue() != true)
                        result.notes.push_back("Gemini CLI runs no hooks until \"tools.enableHooks\" is true in " +
                                               file.path.string() + " (its settings dialog: Enable Hooks System).");
                }
            }
        }
        if (state.http && !std::getenv(std::string(brind::AgentHookEntries::tokenVariable).c_str()))
            result.notes.push_back("The HTTP hooks send the token from $" +
                                   std::string(brind::AgentHookEntries::tokenVariable) +
                                   ", which is not set here; start Claude Code with it exported.");
        result.files.push_back(std::move(state));
    }
    if (const auto toml = tomlFile()) {
        FileState state;
        state.path = *toml;
        state.eventCount = 1;
        const auto text = brind::AtomicFile::read(*toml);
        state.exists = text.has_value();
        if (text) {
            const auto notify = brind::AgentCodexNotify::find(*text);
            if (!notify) {
                state.problem = notify.error();
            } else if (*notify && brind::AgentCodexNotify::isOurs((*notify)->program)) {
                state.events.push_back("notify");
                state.programs.push_back((*notify)->program.front());
                const auto theirs = brind::AgentCodexNotify::chained((*notify)->program);
                if (!theirs.empty())
                    result.notes.push_back("Codex's notify also runs your own program " + theirs.front() + ".");
            }
            if (text->find("codex_hooks") == std::string::npos)
                result.notes.push_back("Codex versions that gate hooks need \"codex_hooks = true\" under [features] in " +
                                       toml->string() + " to run hooks.json (newer ones do not).");
            if (text->find("[[hooks.") != std::string::npos)
                result.notes.push_back("config.toml has hooks of its own; Codex loads both them and hooks.json.");
        }
        result.files.push_back(std::move(state));
    }
    return result;
}

} // namespace vq
