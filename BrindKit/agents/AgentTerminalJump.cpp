#include "BrindKit/agents/AgentTerminalJump.hpp"

#include <algorithm>

namespace brind::AgentTerminalJump {

namespace {

constexpr std::string_view terminalBundleID = "com.apple.Terminal";
constexpr std::string_view itermBundleID = "com.googlecode.iterm2";

std::vector<std::string> withSocket(const AgentTerminalInfo& info, std::initializer_list<std::string> arguments) {
    std::vector<std::string> result;
    if (info.tmuxSocket) {
        result.push_back("-S");
        result.push_back(*info.tmuxSocket);
    }
    result.insert(result.end(), arguments);
    return result;
}

} // namespace

std::optional<std::vector<std::string>> tmuxClientsArgs(const AgentTerminalInfo& info) {
    if (!info.tmuxPane)
        return std::nullopt;
    return withSocket(info, {"list-clients", "-t", *info.tmuxPane, "-F", "#{client_tty}"});
}

std::vector<Step> plan(const std::optional<AgentTerminalInfo>& info, const std::optional<std::string>& bundleID,
                       const std::optional<std::string>& tmuxClientTTY) {
    std::vector<Step> steps;
    std::optional<std::string> tty = info ? info->tty : std::nullopt;
    if (info && info->tmuxPane) {
        steps.push_back(Tmux{withSocket(*info, {"select-window", "-t", *info->tmuxPane})});
        steps.push_back(Tmux{withSocket(*info, {"select-pane", "-t", *info->tmuxPane})});
        // Inside tmux the pane's own tty is not a terminal tab; the client's tty is.
        tty = tmuxClientTTY ? AgentTerminalInfo::validTTY(*tmuxClientTTY) : std::nullopt;
    }
    if (!bundleID)
        return steps;
    if (*bundleID == terminalBundleID && tty)
        steps.push_back(AppleScript{terminalScript(*tty)});
    if (*bundleID == itermBundleID) {
        const std::optional<std::string> uid =
            info && info->sessionID ? itermUUID(*info->sessionID) : std::nullopt;
        if (tty || uid)
            steps.push_back(AppleScript{itermScript(tty, uid)});
    }
    steps.push_back(Activate{*bundleID});
    return steps;
}

std::string terminalScript(std::string_view tty) {
    std::string script;
    script += "tell application id \"com.apple.Terminal\"\n";
    script += "    repeat with w in windows\n";
    script += "        repeat with t in tabs of w\n";
    script += "            if tty of t is \"" + std::string(tty) + "\" then\n";
    script += "                set selected of t to true\n";
    script += "                set index of w to 1\n";
    script += "                activate\n";
    script += "                return \"ok\"\n";
    script += "            end if\n";
    script += "        end repeat\n";
    script += "    end repeat\n";
    script += "end tell\n";
    script += "return \"missing\"";
    return script;
}

std::string itermScript(const std::optional<std::string>& tty, const std::optional<std::string>& uniqueID) {
    std::string condition;
    if (tty)
        condition = "tty of s is \"" + *tty + "\"";
    if (uniqueID) {
        if (!condition.empty())
            condition += " or ";
        condition += "unique id of s is \"" + *uniqueID + "\"";
    }
    if (condition.empty())
        condition = "false";
    std::string script;
    script += "tell application id \"com.googlecode.iterm2\"\n";
    script += "    repeat with w in windows\n";
    script += "        repeat with t in tabs of w\n";
    script += "            repeat with s in sessions of t\n";
    script += "                if " + condition + " then\n";
    script += "                    select w\n";
    script += "                    tell t to select\n";
    script += "                    tell s to select\n";
    script += "                    activate\n";
    script += "                    return \"ok\"\n";
    script += "                end if\n";
    script += "            end repeat\n";
    script += "        end repeat\n";
    script += "    end repeat\n";
    script += "end tell\n";
    script += "return \"missing\"";
    return script;
}

std::optional<std::string> itermUUID(std::string_view sessionID) {
    std::optional<std::string> last;
    std::size_t start = 0;
    while (start <= sessionID.size()) {
        const std::size_t colon = std::min(sessionID.find(':', start), sessionID.size());
        if (colon > start)
            last = std::string(sessionID.substr(start, colon - start));
        start = colon + 1;
    }
    return last;
}

} // namespace brind::AgentTerminalJump
