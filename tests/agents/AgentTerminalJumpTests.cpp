#include "BrindKit/agents/AgentTerminal.hpp"
#include "BrindKit/agents/AgentTerminalJump.hpp"

#include "AgentTestSupport.hpp"

#include <gtest/gtest.h>

using namespace brind;
using namespace brind::AgentTerminalJump;

TEST(AgentTerminal, MapsReportedProgramsToApplications) {
    EXPECT_EQ(AgentTerminal::bundleID("Apple_Terminal", AgentKind::claudeCode), "com.apple.Terminal");
    EXPECT_EQ(AgentTerminal::bundleID(" iTerm.app ", AgentKind::codex), "com.googlecode.iterm2");
    EXPECT_EQ(AgentTerminal::bundleID("WarpTerminal", AgentKind::codex), "dev.warp.Warp-Stable");
    EXPECT_EQ(AgentTerminal::bundleID("zed", AgentKind::gemini), "dev.zed.Zed");
    EXPECT_EQ(AgentTerminal::bundleID("org.gnome.Terminal", AgentKind::claudeCode), "org.gnome.Terminal");
    EXPECT_EQ(AgentTerminal::bundleID("xterm", AgentKind::claudeCode), std::nullopt);
    EXPECT_EQ(AgentTerminal::bundleID(std::nullopt, AgentKind::cursor), "com.todesktop.230313mzl4w4u92");
    EXPECT_EQ(AgentTerminal::bundleID("  ", AgentKind::cursor), "com.todesktop.230313mzl4w4u92");
    EXPECT_EQ(AgentTerminal::bundleID("xterm", AgentKind::cursor), "com.todesktop.230313mzl4w4u92");
    EXPECT_EQ(AgentTerminal::bundleID(std::nullopt, AgentKind::claudeCode), std::nullopt);
}

TEST(AgentTerminalJump, WritesTheTerminalScriptLineForLine) {
    EXPECT_EQ(terminalScript("/dev/ttys003"), "tell application id \"com.apple.Terminal\"\n"
                                              "    repeat with w in windows\n"
                                              "        repeat with t in tabs of w\n"
                                              "            if tty of t is \"/dev/ttys003\" then\n"
                                              "                set selected of t to true\n"
                                              "                set index of w to 1\n"
                                              "                activate\n"
                                              "                return \"ok\"\n"
                                              "            end if\n"
                                              "        end repeat\n"
                                              "    end repeat\n"
                                              "end tell\n"
                                              "return \"missing\"");
}

TEST(AgentTerminalJump, BuildsTheItermConditionFromWhatIsKnown) {
    const auto script = [](const std::string& condition) {
        return "tell application id \"com.googlecode.iterm2\"\n"
               "    repeat with w in windows\n"
               "        repeat with t in tabs of w\n"
               "            repeat with s in sessions of t\n"
               "                if " +
               condition +
               " then\n"
               "                    select w\n"
               "                    tell t to select\n"
               "                    tell s to select\n"
               "                    activate\n"
               "                    return \"ok\"\n"
               "                end if\n"
               "            end repeat\n"
               "        end repeat\n"
               "    end repeat\n"
               "end tell\n"
               "return \"missing\"";
    };
    EXPECT_EQ(itermScript("/dev/ttys001", "U-1"), script("tty of s is \"/dev/ttys001\" or unique id of s is \"U-1\""));
    EXPECT_EQ(itermScript("/dev/ttys001", std::nullopt), script("tty of s is \"/dev/ttys001\""));
    EXPECT_EQ(itermScript(std::nullopt, "U-1"), script("unique id of s is \"U-1\""));
    EXPECT_EQ(itermScript(std::nullopt, std::nullopt), script("false"));
}

TEST(AgentTerminalJump, TakesTheUniquePartOfASessionIdentifier) {
    EXPECT_EQ(itermUUID("w0t1p0:ABC-123"), "ABC-123");
    EXPECT_EQ(itermUUID("ABC-123"), "ABC-123");
    EXPECT_EQ(itermUUID("w0t1p0:ABC:"), "ABC");
    EXPECT_EQ(itermUUID("::"), std::nullopt);
    EXPECT_EQ(itermUUID(""), std::nullopt);
}

TEST(AgentTerminalJump, ListsTmuxClientsOnlyForAPane) {
    EXPECT_EQ(tmuxClientsArgs(agentstest::terminalInfo("/dev/pts/1")), std::nullopt);
    EXPECT_EQ(tmuxClientsArgs(agentstest::terminalInfo({}, {}, "%3")),
              (std::vector<std::string>{"list-clients", "-t", "%3", "-F", "#{client_tty}"}));
    EXPECT_EQ(tmuxClientsArgs(agentstest::terminalInfo({}, "/tmp/s", "%3")),
              (std::vector<std::string>{"-S", "/tmp/s", "list-clients", "-t", "%3", "-F", "#{client_tty}"}));
}

TEST(AgentTerminalJump, PlansTmuxScriptAndActivationSteps) {
    const AgentTerminalInfo inTmux = agentstest::terminalInfo("/dev/pts/9", "/tmp/s", "%3");
    EXPECT_EQ(plan(inTmux, "com.apple.Terminal", "ttys002"),
              (std::vector<Step>{Tmux{{"-S", "/tmp/s", "select-window", "-t", "%3"}},
                                 Tmux{{"-S", "/tmp/s", "select-pane", "-t", "%3"}},
                                 AppleScript{terminalScript("/dev/ttys002")}, Activate{"com.apple.Terminal"}}));
    // Inside tmux the pane's own tty is never used for the tab.
    EXPECT_EQ(plan(inTmux, "com.apple.Terminal", std::nullopt),
              (std::vector<Step>{Tmux{{"-S", "/tmp/s", "select-window", "-t", "%3"}},
                                 Tmux{{"-S", "/tmp/s", "select-pane", "-t", "%3"}}, Activate{"com.apple.Terminal"}}));
    EXPECT_EQ(plan(agentstest::terminalInfo({}, {}, "%3"), std::nullopt, "/dev/pts/1"),
              (std::vector<Step>{Tmux{{"select-window", "-t", "%3"}}, Tmux{{"select-pane", "-t", "%3"}}}));
    EXPECT_EQ(plan(agentstest::terminalInfo("/dev/ttys004", {}, {}, "w0t0p0:U1"), "com.googlecode.iterm2", {}),
              (std::vector<Step>{AppleScript{itermScript("/dev/ttys004", "U1")}, Activate{"com.googlecode.iterm2"}}));
    EXPECT_EQ(plan(AgentTerminalInfo{}, "com.googlecode.iterm2", {}),
              (std::vector<Step>{Activate{"com.googlecode.iterm2"}}));
    EXPECT_EQ(plan(std::nullopt, "net.kovidgoyal.kitty", {}), (std::vector<Step>{Activate{"net.kovidgoyal.kitty"}}));
    EXPECT_TRUE(plan(std::nullopt, std::nullopt, {}).empty());
}
