#include "tests/desktop/VirtualDisplay.hpp"
#include "tests/e2e/E2EProcess.hpp"
#include "tests/package/PrivateSessionBus.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vq::packagetest {
namespace {

using e2e::builtProgram;
using e2e::run;

bool hasLine(const std::string& out, const std::string& start) {
    return out.find("\n" + start) != std::string::npos || out.starts_with(start);
}

// The probe finds the private session bus and a hooked agent; without a display the essentials are
// missing, and on Xvfb they all work.
TEST(DoctorCommand, FindsTheSessionBusAHookedAgentAndAnXvfbDisplay) {
    e2e::TemporaryHome home;
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
    auto result = run(builtProgram("vantaquill"), {"doctor"}, environment);
    EXPECT_EQ(result.exitCode, 1) << "no display";
    for (const std::string& line :
         std::vector<std::string>{"no    session ", "no    placement ", "ok    session bus ", "ok    MPRIS ",
                                  "ok    Claude Code     found at " + (tools / "claude").string()})
        EXPECT_TRUE(hasLine(result.out, line)) << line << "\n" << result.out;
    EXPECT_NE(result.out.find("The essentials (a display and the session bus) are missing here."),
              std::string::npos);

    if (!desktop::VirtualDisplay::available())
        GTEST_SKIP() << "Xvfb, ImageMagick's import or xdotool is missing; scripts/setup installs them";
    const desktop::VirtualDisplay display;
    ASSERT_FALSE(display.name().empty()) << "Xvfb did not start";
    environment = display.environmentFor(environment);
    environment["XDG_SESSION_TYPE"] = "x11";
    result = run(builtProgram("vantaquill"), {"doctor"}, environment);
    EXPECT_EQ(result.exitCode, 0) << result.out;
    for (const char* line : {"ok    session ", "ok    placement       X11 window",
                             "ok    clipboard       watched through XFixes", "ok    HUD keys "})
        EXPECT_TRUE(hasLine(result.out, line)) << line << "\n" << result.out;
}

} // namespace
} // namespace vq::packagetest
