#include "BrindKit/agents/AgentLinuxTerminalJump.hpp"

#include <gtest/gtest.h>

using namespace brind;
namespace Jump = AgentLinuxTerminalJump;

namespace {

const Jump::Tools everything{true, true, true, true, true, true, true};

Jump::Where inKitty() {
    Jump::Where where;
    where.info.kittyWindow = "3";
    where.ancestry = {{4100, "node"}, {4000, "zsh"}, {3900, "kitty"}, {1200, "systemd"}};
    return where;
}

std::vector<std::string> programs(const std::vector<Jump::Step>& steps) {
    std::vector<std::string> result;
    for (const auto& step : steps) {
        if (const auto* run = std::get_if<Jump::Run>(&step))
            result.push_back(run->program + " " + run->arguments.back());
        else if (std::holds_alternative<Jump::KWinScript>(step))
            result.push_back("kwin");
        else
            result.push_back("explain");
    }
    return result;
}

} // namespace

// Selecting the pane in a real tmux: tests/e2e TerminalJump.
TEST(AgentLinuxTerminalJump, GoesFromThePaneToTheTabToTheWindow) {
    Jump::Where where = inKitty();
    where.info.tmuxPane = "%4";
    where.info.tmuxSocket = "/tmp/tmux-1000/default";
    where.tmuxClientTTY = "/dev/pts/2";
    const auto steps = Jump::plan(where, Jump::Desktop::x11, everything);
    ASSERT_EQ(steps.size(), 5u);
    EXPECT_EQ(std::get<Jump::Run>(steps[2]),
              (Jump::Run{"tmux",
                         {"-S", "/tmp/tmux-1000/default", "switch-client", "-c", "/dev/pts/2", "-t", "%4"}}));
    EXPECT_EQ(std::get<Jump::Run>(steps[3]), (Jump::Run{"kitten", {"@", "focus-window", "--match", "id:3"}}));
    EXPECT_EQ(std::get<Jump::Run>(steps[4]),
              (Jump::Run{"xdotool", {"search", "--onlyvisible", "--pid", "3900", "windowactivate"}}));
}

TEST(AgentLinuxTerminalJump, RaisesTheWindowTheWayEachDesktopAllows) {
    struct Case {
        Jump::Desktop desktop;
        std::vector<std::string> programs;
    };
    const Case cases[] = {
        {Jump::Desktop::sway, {"kitten id:3", "swaymsg focus"}},
        {Jump::Desktop::hyprland, {"kitten id:3", "hyprctl pid:3900"}},
        {Jump::Desktop::kde, {"kitten id:3", "kwin"}},
        {Jump::Desktop::gnomeWayland, {"kitten id:3", "explain"}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(programs(Jump::plan(inKitty(), c.desktop, everything)), c.programs);
    // Without kitty's window id the shell the window started stands for it; without tools, nothing runs.
    Jump::Where where = inKitty();
    where.info.kittyWindow.reset();
    EXPECT_EQ(programs(Jump::plan(where, Jump::Desktop::sway, everything)),
              (std::vector<std::string>{"kitten pid:4000", "swaymsg focus"}));
    EXPECT_EQ(programs(Jump::plan(where, Jump::Desktop::x11, {})), std::vector<std::string>{"explain"});
    EXPECT_NE(Jump::kwinScript(3900).find("w.pid === 3900"), std::string::npos);
}

TEST(AgentLinuxTerminalJump, SaysWhereTheAgentIsWhenTheWindowCannotBeRaised) {
    Jump::Where where;
    where.info.tty = "/dev/pts/7";
    where.ancestry = {{10, "bash"}, {9, "gnome-terminal-"}};
    const auto steps = Jump::plan(where, Jump::Desktop::gnomeWayland, everything);
    ASSERT_EQ(steps.size(), 1u);
    EXPECT_EQ(std::get<Jump::Explain>(steps[0]).text,
              "The agent runs in GNOME Terminal, on /dev/pts/7. GNOME on Wayland does not let other programs "
              "bring a window forward.");
    where.ancestry = {{10, "bash"}, {1, "systemd"}};
    EXPECT_EQ(programs(Jump::plan(where, Jump::Desktop::x11, everything)),
              std::vector<std::string>{"explain"});
}

TEST(AgentLinuxTerminalJump, ReadsTheDesktopFromTheSession) {
    using D = Jump::Desktop;
    EXPECT_EQ(Jump::desktopFrom("x11", "", "GNOME", "", ""), D::x11);
    EXPECT_EQ(Jump::desktopFrom("", "", "", "", ""), D::x11);
    EXPECT_EQ(Jump::desktopFrom("wayland", "wayland-1", "sway", "/run/user/1000/sway-ipc.sock", ""), D::sway);
    EXPECT_EQ(Jump::desktopFrom("", "wayland-1", "Hyprland", "", "abc"), D::hyprland);
    EXPECT_EQ(Jump::desktopFrom("wayland", "wayland-0", "KDE", "", ""), D::kde);
    EXPECT_EQ(Jump::desktopFrom("wayland", "wayland-0", "ubuntu:GNOME", "", ""), D::gnomeWayland);
    EXPECT_EQ(Jump::desktopFrom("wayland", "wayland-0", "niri", "", ""), D::otherWayland);
}
