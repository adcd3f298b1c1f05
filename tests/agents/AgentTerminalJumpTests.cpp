#include "BrindKit/agents/AgentTerminal.hpp"
#include "BrindKit/agents/AgentTerminalJump.hpp"

#include <gtest/gtest.h>

using namespace brind;
using Info = AgentTerminalInfo;
using namespace brind::AgentTerminalJump;

namespace {

// The `if` line of a tab-selecting script, where the tty or identifier is embedded.
std::string condition(const std::string& script) {
    const std::size_t start = script.find(" if ");
    const std::size_t end = script.find(" then\n", start);
    return start == std::string::npos || end == std::string::npos ? ""
                                                                  : script.substr(start + 4, end - start - 4);
}

} // namespace

TEST(AgentTerminal, MapsReportedProgramsToApplications) {
    EXPECT_EQ(AgentTerminal::bundleID(" iTerm.app ", AgentKind::codex), "com.googlecode.iterm2");
    EXPECT_EQ(AgentTerminal::bundleID("org.gnome.Terminal", AgentKind::claudeCode), "org.gnome.Terminal");
    EXPECT_EQ(AgentTerminal::bundleID("xterm", AgentKind::claudeCode), std::nullopt);
    EXPECT_EQ(AgentTerminal::bundleID(std::nullopt, AgentKind::claudeCode), std::nullopt);
    // Cursor's agent runs inside Cursor whatever terminal it names.
    for (const std::optional<std::string_view> reported :
         {std::optional<std::string_view>{}, {"  "}, {"xterm"}})
        EXPECT_EQ(AgentTerminal::bundleID(reported, AgentKind::cursor), "com.todesktop.230313mzl4w4u92");
}

// The runner reads "ok" or "missing" from the scripts.
TEST(AgentTerminalJump, WritesScriptsThatSelectTheTabByTTYOrIdentifier) {
    const std::string terminal = terminalScript("/dev/ttys003");
    EXPECT_TRUE(terminal.starts_with("tell application id \"com.apple.Terminal\"\n")) << terminal;
    EXPECT_EQ(condition(terminal), "tty of t is \"/dev/ttys003\"");
    EXPECT_NE(terminal.find("set selected of t to true\n"), std::string::npos) << terminal;
    EXPECT_NE(terminal.find("return \"ok\"\n"), std::string::npos) << terminal;
    EXPECT_TRUE(terminal.ends_with("end tell\nreturn \"missing\"")) << terminal;

    const std::string iterm = itermScript("/dev/ttys001", "U-1");
    EXPECT_TRUE(iterm.starts_with("tell application id \"com.googlecode.iterm2\"\n")) << iterm;
    EXPECT_NE(iterm.find("tell s to select\n"), std::string::npos) << iterm;
    EXPECT_NE(iterm.find("return \"ok\"\n"), std::string::npos) << iterm;
    EXPECT_TRUE(iterm.ends_with("end tell\nreturn \"missing\"")) << iterm;
    EXPECT_EQ(condition(iterm), "tty of s is \"/dev/ttys001\" or unique id of s is \"U-1\"");
    EXPECT_EQ(condition(itermScript("/dev/ttys001", std::nullopt)), "tty of s is \"/dev/ttys001\"");
    EXPECT_EQ(condition(itermScript(std::nullopt, "U-1")), "unique id of s is \"U-1\"");
    EXPECT_EQ(condition(itermScript(std::nullopt, std::nullopt)), "false");
}

TEST(AgentTerminalJump, TakesTheUniquePartOfASessionIdentifier) {
    EXPECT_EQ(itermUUID("ABC-123"), "ABC-123");
    EXPECT_EQ(itermUUID("w0t1p0:ABC:"), "ABC");
    EXPECT_EQ(itermUUID("::"), std::nullopt);
}

TEST(AgentTerminalJump, ListsTmuxClientsOnlyForAPane) {
    EXPECT_EQ(tmuxClientsArgs(Info{"/dev/pts/1", {}, {}, {}}), std::nullopt);
    EXPECT_EQ(tmuxClientsArgs(Info{{}, {}, "%3", {}}),
              (std::vector<std::string>{"list-clients", "-t", "%3", "-F", "#{client_tty}"}));
    EXPECT_EQ(tmuxClientsArgs(Info{{}, "/tmp/s", "%3", {}}),
              (std::vector<std::string>{"-S", "/tmp/s", "list-clients", "-t", "%3", "-F", "#{client_tty}"}));
}

TEST(AgentTerminalJump, PlansTmuxScriptAndActivationSteps) {
    const Info inTmux{"/dev/pts/9", "/tmp/s", "%3", {}};
    const Tmux selectWindow{{"-S", "/tmp/s", "select-window", "-t", "%3"}};
    const Tmux selectPane{{"-S", "/tmp/s", "select-pane", "-t", "%3"}};
    EXPECT_EQ(plan(inTmux, "com.apple.Terminal", "ttys002"),
              (std::vector<Step>{selectWindow, selectPane, AppleScript{terminalScript("/dev/ttys002")},
                                 Activate{"com.apple.Terminal"}}));
    // Inside tmux the pane's own tty is never used for the tab.
    EXPECT_EQ(plan(inTmux, "com.apple.Terminal", std::nullopt),
              (std::vector<Step>{selectWindow, selectPane, Activate{"com.apple.Terminal"}}));
    EXPECT_EQ(plan(Info{{}, {}, "%3", {}}, std::nullopt, "/dev/pts/1"),
              (std::vector<Step>{Tmux{{"select-window", "-t", "%3"}}, Tmux{{"select-pane", "-t", "%3"}}}));
    EXPECT_EQ(plan(Info{"/dev/ttys004", {}, {}, "w0t0p0:U1"}, "com.googlecode.iterm2", {}),
              (std::vector<Step>{AppleScript{itermScript("/dev/ttys004", "U1")},
                                 Activate{"com.googlecode.iterm2"}}));
    EXPECT_EQ(plan(Info{}, "com.googlecode.iterm2", {}),
              (std::vector<Step>{Activate{"com.googlecode.iterm2"}}));
    EXPECT_EQ(plan(std::nullopt, "net.kovidgoyal.kitty", {}),
              (std::vector<Step>{Activate{"net.kovidgoyal.kitty"}}));
    EXPECT_TRUE(plan(std::nullopt, std::nullopt, {}).empty());
}
