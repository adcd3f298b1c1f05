#include "tests/desktop/VirtualDisplay.hpp"
#include "tests/e2e/E2EProcess.hpp"
#include "tests/package/PrivateSessionBus.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <sys/stat.h>

namespace vq::packagetest {
namespace {

using e2e::builtProgram;
using e2e::run;
using e2e::TemporaryHome;

bool hasLine(const std::string& out, const std::string& start) {
    return out.find("\n" + start) != std::string::npos || out.starts_with(start);
}

TEST(DoctorCommand, BareMachineReportsEachMissingPiece) {
    TemporaryHome home;
    const auto result = run(builtProgram("vantaquill"), {"doctor"}, home.environment());
    EXPECT_EQ(result.exitCode, 1) << result.err;
    for (const char* line : {"no    session ", "no    placement ", "no    clipboard ", "no    HUD keys ",
                             "no    session bus ", "no    MPRIS ", "part  camera housing ", "no    Claude Code "})
        EXPECT_TRUE(hasLine(result.out, line)) << line << "\n" << result.out;
    EXPECT_NE(result.out.find("The essentials (a display and the session bus) are missing here."), std::string::npos);
}

TEST(DoctorCommand, FindsThePrivateSessionBusAndAHookedAgent) {
    TemporaryHome home;
    PrivateSessionBus bus(home.path());
    ASSERT_TRUE(bus.running());
    // A stand-in `claude` on PATH and a settings file whose hook runs vantaquill, as the installer writes it.
    const auto tools = home.path() / "tools";
    std::filesystem::create_directories(tools);
    std::ofstream(tools / "claude") << "#!/bin/sh\n";
    ::chmod((tools / "claude").c_str(), 0755);
    std::filesystem::create_directories(home.path() / ".claude");
    std::ofstream(home.path() / ".claude/settings.json")
        << R"({"hooks":{"PreToolUse":[{"hooks":[{"type":"command","command":"vantaquill hook --agent claude-code"}]}]}})";
    auto environment = home.environment();
    environment["PATH"] = tools.string() + ":" + environment["PATH"];
    const auto result = run(builtProgram("vantaquill"), {"doctor"}, environment);
    EXPECT_TRUE(hasLine(result.out, "ok    session bus ")) << result.out;
    EXPECT_TRUE(hasLine(result.out, "ok    MPRIS ")) << result.out;
    EXPECT_TRUE(hasLine(result.out, "ok    Claude Code     found at " + (tools / "claude").string())) << result.out;
    EXPECT_EQ(result.exitCode, 1) << "still no display";
}

TEST(DoctorCommand, ReportsAnXvfbDisplay) {
    if (!desktop::VirtualDisplay::available())
        GTEST_SKIP() << "Xvfb, ImageMagick's import or xdotool is missing; scripts/setup installs them";
    TemporaryHome home;
    PrivateSessionBus bus(home.path());
    ASSERT_TRUE(bus.running());
    const desktop::VirtualDisplay display;
    ASSERT_FALSE(display.name().empty()) << "Xvfb did not start";
    auto environment = display.environmentFor(home.environment());
    environment["XDG_SESSION_TYPE"] = "x11";
    const auto result = run(builtProgram("vantaquill"), {"doctor"}, environment);
    EXPECT_EQ(result.exitCode, 0) << result.out;
    EXPECT_TRUE(hasLine(result.out, "ok    session ")) << result.out;
    EXPECT_TRUE(hasLine(result.out, "ok    placement       X11 window")) << result.out;
    EXPECT_TRUE(hasLine(result.out, "ok    clipboard       watched through XFixes")) << result.out;
    EXPECT_TRUE(hasLine(result.out, "ok    HUD keys ")) << result.out;
}

} // namespace
} // namespace vq::packagetest
