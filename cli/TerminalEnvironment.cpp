#include "cli/TerminalEnvironment.hpp"

#include "cli/ProcessTable.hpp"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <unistd.h>

namespace vq::TerminalEnvironment {

namespace {

// Unix98 pseudo-terminal slaves use majors 136 to 143.
constexpr unsigned firstPTSMajor = 136;
constexpr unsigned lastPTSMajor = 143;

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string ttyFromStandardStreams() {
    for (const int descriptor : {STDERR_FILENO, STDOUT_FILENO, STDIN_FILENO}) {
        if (const char* name = ::ttyname(descriptor))
            return name;
    }
    return {};
}

// Agents run their hooks through a shell ("sh -c ..."), which is gone by the time the user asks to
// jump; the agent itself stays, and the terminal is found by walking up from it.
pid_t agentProcess() {
    const pid_t parent = ::getppid();
    const auto entry = ProcessTable::entry(parent);
    constexpr std::string_view shells[] = {"sh", "dash", "bash", "zsh", "fish"};
    if (entry && entry->parent > 1 && std::ranges::find(shells, entry->name) != std::end(shells))
        return entry->parent;
    return parent;
}

} // namespace

std::string controllingTTY() {
    if (const auto own = ProcessTable::self(); own && own->terminal != 0) {
        const auto major = static_cast<unsigned>((own->terminal >> 8) & 0xFFF);
        const auto minor = static_cast<unsigned>((own->terminal & 0xFF) | ((own->terminal >> 12) & 0xFFF00));
        if (major >= firstPTSMajor && major <= lastPTSMajor)
            return "/dev/pts/" + std::to_string((major - firstPTSMajor) * 256 + minor);
    }
    return ttyFromStandardStreams();
}

std::vector<std::pair<std::string, std::string>> headers() {
    std::vector<std::pair<std::string, std::string>> result;
    const auto add = [&result](const char* name, const std::string& value) {
        if (!value.empty())
            result.emplace_back(name, value);
    };
    add("x-vantaquill-terminal", environment("TERM_PROGRAM"));
    add("x-vantaquill-tty", controllingTTY());
    // TMUX holds "socket,server pid,session"; the socket path is what tmux commands need.
    const std::string tmux = environment("TMUX");
    add("x-vantaquill-tmux", tmux.substr(0, tmux.find(',')));
    add("x-vantaquill-tmux-pane", environment("TMUX_PANE"));
    std::string session = environment("ITERM_SESSION_ID");
    if (session.empty())
        session = environment("TERM_SESSION_ID");
    add("x-vantaquill-term-session", session);
    add("x-vantaquill-pid", std::to_string(agentProcess()));
    add("x-vantaquill-kitty-window", environment("KITTY_WINDOW_ID"));
    add("x-vantaquill-wezterm-pane", environment("WEZTERM_PANE"));
    return result;
}

} // namespace vq::TerminalEnvironment
