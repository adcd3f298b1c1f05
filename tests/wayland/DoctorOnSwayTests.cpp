#include "tests/support/TemporaryFolder.hpp"
#include "tests/wayland/SwaySession.hpp"

#include <QProcess>
#include <QProcessEnvironment>
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
    brindtest::TemporaryFolder home{"vantaquill-doctor-sway"};

    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", QString::fromStdString(home.path().string()));
    environment.insert("XDG_CONFIG_HOME", QString::fromStdString((home.path() / ".config").string()));
    environment.insert("XDG_DATA_HOME", QString::fromStdString((home.path() / ".local/share").string()));
    environment.insert("WAYLAND_DISPLAY", QString::fromStdString((*sway)->waylandDisplay()));
    environment.insert("XDG_SESSION_TYPE", "wayland");
    environment.insert("XDG_CURRENT_DESKTOP", "sway");
    environment.remove("DISPLAY");
    environment.remove("DBUS_SESSION_BUS_ADDRESS");
    QProcess doctor;
    doctor.setProcessEnvironment(environment);
    doctor.start(QString(BRIND_BIN_DIR) + "/vantaquill", {"doctor"});
    ASSERT_TRUE(doctor.waitForFinished(30'000));
    const std::string out = doctor.readAllStandardOutput().toStdString();

    EXPECT_NE(out.find("ok    placement       layer shell (zwlr_layer_shell_v1)"), std::string::npos) << out;
    EXPECT_NE(out.find("watched through data-control"), std::string::npos) << out;
    EXPECT_NE(out.find("bindsym XF86AudioRaiseVolume"), std::string::npos) << out;
    // The session bus is one of the essentials, and this session has none.
    EXPECT_EQ(doctor.exitCode(), 1) << out;
}

} // namespace
} // namespace vq
