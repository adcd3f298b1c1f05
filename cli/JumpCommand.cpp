#include "cli/CommandContext.hpp"
#include "cli/ProcessTable.hpp"
#include "cli/ProgramSearch.hpp"

#include "BrindKit/agents/AgentLinuxTerminalJump.hpp"
#include "BrindKit/agents/AgentTerminalInfo.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace vq {

namespace {

namespace fs = std::filesystem;
namespace Jump = brind::AgentLinuxTerminalJump;
using brind::AgentTerminalInfo;

// The process tree is walked at most this far, so that a loop in a broken /proc cannot hang us.
constexpr int maxAncestry = 64;

struct JumpOptions {
    std::string pid, tty, tmuxSocket, tmuxPane, kittyWindow, weztermPane;
    bool print = false;
};

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool onPath(std::string_view program) {
    return ProgramSearch::find(program).has_value();
}

// Runs a program and waits; its standard output, or nothing when it failed.
std::optional<std::string> run(const std::string& program, const std::vector<std::string>& arguments) {
    int pipe[2];
    if (::pipe(pipe) != 0)
        return std::nullopt;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipe[0]);
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t child = 0;
    const int spawned = ::posix_spawnp(&child, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipe[1]);
    std::string output;
    char buffer[4096];
    for (ssize_t count; spawned == 0 && (count = ::read(pipe[0], buffer, sizeof buffer)) > 0;)
        output.append(buffer, static_cast<std::size_t>(count));
    ::close(pipe[0]);
    if (spawned != 0)
        return std::nullopt;
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return std::nullopt;
    return output;
}

std::vector<Jump::Process> ancestry(int pid) {
    std::vector<Jump::Process> result;
    for (int step = 0; pid > 1 && step < maxAncestry; ++step) {
        const auto entry = ProcessTable::entry(pid);
        if (!entry)
            break;
        result.push_back({pid, entry->name});
        pid = entry->parent;
    }
    return result;
}

std::vector<std::string> tmuxArguments(const AgentTerminalInfo& info, std::vector<std::string> rest) {
    std::vector<std::string> all;
    if (info.tmuxSocket)
        all = {"-S", *info.tmuxSocket};
    all.insert(all.end(), rest.begin(), rest.end());
    return all;
}

bool runKWinScript(const std::string& source) {
    const fs::path file = fs::temp_directory_path() / ("vantaquill-jump-" + std::to_string(::getpid()) + ".js");
    if (!brind::AtomicFile::write(file, source))
        return false;
    const std::string name = "vantaquill-jump";
    const auto loaded = run("gdbus", {"call", "--session", "--dest", "org.kde.KWin", "--object-path", "/Scripting",
                                      "--method", "org.kde.kwin.Scripting.loadScript", file.string(), name});
    bool done = false;
    if (loaded) {
        // The reply is "(N,)": the script's number names its object.
        const std::size_t digits = loaded->find_first_of("0123456789");
        const std::string number = digits == std::string::npos ? "" : loaded->substr(digits, loaded->find_first_not_of("0123456789", digits) - digits);
        done = !number.empty() && run("gdbus", {"call", "--session", "--dest", "org.kde.KWin", "--object-path",
                                                 "/Scripting/Script" + number, "--method", "org.kde.kwin.Script.run"});
        run("gdbus", {"call", "--session", "--dest", "org.kde.KWin", "--object-path", "/Scripting", "--method",
                      "org.kde.kwin.Scripting.unloadScript", name});
    }
    std::error_code ignored;
    fs::remove(file, ignored);
    return done;
}

} // namespace

void addJumpCommand(CLI::App& app, CommandContext& context) {
    auto options = std::make_shared<JumpOptions>();
    CLI::App* command = app.add_subcommand("jump", "Bring an agent's terminal (tmux pane, tab, window) forward");
    command->add_option("--pid", options->pid, "The agent's process id");
    command->add_option("--tty", options->tty, "The agent's terminal device");
    command->add_option("--tmux-socket", options->tmuxSocket, "The tmux server's socket");
    command->add_option("--tmux-pane", options->tmuxPane, "The agent's tmux pane (%N)");
    command->add_option("--kitty-window", options->kittyWindow, "kitty's window id");
    command->add_option("--wezterm-pane", options->weztermPane, "WezTerm's pane id");
    command->add_flag("--print", options->print, "Print the steps instead of running them");
    command->callback([options, &context] {
        Jump::Where where;
        where.info.processID = AgentTerminalInfo::validNumber(options->pid);
        where.info.tty = AgentTerminalInfo::validTTY(options->tty);
        where.info.tmuxSocket = AgentTerminalInfo::validSocket(options->tmuxSocket);
        where.info.tmuxPane = AgentTerminalInfo::validPane(options->tmuxPane);
        where.info.kittyWindow = AgentTerminalInfo::validNumber(options->kittyWindow);
        where.info.weztermPane = AgentTerminalInfo::validNumber(options->weztermPane);

        Jump::Tools tools{onPath("tmux"),    onPath("kitten"),  onPath("wezterm"), onPath("xdotool"),
                          onPath("swaymsg"), onPath("hyprctl"), onPath("gdbus")};
        // Under tmux the terminal is the one showing the client, not the one the server runs in.
        int drawing = where.info.processID ? std::stoi(*where.info.processID) : 0;
        if (where.info.tmuxPane && tools.tmux) {
            const auto clients = run("tmux", tmuxArguments(where.info, {"list-clients", "-t", *where.info.tmuxPane,
                                                                          "-F", "#{client_tty} #{client_pid}"}));
            std::istringstream first(clients.value_or(""));
            std::string tty;
            int clientPID = 0;
            if (first >> tty >> clientPID) {
                where.tmuxClientTTY = AgentTerminalInfo::validTTY(tty);
                drawing = clientPID;
            }
        }
        if (drawing > 0)
            where.ancestry = ancestry(drawing);

        const auto desktop = Jump::desktopFrom(environment("XDG_SESSION_TYPE"), environment("WAYLAND_DISPLAY"),
                                               environment("XDG_CURRENT_DESKTOP"), environment("SWAYSOCK"),
                                               environment("HYPRLAND_INSTANCE_SIGNATURE"));
        bool failed = false;
        for (const Jump::Step& step : Jump::plan(where, desktop, tools)) {
            if (const auto* command = std::get_if<Jump::Run>(&step)) {
                if (options->print) {
                    std::cout << command->program;
                    for (const auto& argument : command->arguments)
                        std::cout << " " << argument;
                    std::cout << "\n";
                } else if (!run(command->program, command->arguments)) {
                    std::cerr << "vantaquill: " << command->program << " did not succeed\n";
                    failed = true;
                }
            } else if (const auto* script = std::get_if<Jump::KWinScript>(&step)) {
                if (options->print)
                    std::cout << "kwin-script\n" << script->source;
                else if (!runKWinScript(script->source))
                    failed = true;
            } else if (const auto* explain = std::get_if<Jump::Explain>(&step)) {
                std::cout << explain->text << "\n";
            }
        }
        if (failed)
            context.exitCode = CommandContext::exitFailure;
    });
}

} // namespace vq
