#include "cli/DoctorProbe.hpp"
#include "cli/DoctorReport.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace vq {
namespace {

using Status = DoctorReport::Status;

const DoctorReport::Check& checkNamed(const DoctorReport& report, const std::string& feature) {
    const auto found = std::find_if(report.checks.begin(), report.checks.end(),
                                    [&](const DoctorReport::Check& check) { return check.feature == feature; });
    if (found == report.checks.end())
        throw std::runtime_error("no check named " + feature);
    return *found;
}

bool mentions(const std::vector<std::string>& lines, const std::string& text) {
    return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

DoctorFacts swayWithEverything() {
    DoctorFacts facts;
    facts.desktop = "sway";
    facts.waylandDisplay = "wayland-1";
    facts.waylandReachable = true;
    facts.waylandGlobals = std::set<std::string>{"wl_compositor", "zwlr_layer_shell_v1", "zwlr_data_control_manager_v1"};
    facts.sessionBusAddress = "unix:path=/run/user/1000/bus";
    facts.sessionNames = std::set<std::string>{"org.freedesktop.DBus", "org.mpris.MediaPlayer2.mpv"};
    facts.systemNames = std::set<std::string>{"org.freedesktop.UPower", "org.freedesktop.login1",
                                              "org.freedesktop.NetworkManager"};
    return facts;
}

TEST(DoctorReport, BareMachineReportsEveryMissingPiece) {
    const auto report = DoctorReport::from(DoctorFacts{});
    EXPECT_FALSE(report.essentialsWork());
    for (const char* feature : {"session", "placement", "full screen", "clipboard", "HUD keys", "session bus", "MPRIS", "logind",
                                "GeoClue"})
        EXPECT_EQ(checkNamed(report, feature).status, Status::missing) << feature;
    // The peeks read the kernel without their services.
    EXPECT_EQ(checkNamed(report, "UPower").status, Status::partly);
    EXPECT_EQ(checkNamed(report, "UPower").summary,
              "the system bus doesn't answer: battery peeks from the kernel's power-supply class instead");
    EXPECT_EQ(checkNamed(report, "NetworkManager").status, Status::partly);
    // With no compositor to name, the bindings of all four are offered.
    const auto& keys = checkNamed(report, "HUD keys").lines;
    for (const char* header : {"sway/config", "hyprland.conf", "GNOME", "KDE"})
        EXPECT_TRUE(mentions(keys, header)) << header;
    EXPECT_NE(report.text().find("The essentials (a display and the session bus) are missing here."), std::string::npos);
}

TEST(DoctorReport, SwayWithLayerShellAndDataControl) {
    const auto report = DoctorReport::from(swayWithEverything());
    EXPECT_TRUE(report.essentialsWork());
    EXPECT_EQ(checkNamed(report, "session").summary, "Wayland (sway) on wayland-1");
    EXPECT_EQ(checkNamed(report, "placement").status, Status::works);
    EXPECT_NE(checkNamed(report, "clipboard").summary.find("data-control"), std::string::npos);
    EXPECT_EQ(checkNamed(report, "MPRIS").summary, "1 media player(s) running");
    EXPECT_EQ(checkNamed(report, "GeoClue").status, Status::missing);
    const auto& keys = checkNamed(report, "HUD keys");
    EXPECT_EQ(keys.status, Status::partly);
    EXPECT_TRUE(mentions(keys.lines, "bindsym XF86AudioRaiseVolume exec vantaquill hud volume up"));
    EXPECT_FALSE(mentions(keys.lines, "hyprland.conf")) << "only the running compositor's lines";
}

// Only a compositor that lists its windows (or an X window manager) lets the island hide over a
// full-screen one; KWin has a layer shell but no such list for ordinary programs.
TEST(DoctorReport, FullScreenHidingIsPromisedOnlyWhereTheSessionTellsWhichWindowIsFullScreen) {
    const struct {
        const char* session;
        std::set<std::string> globals;
        bool x11;
        Status status;
        const char* said;
    } cases[] = {
        {"sway", {"zwlr_layer_shell_v1", "zwlr_foreign_toplevel_manager_v1"}, false, Status::works, "hidden over"},
        {"KDE", {"zwlr_layer_shell_v1", "org_kde_plasma_window_management"}, false, Status::partly, "stays over"},
        {"GNOME", {"wl_compositor"}, true, Status::partly, "Wayland windows are not seen"},
    };
    for (const auto& row : cases) {
        auto facts = swayWithEverything();
        facts.desktop = row.session;
        facts.waylandGlobals = row.globals;
        if (row.x11) {
            facts.x11Display = ":0";
            facts.x11Reachable = true;
        }
        const auto report = DoctorReport::from(facts);
        const auto& check = checkNamed(report, "full screen");
        EXPECT_EQ(check.status, row.status) << row.session;
        EXPECT_NE(check.summary.find(row.said), std::string::npos) << row.session << ": " << check.summary;
    }
    DoctorFacts x11;
    x11.x11Display = ":1";
    x11.x11Reachable = true;
    EXPECT_EQ(checkNamed(DoctorReport::from(x11), "full screen").status, Status::works);
}

TEST(DoctorReport, WaylandWithoutLayerShellFallsBackToXWayland) {
    auto facts = swayWithEverything();
    facts.desktop = "ubuntu:GNOME";
    facts.waylandGlobals = std::set<std::string>{"wl_compositor"};
    facts.x11Display = ":0";
    facts.x11Reachable = true;
    facts.x11Extensions = std::set<std::string>{"XFIXES", "RANDR"};
    const auto report = DoctorReport::from(facts);
    EXPECT_TRUE(report.essentialsWork());
    EXPECT_EQ(checkNamed(report, "placement").status, Status::partly);
    EXPECT_NE(checkNamed(report, "placement").summary.find("XWayland"), std::string::npos);
    EXPECT_EQ(checkNamed(report, "clipboard").status, Status::partly);
    EXPECT_TRUE(mentions(checkNamed(report, "HUD keys").lines, "vantaquill hud volume up"));
}

TEST(DoctorReport, X11SessionGrabsKeysAndWatchesWithXFixes) {
    DoctorFacts facts;
    facts.x11Display = ":1";
    facts.x11Reachable = true;
    facts.x11Extensions = std::set<std::string>{"XFIXES"};
    const auto report = DoctorReport::from(facts);
    EXPECT_EQ(checkNamed(report, "placement").status, Status::works);
    EXPECT_EQ(checkNamed(report, "clipboard").status, Status::works);
    EXPECT_EQ(checkNamed(report, "HUD keys").status, Status::works);
    EXPECT_TRUE(checkNamed(report, "HUD keys").lines.empty());
    EXPECT_FALSE(report.essentialsWork()) << "no session bus";

    facts.x11Extensions.reset();
    EXPECT_NE(checkNamed(DoctorReport::from(facts), "clipboard").summary.find("x11-utils"), std::string::npos);
}

TEST(DoctorReport, AgentsFoundAndHooked) {
    DoctorFacts facts;
    facts.agents = {{.name = "Claude Code", .program = "claude", .path = "/usr/bin/claude", .configFile = "/h/.claude/settings.json", .hooked = true},
                    {.name = "Codex", .program = "codex", .path = "/usr/bin/codex", .configFile = "/h/.codex/hooks.json", .hooked = false},
                    {.name = "Cursor", .program = "cursor-agent", .path = std::nullopt, .configFile = "/h/.cursor/hooks.json", .hooked = false}};
    const auto report = DoctorReport::from(facts);
    EXPECT_EQ(checkNamed(report, "Claude Code").status, Status::works);
    EXPECT_EQ(checkNamed(report, "Codex").status, Status::partly);
    EXPECT_EQ(checkNamed(report, "Cursor").summary, "not found (cursor-agent is not on PATH)");
}

// What wayland-info, xdpyinfo and dbus-send print.
TEST(DoctorProbe, ReadsTheToolsOutput) {
    const auto output = [](const std::string& name) {
        return brind::AtomicFile::read(std::string(BRIND_TEST_DATA) + "/doctor/" + name).value();
    };
    EXPECT_EQ(DoctorProbe::waylandGlobals(output("wayland-info.txt")),
              (std::set<std::string>{"wl_compositor", "zwlr_layer_shell_v1"}));
    EXPECT_EQ(DoctorProbe::x11Extensions(output("xdpyinfo.txt")),
              (std::set<std::string>{"BIG-REQUESTS", "RANDR", "XFIXES"}));
    EXPECT_EQ(DoctorProbe::busNames(output("list-names.txt")), (std::set<std::string>{"org.freedesktop.DBus", ":1.3"}));
}

TEST(DoctorProbe, ToolThatIsMissingFailsOrHangsGivesNothing) {
    EXPECT_EQ(DoctorProbe::run({"echo", "hello"}), "hello\n");
    EXPECT_FALSE(DoctorProbe::run({"vantaquill-no-such-tool"}));
    EXPECT_FALSE(DoctorProbe::run({"false"}));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(DoctorProbe::run({"sleep", "30"}, std::chrono::milliseconds(200)));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10)) << "the hung tool was not stopped";
}

} // namespace
} // namespace vq
