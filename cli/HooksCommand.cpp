#include "cli/CommandContext.hpp"
#include "cli/HookInstaller.hpp"

#include "BrindKit/agents/AgentKind.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/Paths.hpp"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <utility>

namespace vq {

namespace {

namespace fs = std::filesystem;
using brind::AgentKind;

constexpr int defaultHoldSeconds = 600;
constexpr fs::perms programMode = fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                  fs::perms::others_read | fs::perms::others_exec;

struct HooksOptions {
    std::string agent = "all";
    bool http = false;
    int holdSeconds = defaultHoldSeconds;
    bool json = false;
};

std::string unknownAgent(const std::string& name) {
    return "unknown agent " + name + " (claude-code, codex, gemini, cursor or all)";
}

fs::path installedProgram() { return brind::Paths::home() / ".local/bin/vantaquill"; }

std::string agentTitle(AgentKind kind) { return std::string(brind::displayName(kind)); }

std::string agentArgument(AgentKind kind) { return std::string(brind::name(kind)); }

// The agents a command applies to: one named, or with "all" every agent that is used here.
std::optional<std::vector<HookInstaller>> chosen(const std::string& name, bool onlyFound) {
    std::vector<HookInstaller> result;
    if (name == "all") {
        for (const AgentKind kind : HookInstaller::agents()) {
            HookInstaller installer(kind, brind::Paths::home());
            if (!onlyFound || installer.found())
                result.push_back(installer);
        }
        return result;
    }
    const auto kind = brind::agentKindLoose(name);
    if (!kind || *kind == AgentKind::generic)
        return std::nullopt;
    result.emplace_back(*kind, brind::Paths::home());
    return result;
}

// Puts this command where agents find it, so that the entries name a path that stays put.
std::expected<std::string, std::string> installProgram() {
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    if (error)
        return std::unexpected("couldn't find this program: " + error.message());
    const fs::path target = installedProgram();
    if (fs::equivalent(self, target, error))
        return std::string{};
    const auto bytes = brind::AtomicFile::read(self);
    if (!bytes)
        return std::unexpected(bytes.error());
    if (const auto existing = brind::AtomicFile::read(target); existing && *existing == *bytes)
        return std::string{};
    if (auto folder = brind::AtomicFile::ensureFolder(target.parent_path(), programMode); !folder)
        return std::unexpected(folder.error());
    if (auto written = brind::AtomicFile::write(target, *bytes, programMode); !written)
        return std::unexpected(written.error());
    std::string line = "installed the command at " + target.string();
    const char* path = std::getenv("PATH");
    if (!path || std::string(path).find(target.parent_path().string()) == std::string::npos)
        line += ". If your shell can't find it, add: export PATH=\"$HOME/.local/bin:$PATH\"";
    return line;
}

void report(const HookInstaller& installer, const std::expected<HookInstaller::Report, std::string>& lines,
            CommandContext& context) {
    if (!lines)
        return context.fail(agentTitle(installer.agent()) + ": " + lines.error());
    for (const auto& line : *lines)
        std::cout << agentTitle(installer.agent()) << ": " << line << "\n";
}

void printStatus(const std::vector<HookInstaller>& installers, bool asJSON) {
    const std::string ours = installedProgram().string();
    brind::JSON all = brind::JSON::array();
    for (const HookInstaller& installer : installers) {
        const auto status = installer.status();
        brind::JSON files = brind::JSON::array();
        if (!asJSON)
            std::cout << agentTitle(installer.agent()) << ": " << (status.found ? "found" : "not found") << "\n";
        for (const auto& file : status.files) {
            const bool current = !file.programs.empty() &&
                                 std::ranges::all_of(file.programs, [&](const auto& p) { return p == ours; });
            files.push_back({{"path", file.path.string()},
                             {"exists", file.exists},
                             {"events", file.events},
                             {"eventCount", file.eventCount},
                             {"programs", file.programs},
                             {"http", file.http},
                             {"pointsAtThisCommand", current}});
            if (file.problem)
                files.back()["problem"] = *file.problem;
            if (asJSON)
                continue;
            std::cout << "  " << file.path.string() << ": ";
            if (file.problem) {
                std::cout << "unreadable, " << *file.problem << "\n";
                continue;
            }
            if (file.events.empty()) {
                std::cout << (file.exists ? "not installed" : "missing, not installed") << "\n";
                continue;
            }
            std::cout << "installed, " << file.events.size() << " of " << file.eventCount << " events (";
            for (std::size_t index = 0; index < file.events.size(); ++index)
                std::cout << (index ? ", " : "") << file.events[index];
            std::cout << ")\n";
            if (file.http)
                std::cout << "    posts straight to the island (HTTP hooks)\n";
            for (const auto& program : file.programs)
                std::cout << "    runs " << program << (program == ours ? " (this command)" : " (not this command: run install to update)") << "\n";
        }
        for (const auto& note : status.notes) {
            if (!asJSON)
                std::cout << "  note: " << note << "\n";
        }
        all.push_back({{"agent", agentArgument(installer.agent())},
                       {"name", agentTitle(installer.agent())},
                       {"found", status.found},
                       {"files", files},
                       {"notes", status.notes}});
    }
    // Cursor can run Claude Code's hooks too ("third-party hooks"): with both installed, each
    // Cursor event would reach the island twice.
    const auto installedFor = [&](const std::string& agent) {
        for (const brind::JSON& entry : all) {
            if (entry["agent"] == agent)
                return std::ranges::any_of(entry["files"], [](const brind::JSON& f) { return !f["events"].empty(); });
        }
        return false;
    };
    const std::string both = "Claude Code's and Cursor's hooks are both installed: if Cursor's third-party hooks "
                             "setting is on, Cursor runs both and reports each event twice; turn that setting off.";
    const bool twice = installedFor("claude-code") && installedFor("cursor");
    if (asJSON) {
        for (brind::JSON& entry : all) {
            if (twice && entry["agent"] == "cursor")
                entry["notes"].push_back(both);
        }
        std::cout << brind::JSONText::pretty(all) << "\n";
    } else if (twice) {
        std::cout << "note: " << both << "\n";
    }
}

} // namespace

void addHooksCommand(CLI::App& app, CommandContext& context) {
    auto options = std::make_shared<HooksOptions>();
    CLI::App* hooks = app.add_subcommand("hooks", "Connect coding agents to the island: install, uninstall, status");
    hooks->require_subcommand(1);

    CLI::App* install = hooks->add_subcommand(
        "install", "Write hook entries into the agents' configuration (backups next to each file)");
    CLI::App* uninstall = hooks->add_subcommand("uninstall", "Remove our hook entries again");
    CLI::App* status = hooks->add_subcommand("status", "Show, per agent, whether and how the hooks are installed");
    for (CLI::App* command : {install, uninstall, status})
        command->add_option("--agent", options->agent, "claude-code, codex, gemini, cursor or all (default: all found)");
    install->add_flag("--http", options->http,
                      "Claude Code: post straight to the island (HTTP hooks) instead of running this command");
    install->add_option("--hold-seconds", options->holdSeconds,
                        "Time-out of the calls the island holds for an answer; longer than agents.approvalTimeout")
        ->check(CLI::Range(1, 86400));
    status->add_flag("--json", options->json, "Print the status as JSON");

    const auto target = [options, &context] {
        brind::AgentHookTarget result;
        result.executable = installedProgram().string();
        result.holdSeconds = options->holdSeconds;
        if (options->http)
            result.httpPort = context.port;
        return result;
    };

    install->callback([options, &context, target] {
        const auto installers = chosen(options->agent, true);
        if (!installers)
            return context.fail(unknownAgent(options->agent));
        if (installers->empty())
            return context.fail("no coding agent found here; name one with --agent");
        const auto program = installProgram();
        if (!program)
            return context.fail("Couldn't install: " + program.error());
        if (!program->empty())
            std::cout << *program << "\n";
        for (const HookInstaller& installer : *installers)
            report(installer, installer.install(target()), context);
    });
    uninstall->callback([options, &context, target] {
        const auto installers = chosen(options->agent, false);
        if (!installers)
            return context.fail(unknownAgent(options->agent));
        for (const HookInstaller& installer : *installers)
            report(installer, installer.uninstall(target()), context);
    });
    status->callback([options, &context] {
        const auto installers = chosen(options->agent, false);
        if (!installers)
            return context.fail(unknownAgent(options->agent));
        printStatus(*installers, options->json);
    });
}

} // namespace vq
