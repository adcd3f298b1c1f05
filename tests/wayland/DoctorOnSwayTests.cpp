#include "tests/e2e/E2EProcess.hpp"
#include "tests/wayland/SwaySession.hpp"

#include <gtest/gtest.h>

namespace vq {
namespace {

using test::SwaySession;

// `vantaquill doctor` inside a sway session reports the layer shell and the data-control clipboard
// that the compositor really offers (asked through wayland-info), and sway's own key bindings.
TEST(DoctorOnSway, ReportsTheLayerShellTheClipboardAndSwaysBindings) {
    if (const auto reason = SwaySession::unavailableReason(); !reason.empty())
        GTEST_SKIP() << "no headless sway here: " << reason;
    auto sway = SwaySession::start({});
    ASSERT_TRUE(sway) << sway.error();
    e2e::TemporaryHome home;
    auto environment = home.environment();
    environment.erase("QT_QPA_PLATFORM");
    environment["WAYLAND_DISPLAY"] = (*sway)->waylandDisplay();
    environment["XDG_SESSION_TYPE"] = "wayland";
    environment["XDG_CURRENT_DESKTOP"] = "sway";
    const auto doctor = e2e::run(e2e::builtProgram("vantaquill"), {"doctor"}, environment);
    const std::string& out = doctor.out;

    EXPECT_NE(out.find("ok    placement       layer shell (zwlr_layer_shell_v1)"), std::string::npos) << out;
    EXPECT_NE(out.find("watched through data-control"), std::string::npos) << out;
    EXPECT_NE(out.find("bindsym XF86AudioRaiseVolume"), std::string::npos) << out;
    // The session bus is one of the essentials, and this session has none.
    EXPECT_EQ(doctor.exitCode, 1) << out;
}

} // namespace
} // namespace vq
