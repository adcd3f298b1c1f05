#include "vantaquill/settings/StayAwake.hpp"

#include "tests/package/PrivateSessionBus.hpp"
#include "tests/support/BackgroundProgram.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

namespace vq {
namespace {

using namespace std::chrono_literals;

/// logind as python3-dbusmock serves it, on a private bus that stands in for the system bus: its
/// `Inhibit` hands out a descriptor and forgets the inhibitor when the descriptor closes, as logind does.
class MockLogind : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(bus.running()) << "dbus-daemon (package dbus-daemon) did not start";
        ASSERT_TRUE(std::filesystem::exists("/usr/lib/python3/dist-packages/dbusmock"))
            << "python3-dbusmock is missing";
        mock = std::make_unique<BackgroundProgram>(
            "/usr/bin/python3", std::vector<std::string>{"-m", "dbusmock", "--template", "logind"},
            std::vector<std::string>{"DBUS_SYSTEM_BUS_ADDRESS=" + bus.address(), "PATH=/usr/bin:/bin"});
        ASSERT_TRUE(eventually([this] {
            return bus.askBus("NameHasOwner", "org.freedesktop.login1").out.find("true") != std::string::npos;
        }));
        // systemd-inhibit, started by the switch, finds the system bus here.
        previous = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", QByteArray::fromStdString(bus.address()));
    }
    void TearDown() override { qputenv("DBUS_SYSTEM_BUS_ADDRESS", previous); }

    bool inhibited() const {
        return e2e::run("/usr/bin/dbus-send",
                        {"--bus=" + bus.address(), "--print-reply", "--dest=org.freedesktop.login1",
                         "/org/freedesktop/login1", "org.freedesktop.login1.Manager.ListInhibitors"},
                        {})
                   .out.find("\"vantaquill\"") != std::string::npos;
    }

    std::unique_ptr<StayAwake> make() {
        return std::make_unique<StayAwake>(scheduler, StayAwake::stateFile(folder.path()), [](const std::string&) {});
    }

    static bool eventually(const std::function<bool()>& done) {
        const auto deadline = std::chrono::steady_clock::now() + 10s;
        while (std::chrono::steady_clock::now() < deadline) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            if (done())
                return true;
            std::this_thread::sleep_for(50ms);
        }
        return false;
    }

    brindtest::TemporaryFolder folder{"vq-stay-awake"};
    packagetest::PrivateSessionBus bus{folder.path()};
    std::unique_ptr<BackgroundProgram> mock;
    QByteArray previous;
    ManualScheduler scheduler;
    std::vector<std::string> log;
};

TEST_F(MockLogind, ATimedModeHoldsTheInhibitorUntilItsMoment) {
    StayAwake stayAwake(scheduler, StayAwake::stateFile(folder.path()),
                        [this](const std::string& line) { log.push_back(line); });
    stayAwake.setMode(brind::WidgetStayAwakeMode::preset(15, scheduler.now()));
    EXPECT_TRUE(eventually([this] { return inhibited(); }));
    EXPECT_TRUE(stayAwake.isOn());

    scheduler.advance(15 * 60);
    EXPECT_EQ(stayAwake.mode(), brind::WidgetStayAwakeMode::off());
    EXPECT_TRUE(eventually([this] { return !inhibited(); })) << "logind still holds the inhibitor";
    EXPECT_TRUE(log.empty()) << log.front();
}

TEST_F(MockLogind, TheInhibitorEndsWithTheIslandAndComesBackWithIt) {
    auto stayAwake = make();
    stayAwake->setMode(brind::WidgetStayAwakeMode::indefinite());
    ASSERT_TRUE(eventually([this] { return inhibited(); }));
    stayAwake.reset();
    EXPECT_TRUE(eventually([this] { return !inhibited(); }));

    // The next start takes the mode up again from the data folder.
    stayAwake = make();
    EXPECT_EQ(stayAwake->mode(), brind::WidgetStayAwakeMode::indefinite());
    EXPECT_TRUE(eventually([this] { return inhibited(); }));
    stayAwake->setMode(brind::WidgetStayAwakeMode::off());
    EXPECT_TRUE(eventually([this] { return !inhibited(); }));
}

} // namespace
} // namespace vq
