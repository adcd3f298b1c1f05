#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "tests/e2e/E2EFixture.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/providers/SoundServer.hpp"
#include "tests/support/LoopbackHTTPServer.hpp"
#include "tests/support/SystemServiceMock.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/providers/PomodoroController.hpp"
#include "vantaquill/providers/StatsSampler.hpp"
#include "vantaquill/providers/ThemeSound.hpp"
#include "vantaquill/providers/ThermalSensors.hpp"
#include "vantaquill/providers/WeatherProvider.hpp"

#include <QCoreApplication>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// The widgets' providers: the Pomodoro timer and its sounds, the system's statistics and the weather.
namespace vq {
namespace {

using namespace std::chrono_literals;
using Phase = brind::WidgetPomodoro::Phase;

// Noon UTC: a run of a few simulated hours stays within one day.
constexpr brind::Date noon{1'700'049'600};

/// One-minute sessions, half-minute short breaks, a long break of a minute and a half every second
/// session.
brind::WidgetPomodoro::Config shortConfig(bool autoAdvance = false) {
    return {.work = 60, .shortBreak = 30, .longBreak = 90, .longBreakEvery = 2, .autoAdvance = autoAdvance};
}

class PomodoroControllerTest : public ::testing::Test {
  protected:
    PomodoroControllerTest() {
        // The day's count rolls over at local midnight; the tests pin the zone so that it is UTC's.
        ::setenv("TZ", "UTC", 1);
        ::tzset();
    }

    std::unique_ptr<PomodoroController> make(brind::WidgetPomodoro::Config config = shortConfig()) {
        return std::make_unique<PomodoroController>(scheduler, center, file(), config,
                                                    [this](const std::string& line) { log.push_back(line); });
    }

    std::filesystem::path file() const { return PomodoroController::stateFile(folder.path()); }

    const brind::LiveActivity* shown() const {
        for (const auto& activity : center.activities())
            if (activity.id == "widgets.pomodoro")
                return &activity;
        return nullptr;
    }

    brindtest::TemporaryFolder folder{"vq-pomodoro"};
    ManualScheduler scheduler{noon};
    LiveActivityCenter center{scheduler};
    std::vector<std::string> log;
};

TEST_F(PomodoroControllerTest, PhasesFollowTheClockAndTheActivityShowsThem) {
    auto controller = make();
    std::vector<Phase> finished;
    controller->onPhaseFinished = [&finished](Phase phase) { finished.push_back(phase); };
    EXPECT_EQ(shown(), nullptr) << "a timer nobody started is not in the island";
    EXPECT_FALSE(std::filesystem::exists(file())) << "nor on disk";

    // What the activity shows in each state is in the widget's own tests; here, that it is shown and kept.
    controller->toggle();
    ASSERT_NE(shown(), nullptr);
    EXPECT_TRUE(controller->isTicking());

    scheduler.advance(30);
    EXPECT_DOUBLE_EQ(shown()->progress.value_or(-1), 0.5) << "the countdown moves with the ticks";

    scheduler.advance(30);
    EXPECT_EQ(controller->pomodoro().phase, Phase::shortBreak);
    EXPECT_EQ(controller->pomodoro().totalCompleted, 1);
    EXPECT_FALSE(controller->pomodoro().isRunning()) << "without auto-advance the break waits to be started";
    EXPECT_FALSE(controller->isTicking());
    EXPECT_EQ(shown()->subtitle, "Focus done");
    EXPECT_TRUE(shown()->alert);
    EXPECT_EQ(shown()->actions.at(0).label, "Start short break");

    // Two sessions make a long break; with auto-advance each phase starts on the last one's end.
    controller->applyConfig(shortConfig(true));
    controller->toggle();
    scheduler.advance(30);
    EXPECT_EQ(controller->pomodoro().phase, Phase::work);
    EXPECT_EQ(controller->pomodoro().endsAt, noon + 60 + 30 + 60);
    scheduler.advance(60);
    EXPECT_EQ(controller->pomodoro().phase, Phase::longBreak);
    EXPECT_EQ(shown()->subtitle, "Focus done");
    scheduler.advance(90);
    EXPECT_EQ(controller->pomodoro().phase, Phase::work);
    EXPECT_EQ(shown()->subtitle, "Break over");
    EXPECT_EQ(controller->pomodoro().totalCompleted, 2);
    EXPECT_EQ(finished, (std::vector{Phase::work, Phase::shortBreak, Phase::work, Phase::longBreak}));
    controller->skip();
    EXPECT_EQ(finished.size(), 4u) << "a skipped phase did not end by itself";
    EXPECT_TRUE(log.empty()) << log.front();
}

TEST_F(PomodoroControllerTest, TheButtonsDriveTheTimerAndNothingTicksWhilePausedOrStopped) {
    auto controller = make();
    int changes = 0;
    controller->onChange = [&changes] { ++changes; };
    controller->toggle();
    scheduler.advance(10);
    center.perform("widgets.pomodoro", "toggle");
    EXPECT_FALSE(controller->pomodoro().isRunning());
    EXPECT_FALSE(controller->isTicking());
    EXPECT_EQ(scheduler.pendingCount(), 0u) << "a paused timer keeps no timer of its own";
    changes = 0;
    scheduler.advance(600);
    EXPECT_EQ(changes, 0);
    EXPECT_DOUBLE_EQ(controller->pomodoro().remaining(scheduler.now()), 50);
    EXPECT_EQ(shown()->actions.at(0).label, "Resume");

    center.perform("widgets.pomodoro", "skip");
    EXPECT_EQ(controller->pomodoro().phase, Phase::shortBreak);
    EXPECT_EQ(controller->pomodoro().totalCompleted, 0) << "a skipped session is not counted";
    center.perform("widgets.pomodoro", "stop");
    EXPECT_EQ(controller->pomodoro().phase, Phase::work);
    EXPECT_EQ(shown(), nullptr) << "a stopped timer leaves the island";
    EXPECT_EQ(scheduler.pendingCount(), 0u);
}

TEST_F(PomodoroControllerTest, ARestartContinuesWhereTheTimerWasUntilANewDay) {
    // An unreadable file starts afresh and says so.
    ASSERT_TRUE(brind::AtomicFile::write(file(), "{not json"));
    auto controller = make();
    EXPECT_EQ(controller->pomodoro(), brind::WidgetPomodoro::make(shortConfig()));
    ASSERT_EQ(log.size(), 1u);
    EXPECT_NE(log[0].find("not readable"), std::string::npos) << log[0];

    controller->toggle();
    scheduler.advance(20);
    controller.reset();

    // Running: the end moment carries on while the island is not running.
    scheduler.advance(10);
    controller = make();
    EXPECT_TRUE(controller->pomodoro().isRunning());
    EXPECT_DOUBLE_EQ(controller->pomodoro().remaining(scheduler.now()), 30);
    ASSERT_NE(shown(), nullptr);
    EXPECT_TRUE(controller->isTicking());

    // Paused: the time left is kept as it was.
    controller->toggle();
    controller.reset();
    scheduler.advance(3600);
    controller = make();
    EXPECT_FALSE(controller->pomodoro().isRunning());
    EXPECT_DOUBLE_EQ(controller->pomodoro().remaining(scheduler.now()), 30);

    // A phase that ended while the island was closed is finished at the start.
    controller->toggle();
    controller.reset();
    scheduler.advance(45);
    controller = make();
    EXPECT_EQ(controller->pomodoro().phase, Phase::shortBreak);
    EXPECT_EQ(controller->pomodoro().totalCompleted, 1);
    EXPECT_EQ(shown()->subtitle, "Focus done");

    // Settings changed meanwhile: a break that has not begun takes its new length.
    controller.reset();
    auto longer = shortConfig();
    longer.shortBreak = 300;
    controller = make(longer);
    EXPECT_DOUBLE_EQ(controller->pomodoro().remaining(scheduler.now()), 300);

    // Yesterday's sessions are not today's: only the count starts again.
    controller.reset();
    scheduler.advance(24 * 3600);
    controller = make();
    EXPECT_EQ(controller->pomodoro().totalCompleted, 0);
    EXPECT_EQ(controller->pomodoro().phase, Phase::shortBreak);
}

TEST(ThemeSound, PlaysTheThemesSoundOnTheSessionsServerAndWithoutOneSaysSoOnce) {
    ASSERT_TRUE(std::filesystem::exists("/usr/share/sounds/freedesktop/stereo/alarm-clock-elapsed.oga"))
        << "package sound-theme-freedesktop is missing";
    e2e::TemporaryHome home;
    std::vector<std::string> log;
    {
        SessionOf nobody({{"HOME", home.path().string()},
                          {"XDG_RUNTIME_DIR", home.path().string()},
                          {"PULSE_SERVER", "unix:" + (home.path() / "nobody").string()}});
        ThemeSound sounds([&log](const std::string& line) { log.push_back(line); });
        sounds.play("alarm-clock-elapsed", "Focus done");
        sounds.play("alarm-clock-elapsed", "Break over");
        ASSERT_EQ(log.size(), 1u);
        EXPECT_NE(log[0].find("no sounds"), std::string::npos) << log[0];
    }
    log.clear();
    SoundServer server(home);
    ASSERT_TRUE(server.waitUntilReady()) << "PulseAudio did not start";
    SessionOf session({{"HOME", home.path().string()}, {"XDG_RUNTIME_DIR", home.path().string()}});
    ThemeSound sounds([&log](const std::string& line) { log.push_back(line); });
    sounds.play("alarm-clock-elapsed", "Focus done");
    // The stream is there for as long as the sound plays (about a second on the null sink).
    std::string last;
    EXPECT_TRUE(eventually(
        [&] {
            const auto streams = server.control({"list", "sink-inputs"}).value_or("");
            last = streams.empty() ? last : streams;
            return streams.find("application.name = \"vantaquill\"") != std::string::npos &&
                   streams.find("Focus done") != std::string::npos;
        },
        20ms))
        << last << server.control({"list", "clients"}).value_or("");
    EXPECT_TRUE(log.empty()) << log.front();
}

/// Puts reading `number` of tests/data/providers/proc (the three kernel files the sampler reads, in
/// the kernel's own layout) in `folder`.
void writeProc(const std::filesystem::path& folder, int number) {
    std::filesystem::copy(std::string(BRIND_TEST_DATA) + "/providers/proc/" + std::to_string(number), folder,
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::overwrite_existing);
}

TEST(ProcStats, ReadsTheKernelsOwnFiles) {
    // The machine's own files: whatever it runs, they must parse.
    const auto cpu = ProcStats::cpu(brind::AtomicFile::read("/proc/stat").value_or(""));
    ASSERT_TRUE(cpu.has_value());
    EXPECT_GT(cpu->total(), 0u);
    const auto memory = ProcStats::memory(brind::AtomicFile::read("/proc/meminfo").value_or(""));
    ASSERT_TRUE(memory.has_value());
    EXPECT_GT(memory->total, memory->available);
    EXPECT_FALSE(ProcStats::network(brind::AtomicFile::read("/proc/net/dev").value_or("")).contains("lo"));

    // user nice system idle iowait irq softirq steal: waiting for the disk is idle, interrupts and
    // stolen time are system time.
    EXPECT_EQ(ProcStats::cpu("cpu  10 2 30 400 5 6 7 8 0 0\n"), (brind::WidgetCPUTicks{10, 51, 405, 2}));
    EXPECT_EQ(ProcStats::cpu("cpu0 1 2 3 4\n"), std::nullopt) << "a single core is not the machine";
    EXPECT_EQ(ProcStats::cpu("cpu  1 x 3 4\n"), std::nullopt);
    EXPECT_EQ(ProcStats::memory("MemTotal: 10 kB\n"), std::nullopt);
}

// Each machine is a folder of tests/data/providers/thermal standing in for /sys/class.
TEST(ThermalSensors, PrefersTheProcessorsOwnSensorThenItsZoneThenTheHottestZone) {
    const std::pair<std::string, std::optional<double>> machines[] = {
        {"processor-monitor", 54.0}, // coretemp over a hotter ACPI monitor and the package's zone
        {"processor-zone", 47.5},    // cpu-thermal over a hotter ACPI zone
        {"hottest-zone", 44.0},      // none is the processor's
        {"no-value", std::nullopt},  // a driver's no-value and an unreadable reading are passed over
        {"nothing", std::nullopt},   // a machine that reports nothing
    };
    for (const auto& [machine, celsius] : machines)
        EXPECT_EQ(
            ThermalSensors::processorCelsius(std::string(BRIND_TEST_DATA) + "/providers/thermal/" + machine),
            celsius)
            << machine;
}

TEST(StatsSampler, SamplesOnlyWhileStartedAndMeasuresAgainstThePreviousReading) {
    brindtest::TemporaryFolder proc{"vq-proc"};
    ManualScheduler scheduler;
    StatsSampler sampler(scheduler, proc.path());
    int samples = 0;
    sampler.onSample = [&samples] { ++samples; };
    writeProc(proc.path(), 1);

    scheduler.advance(5);
    EXPECT_EQ(samples, 0) << "nothing is read before it starts";
    sampler.start();
    EXPECT_EQ(samples, 1);
    EXPECT_EQ(sampler.cpu().count(), 0u) << "a first reading has nothing to compare with";
    EXPECT_DOUBLE_EQ(sampler.memory().last().value_or(-1), 0.25);

    // 300 of 1000 ticks busy; 2000 bytes in and 1000 out over one second.
    writeProc(proc.path(), 2);
    scheduler.advance(StatsSampler::interval);
    EXPECT_EQ(samples, 2);
    EXPECT_DOUBLE_EQ(sampler.cpu().last().value_or(-1), 0.3);
    EXPECT_DOUBLE_EQ(sampler.memory().last().value_or(-1), 0.75);
    EXPECT_DOUBLE_EQ(sampler.received().last().value_or(-1), 2000);
    EXPECT_DOUBLE_EQ(sampler.sent().last().value_or(-1), 1000);

    // An interface that came back up counts from zero, never as a wrap of its counter.
    writeProc(proc.path(), 3);
    scheduler.advance(StatsSampler::interval);
    EXPECT_DOUBLE_EQ(sampler.received().last().value_or(-1), 400);

    sampler.stop();
    EXPECT_FALSE(sampler.isRunning());
    EXPECT_EQ(scheduler.pendingCount(), 0u);
    EXPECT_EQ(sampler.cpu().count(), 0u);
    scheduler.advance(60);
    EXPECT_EQ(samples, 3);
}

using brind::WidgetTemperatureUnit;

// Answers in the services' own shape: units beside the values, a null where a model ran out.
const std::string lisbonForecast = e2e::readFixture("providers/lisbon-forecast.json");
const std::string lisbonPlaces = e2e::readFixture("providers/lisbon-places.json");
const brind::WidgetPlace lisbon{
    .name = "Lisbon", .region = "Lisbon", .country = "Portugal", .latitude = 38.71667, .longitude = -9.13333};

class WeatherTest : public ::testing::Test {
  protected:
    WeatherTest() {
        if (!QCoreApplication::instance())
            application = std::make_unique<QCoreApplication>(argc, nullptr);
        server.answer("/v1/forecast", 200, lisbonForecast);
        server.answer("/v1/search", 200, lisbonPlaces);
    }

    WeatherSettings settings(std::string city,
                             WidgetTemperatureUnit unit = WidgetTemperatureUnit::celsius) const {
        return {.unit = unit,
                .city = std::move(city),
                .forecastHost = server.url(),
                .geocodingHost = server.url()};
    }
    static std::string stored(const brind::WidgetPlace& place) {
        return brind::JSONText::compact(place.json());
    }

    /// A provider on a bus that is not there, unless a test gives one.
    std::unique_ptr<WeatherProvider> make(WeatherSettings with,
                                          std::string bus = "unix:path=/nonexistent/bus") {
        return std::make_unique<WeatherProvider>(
            scheduler, file, std::move(with), [this](const std::string& line) { logs.push_back(line); }, bus);
    }

    /// Starts and waits for the first answer to be handled.
    void startAndSettle(WeatherProvider& provider) {
        provider.start(center);
        ASSERT_TRUE(pumpUntil([&] { return !provider.isFetching(); }));
    }
    std::size_t logsContaining(const std::string& text) const {
        return static_cast<std::size_t>(std::ranges::count_if(
            logs, [&](const std::string& line) { return line.find(text) != std::string::npos; }));
    }

    int argc = 0;
    std::unique_ptr<QCoreApplication> application;
    brindtest::TemporaryFolder folder{"vq-weather"};
    std::filesystem::path file = WeatherForecastFile::path(folder.path());
    LoopbackHTTPServer server;
    ManualScheduler scheduler;
    LiveActivityCenter center{scheduler};
    std::vector<std::string> logs;
};

TEST_F(WeatherTest, FetchesTheChosenPlaceInItsUnitKeepsItAndRefreshesWhenItGoesStale) {
    auto provider = make(settings(stored(lisbon)));
    startAndSettle(*provider);
    ASSERT_TRUE(provider->current().has_value()) << provider->error();
    EXPECT_EQ(provider->current()->place, "Lisbon, Portugal");
    EXPECT_DOUBLE_EQ(provider->current()->forecast.temperature, 17.6);
    EXPECT_EQ(provider->current()->forecast.days.size(), 2u) << "a day the model has no high for is left out";
    EXPECT_EQ(WeatherForecastFile::load(file), provider->current()) << "the last good forecast is on disk";
    const std::string asked = server.requestsFor("/v1/forecast").at(0);
    for (const char* part :
         {"latitude=38.7167&longitude=-9.1333", "temperature_unit=celsius", "User-Agent: vantaquill/1.0"})
        EXPECT_NE(asked.find(part), std::string::npos) << part << " in " << asked;

    // Started again while it is fresh: shown from disk, nothing asked.
    provider = make(settings(stored(lisbon)));
    provider->start(center);
    EXPECT_TRUE(provider->fromDisk());
    EXPECT_FALSE(provider->isFetching());
    // One timer, set to the moment the forecast goes stale: nothing is asked before it.
    EXPECT_EQ(scheduler.pendingCount(), 1u);
    scheduler.advance(WeatherProvider::maxAge - 1);
    EXPECT_FALSE(provider->isFetching());
    scheduler.advance(1);
    EXPECT_TRUE(provider->isFetching());
    ASSERT_TRUE(pumpUntil([&] { return !provider->isFetching(); }));

    // Another unit is asked for at once, and the forecast records it.
    provider->applySettings(settings(stored(lisbon), WidgetTemperatureUnit::fahrenheit));
    ASSERT_TRUE(pumpUntil([&] { return !provider->isFetching(); }));
    EXPECT_EQ(server.requestsFor("/v1/forecast").size(), 3u);
    EXPECT_NE(server.requestsFor("/v1/forecast").back().find("temperature_unit=fahrenheit"),
              std::string::npos);
    EXPECT_EQ(WeatherForecastFile::load(file)->unit, WidgetTemperatureUnit::fahrenheit);
}

TEST_F(WeatherTest, AFailedFetchKeepsThePreviousForecastAndTriesAgainLater) {
    struct Failure {
        int status;
        std::string body;
        std::string said;
    };
    const std::vector<Failure> failures = {
        {500, "<html>Internal error</html>", "the weather service answered HTTP 500"},
        {400, R"({"reason":"Latitude must be in range of -90 to 90°. Given: 999.0.","error":true})",
         "refused the request: Latitude must be in range"},
        {200, "Service temporarily unavailable", "not JSON"},
        {200, R"({"current":{"weather_code":3,"is_day":1}})", "current.temperature_2m"},
    };
    // Asked for the location where no system bus answers: said once, the chosen place is used.
    WeatherSettings located = settings(stored(lisbon));
    located.useLocation = true;
    auto provider = make(located);
    startAndSettle(*provider);
    EXPECT_EQ(logsContaining("no location for the weather"), 1u);
    ASSERT_TRUE(provider->current().has_value());
    const WeatherForecastFile before = *provider->current();
    for (const auto& failure : failures) {
        SCOPED_TRACE(failure.said);
        server.answer("/v1/forecast", failure.status, failure.body);
        provider->refreshIfNeeded(true);
        ASSERT_TRUE(pumpUntil([&] { return !provider->isFetching(); }));
        EXPECT_EQ(provider->current(), before);
        EXPECT_EQ(WeatherForecastFile::load(file), before);
        EXPECT_NE(provider->error().find("Couldn't fetch the weather: "), std::string::npos)
            << provider->error();
        EXPECT_NE(provider->error().find(failure.said), std::string::npos) << provider->error();
    }
    // Stale and still failing at the retry: the log says it once.
    scheduler.advance(WeatherProvider::maxAge);
    ASSERT_TRUE(pumpUntil([&] { return !provider->isFetching(); }));
    EXPECT_EQ(provider->current(), before);
    EXPECT_EQ(logsContaining("current.temperature_2m"), 1u);
    EXPECT_EQ(scheduler.nextDue(), scheduler.now() + WeatherProvider::retryDelay);
    // The service answers again: the error goes.
    server.answer("/v1/forecast", 200, lisbonForecast);
    scheduler.advance(WeatherProvider::retryDelay);
    ASSERT_TRUE(pumpUntil([&] { return !provider->isFetching(); }));
    EXPECT_EQ(provider->error(), "");
    EXPECT_GT(provider->current()->forecast.fetchedAt, before.forecast.fetchedAt);
}

// The system bus as a desktop has it: logind, NetworkManager and GeoClue.
TEST_F(WeatherTest, FollowsTheLocationWakingAndTheNetworkComingBack) {
    if (!SystemServiceMock::installed())
        GTEST_SKIP() << "python3-dbusmock is not installed";
    // GeoClue as the desktop runs it: a client per application that reports a location once started.
    SystemServiceMock system(folder.path() / "bus", "org.freedesktop.GeoClue2",
                             std::string(BRIND_TEST_DATA) + "/providers/geoclue_template.py");
    ASSERT_TRUE(system.running());
    ASSERT_TRUE(system.serve("org.freedesktop.login1", "logind"));
    ASSERT_TRUE(system.serve("org.freedesktop.NetworkManager", "networkmanager"));
    const auto run = [&](const std::string& script) { return system.script(script).out; };
    const auto client = [&](const std::string& property) {
        return run(
            "print(bus.get_object('org.freedesktop.GeoClue2', '/org/freedesktop/GeoClue2/Client/1').Get("
            "'org.freedesktop.GeoClue2.Client', '" +
            property + "', dbus_interface='org.freedesktop.DBus.Properties'))");
    };
    WeatherSettings located = settings(stored(lisbon));
    located.useLocation = true;
    auto provider = make(located, system.address());
    provider->start(center);
    ASSERT_TRUE(pumpUntil([&] { return provider->current().has_value(); })) << provider->error();
    EXPECT_EQ(provider->current()->place, "Madrid");
    EXPECT_NE(server.requestsFor("/v1/forecast").at(0).find("latitude=40.4165&longitude=-3.7026"),
              std::string::npos);
    EXPECT_EQ(client("DesktopId"), "vantaquill\n") << "the desktop's location permission knows it by this";
    EXPECT_EQ(client("RequestedAccuracyLevel"), "4\n") << "a city is all the weather needs";

    // Gone stale while the service failed: waking, then the network coming back, fetch at once
    // instead of waiting for the retry.
    const std::vector<std::string> events = {
        "bus.get_object('org.freedesktop.login1', "
        "'/org/freedesktop/login1').EmitSignal('org.freedesktop.login1.Manager', "
        "'PrepareForSleep', 'b', [False], dbus_interface='org.freedesktop.DBus.Mock')",
        "network = bus.get_object('org.freedesktop.NetworkManager', '/org/freedesktop/NetworkManager')\n"
        "network.SetGlobalConnectionState(dbus.UInt32(20), dbus_interface='org.freedesktop.DBus.Mock')\n"
        "network.SetGlobalConnectionState(dbus.UInt32(70), dbus_interface='org.freedesktop.DBus.Mock')"};
    for (const auto& event : events) {
        server.answer("/v1/forecast", 503, "busy");
        scheduler.advance(WeatherProvider::maxAge);
        ASSERT_TRUE(pumpUntil([&] { return !provider->isFetching() && !provider->error().empty(); }));
        server.answer("/v1/forecast", 200, lisbonForecast);
        run(event);
        EXPECT_TRUE(pumpUntil([&] { return provider->error().empty(); })) << event;
    }
    EXPECT_EQ(server.requestsFor("/v1/forecast").size(), 5u);

    // Switched off: GeoClue's client is stopped and the chosen place is fetched.
    provider->applySettings(settings(stored(lisbon)));
    ASSERT_TRUE(pumpUntil([&] { return provider->current()->place == "Lisbon, Portugal"; }));
    EXPECT_TRUE(pumpUntil([&] { return client("Active") == "0\n"; }));
}

// The real island, headless: its console says what the weather and the wings show. A second run,
// after the service has gone (nothing listens), shows the forecast from disk and says why.
TEST(WeatherEndToEnd, TheIslandFetchesShowsTheWeatherInAWingAndStartsOfflineFromDisk) {
    e2e::TemporaryHome home;
    LoopbackHTTPServer server;
    server.answer("/v1/search", 200, lisbonPlaces);
    server.answer("/v1/forecast", 200, lisbonForecast);
    for (const auto& [service, from] :
         {std::pair<std::string, std::string>{server.url(), "network"}, {"http://127.0.0.1:9", "disk"}}) {
        SCOPED_TRACE(from);
        writePreferences(home, "widgets.weather.city=Lisbon\nwidgets.weather.forecastHost=\"" + service +
                                   "\"\nwidgets.weather.geocodingHost=\"" + service +
                                   "\"\nwidgets.wings.enabled=true\nwidgets.wings.leading=date\n"
                                   "widgets.wings.trailing=weather\n");
        e2e::IslandProcess island(home);
        ASSERT_NE(island.port(), 0) << island.errors();
        EXPECT_TRUE(island.waitForLine(R"(weather place="Lisbon, Portugal" temperature=17.60 unit="celsius" )"
                                       R"(condition="Partly cloudy" from=")" +
                                           from + "\"",
                                       patience));
        EXPECT_TRUE(eventually([&] {
            return sawLine(island, R"(wings shown leading=")") && sawLine(island, R"(trailing="18°")");
        }));
        if (from == "disk") {
            EXPECT_TRUE(
                island.waitForLine(R"(weather failed message="Couldn't fetch the weather: )", patience));
        }
    }
}

} // namespace
} // namespace vq
