#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/e2e/E2EProcess.hpp"
#include "tests/settings/Eventually.hpp"
#include "tests/support/SystemServiceMock.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/settings/StayAwake.hpp"

#include <QCoreApplication>
#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <sstream>

namespace vq {
namespace {

/// Whether logind, as the mock on `bus` serves it, lists an inhibitor of ours.
bool inhibited(const std::string& bus) {
    return e2e::run("/usr/bin/dbus-send",
                    {"--bus=" + bus, "--print-reply", "--dest=org.freedesktop.login1",
                     "/org/freedesktop/login1", "org.freedesktop.login1.Manager.ListInhibitors"},
                    {})
               .out.find("\"vantaquill\"") != std::string::npos;
}

/// A desktop idle inhibitor, served by python3-dbusmock from the template in tests/data/stay-awake,
/// which notes every call; and the arguments the island is expected to pass to its Inhibit.
struct DesktopService {
    std::string name;
    std::string release;
    std::string arguments;
};

const DesktopService desktopServices[] = {
    {"org.gnome.SessionManager", "Uninhibit", "io.vantaquill.Island|0|Stay awake is on|8"},
    {"org.freedesktop.ScreenSaver", "UnInhibit", "vantaquill|Stay awake is on"},
};

std::vector<std::string> lines(const std::filesystem::path& file) {
    std::vector<std::string> result;
    std::istringstream text(brind::AtomicFile::read(file).value_or(""));
    for (std::string line; std::getline(text, line);)
        result.push_back(line);
    return result;
}

/// Points the buses QtDBus connects to at private ones until destroyed.
struct BusAddresses {
    BusAddresses(const std::string& system, const std::string& session) {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", QByteArray::fromStdString(system));
        qputenv("DBUS_SESSION_BUS_ADDRESS", QByteArray::fromStdString(session));
    }
    ~BusAddresses() {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", previousSystem);
        qputenv("DBUS_SESSION_BUS_ADDRESS", previousSession);
    }
    QByteArray previousSystem = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    QByteArray previousSession = qgetenv("DBUS_SESSION_BUS_ADDRESS");
};

/// logind from python3-dbusmock's template on a private bus standing in for the system bus (its
/// `Inhibit` hands out a descriptor and forgets the inhibitor when that closes, as logind does),
/// and the desktops' idle inhibitors on a private session bus.
class StayAwakeServices : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(SystemServiceMock::installed()) << "python3-dbusmock is missing";
        ASSERT_TRUE(system.running()) << "logind's mock did not start";
        for (const auto& service : desktopServices) {
            const auto file = (folder.path() / (service.name + ".py")).string();
            std::filesystem::copy_file(BRIND_TEST_DATA "/stay-awake/idle-inhibitor.py", file);
            // The first starts the bus, the next ones join it.
            const bool served = desktop ? desktop->serve(service.name, file)
                                        : (desktop = std::make_unique<SystemServiceMock>(
                                               folder.path() / "session", service.name, file))
                                              ->running();
            ASSERT_TRUE(served) << service.name << " did not start";
        }
        buses.emplace(system.address(), desktop->address());
    }

    std::filesystem::path record(const DesktopService& service) const {
        return folder.path() / (service.name + ".calls");
    }

    std::unique_ptr<StayAwake> make() {
        return std::make_unique<StayAwake>(scheduler, StayAwake::stateFile(folder.path()),
                                           [this](const std::string& line) { log.push_back(line); });
    }

    brindtest::TemporaryFolder folder{"vq-stay-awake"};
    SystemServiceMock system{folder.path() / "system", "org.freedesktop.login1", "logind"};
    std::unique_ptr<SystemServiceMock> desktop;
    std::optional<BusAddresses> buses;
    ManualScheduler scheduler;
    std::vector<std::string> log;
};

enum class Ending { turnedOff, turnedOffBeforeTheAnswers, timedModeRunsOut, quit };

TEST_F(StayAwakeServices, EveryInhibitorTakenIsHandedBackHoweverStayAwakeEnds) {
    struct Row {
        const char* name;
        brind::WidgetStayAwakeMode mode;
        Ending ending;
    };
    const Row rows[] = {
        {"until turned off, then off", brind::WidgetStayAwakeMode::indefinite(), Ending::turnedOff},
        // The answers reach a switch that is off again: what they hand out is handed back at once.
        {"until turned off, then off before logind and the desktop answer",
         brind::WidgetStayAwakeMode::indefinite(), Ending::turnedOffBeforeTheAnswers},
        {"for 15 minutes, which pass", brind::WidgetStayAwakeMode::preset(15, scheduler.now()),
         Ending::timedModeRunsOut},
        {"until turned off, then the island quits", brind::WidgetStayAwakeMode::indefinite(), Ending::quit},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        for (const auto& service : desktopServices)
            std::filesystem::remove(record(service));
        auto stayAwake = make();
        stayAwake->setMode(row.mode);
        if (row.ending != Ending::turnedOffBeforeTheAnswers) {
            EXPECT_TRUE(eventually([&] { return stayAwake->isOn() && inhibited(system.address()); }));
            for (const auto& service : desktopServices)
                EXPECT_TRUE(eventually([&] { return lines(record(service)).size() == 1; })) << service.name;
        }

        switch (row.ending) {
        case Ending::turnedOff:
        case Ending::turnedOffBeforeTheAnswers:
            stayAwake->setMode(brind::WidgetStayAwakeMode::off());
            break;
        case Ending::timedModeRunsOut:
            scheduler.advance(15 * 60);
            EXPECT_EQ(stayAwake->mode(), brind::WidgetStayAwakeMode::off());
            break;
        case Ending::quit:
            stayAwake.reset();
            break;
        }
        if (stayAwake) {
            EXPECT_FALSE(stayAwake->isOn());
        }
        for (const auto& service : desktopServices) {
            ASSERT_TRUE(eventually([&] { return lines(record(service)).size() == 2; })) << service.name;
            // The cookie handed back is the one handed out.
            const auto calls = lines(record(service));
            const std::string cookie = calls[1].substr(calls[1].find(' ') + 1);
            EXPECT_EQ(calls[0], "Inhibit " + cookie + " " + service.arguments);
            EXPECT_EQ(calls[1], service.release + " " + cookie);
        }
        // Asked at the same moment as the desktops, so logind has answered by now too.
        EXPECT_TRUE(eventually([&] { return !inhibited(system.address()); }))
            << "logind still holds the inhibitor";
        if (row.ending == Ending::quit) { // kept for the next start, which the killed island's test makes
            EXPECT_EQ(brind::AtomicFile::read(StayAwake::stateFile(folder.path())),
                      R"({"mode":"indefinite"})");
        }
    }
    EXPECT_TRUE(log.empty()) << log.front();
}

/// Buses on which nobody serves: the island says once what it cannot do, and nothing is held.
TEST(StayAwakeWithoutServices, SaysOnceWhatItCannotHoldAndHoldsNothing) {
    ASSERT_TRUE(SystemServiceMock::installed()) << "python3-dbusmock is missing";
    brindtest::TemporaryFolder folder{"vq-stay-awake"};
    packagetest::PrivateSessionBus bus{folder.path()};
    ASSERT_TRUE(bus.running());
    ManualScheduler scheduler;
    std::vector<std::string> log;
    {
        const BusAddresses buses(bus.address(), bus.address());
        StayAwake stayAwake(scheduler, StayAwake::stateFile(folder.path()),
                            [&log](const std::string& line) { log.push_back(line); });
        for (int turn = 0; turn < 2; ++turn) {
            stayAwake.setMode(brind::WidgetStayAwakeMode::indefinite());
            EXPECT_TRUE(eventually([&] { return log.size() >= 2; }));
            stayAwake.setMode(brind::WidgetStayAwakeMode::off());
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 200);
        EXPECT_FALSE(stayAwake.isOn());
    }
    ASSERT_EQ(log.size(), 2u) << ::testing::PrintToString(log);
    // The two answers come in either order.
    std::sort(log.begin(), log.end());
    EXPECT_NE(log[0].find("cannot keep the computer awake: logind gave no inhibitor lock"), std::string::npos)
        << log[0];
    EXPECT_NE(log[1].find("no desktop idle inhibitor"), std::string::npos) << log[1];
}

// The island takes the mode up again at start; logind forgets an inhibitor once its descriptor
// closes, so a killed island holds nothing.
TEST_F(StayAwakeServices, AKilledIslandLeavesNothingHeld) {
    e2e::TemporaryHome home;
    // Kept on since an earlier run: the island takes it up at start.
    const auto dataFolder = home.path() / ".local/share/vantaquill";
    ASSERT_TRUE(brind::AtomicFile::write(StayAwake::stateFile(dataFolder), R"({"mode":"indefinite"})"));
    auto environment = home.environment();
    environment["DBUS_SYSTEM_BUS_ADDRESS"] = system.address();
    e2e::IslandProcess island({"--headless", "--port", "0"}, environment);
    ASSERT_NE(island.port(), 0) << "the island did not start";
    ASSERT_TRUE(eventually([&] { return inhibited(system.address()); })) << "the mode was not taken up";

    ::kill(island.processID(), SIGKILL);
    EXPECT_TRUE(eventually([&] { return !inhibited(system.address()); }))
        << "logind still holds a dead island's lock";
}

} // namespace
} // namespace vq
