#include "BrindKit/agents/AgentTerminal.hpp"

#include "BrindKit/foundation/ASCII.hpp"

namespace brind::AgentTerminal {

namespace {

struct KnownTerminal {
    std::string_view program;
    std::string_view bundleID;
};

constexpr KnownTerminal knownTerminals[] = {
    {"Apple_Terminal", "com.apple.Terminal"}, {"iTerm.app", "com.googlecode.iterm2"},
    {"vscode", "com.microsoft.VSCode"},       {"WezTerm", "com.github.wez.wezterm"},
    {"ghostty", "com.mitchellh.ghostty"},     {"WarpTerminal", "dev.warp.Warp-Stable"},
    {"Hyper", "co.zeit.hyper"},               {"Tabby", "org.tabby"},
    {"kitty", "net.kovidgoyal.kitty"},        {"alacritty", "org.alacritty"},
    {"zed", "dev.zed.Zed"},
};

} // namespace

std::optional<std::string> bundleID(std::optional<std::string_view> reported, AgentKind agent) {
    const std::string_view program = reported ? ASCII::trimmed(*reported) : std::string_view();
    if (!program.empty()) {
        for (const KnownTerminal& terminal : knownTerminals) {
            if (terminal.program == program)
                return std::string(terminal.bundleID);
        }
        if (program.find('.') != std::string_view::npos)
            return std::string(program);
    }
    if (agent == AgentKind::cursor)
        return std::string(cursorBundleID);
    return std::nullopt;
}

} // namespace brind::AgentTerminal
