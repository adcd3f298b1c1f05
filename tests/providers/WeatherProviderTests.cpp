#include "vantaquill/providers/WeatherProvider.hpp"

#include "BrindKit/foundation/JSON.hpp"
#include "tests/e2e/E2EFixture.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/support/LoopbackHTTPServer.hpp"
#include "tests/support/SystemServiceMock.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vq {
namespace {

using namespace std::chrono_literals;
using brind::WidgetTemperatureUnit;

// Answers in the services' own shape: units beside the values, a null where a model ran out.
const std::string lisbonForecast = e2e::readFixture("providers/lisbon-forecast.json");
const std::string lisbonPlaces = e2e::readFixture("providers/lisbon-places.json");
const brind::WidgetPlace lisbon{.name = "Lisbon", .region = "Lisbon", .country = "Portugal", .latitude = 38.71667,
                                .longitude = -9.13333};

class WeatherTest : public ::testing::Test {
protected:
    WeatherTest() {
        if (!QCoreApplication::instance())
            application = std::make_unique<QCoreApplication>(argc, nullptr);
        server.answer("/v1/forecast", 200, lisbonForecast);
        server.answer("/v1/search", 200, lisbonPlaces);
    }

    WeatherSettings settings(std::string city, WidgetTemperatureUnit unit = WidgetTemperatureUnit::celsius) const {
        return {.unit = unit, .city = std::move(city), .forecastHost = server.url(), .geocodingHost = server.url()};
    }
    static std::string stored(const brind::WidgetPlace& place) { return brind::JSONText::compact(place.json()); }

    /// A provider on a bus that is not there, unless a test gives one.
    std::unique_ptr<WeatherProvider> make(WeatherSettings with, std::string bus = "unix:path=/nonexistent/bus") {
        return std::make_unique<WeatherProvider>(scheduler, file, std::move(with),
                                                 [this](const std::string& line) { logs.push_back(line); }, bus);
    }

    static bool pumpUntil(const std::function<bool()>& done) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (std::chrono::steady_clock::now() < deadline) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            if (done())
                return true;
            std::this_thread::sleep_for(5ms);
        }
        return false;
    }
    /// Starts and waits for the first answer to be handled.
    void startAndSettle(WeatherProvider& provider) {
        provider.start(center);
        ASSERT_TRUE(pumpUntil([&] { return !provider.isFetching(); }));
    }
    std::size_t logsContaining(const std::string& text) const {
        return static_cast<std::size_t>(
            std::ranges::count_if(logs, [&](const std::string& line) { return line.find(text) != std::string::npos; }));
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
    for (const char* part : {"latitude=38.7167&longitude=-9.1333", "temperature_unit=celsius", "User-Agent: vantaquill/1.0"})
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
    EXPECT_NE(server.requestsFor("/v1/forecast").back().find("temperature_unit=fahrenheit"), std::string::npos);
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
        EXPECT_NE(provider->error().find("Couldn't fetch the weather: "), std::string::npos) << provider->error();
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
        return run("print(bus.get_object('org.freedesktop.GeoClue2', '/org/freedesktop/GeoClue2/Client/1').Get("
                   "'org.freedesktop.GeoClue2.Client', '" + property + "', dbus_interface='org.freedesktop.DBus.Properties'))");
    };
    WeatherSettings located = settings(stored(lisbon));
    located.useLocation = true;
    auto provider = make(located, system.address());
    provider->start(center);
    ASSERT_TRUE(pumpUntil([&] { return provider->current().has_value(); })) << provider->error();
    EXPECT_EQ(provider->current()->place, "Madrid");
    EXPECT_NE(server.requestsFor("/v1/forecast").at(0).find("latitude=40.4165&longitude=-3.7026"), std::string::npos);
    EXPECT_EQ(client("DesktopId"), "vantaquill\n") << "the desktop's location permission knows it by this";
    EXPECT_EQ(client("RequestedAccuracyLevel"), "4\n") << "a city is all the weather needs";

    // Gone stale while the service failed: waking, then the network coming back, fetch at once
    // instead of waiting for the retry.
    const std::vector<std::string> events = {
        "bus.get_object('org.freedesktop.login1', '/org/freedesktop/login1').EmitSignal('org.freedesktop.login1.Manager', "
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
    for (const auto& [service, from] : {std::pair<std::string, std::string>{server.url(), "network"},
                                        {"http://127.0.0.1:9", "disk"}}) {
        SCOPED_TRACE(from);
        writePreferences(home, "widgets.weather.city=Lisbon\nwidgets.weather.forecastHost=\"" + service +
                                   "\"\nwidgets.weather.geocodingHost=\"" + service +
                                   "\"\nwidgets.wings.enabled=true\nwidgets.wings.leading=date\n"
                                   "widgets.wings.trailing=weather\n");
        e2e::IslandProcess island(home);
        ASSERT_NE(island.port(), 0) << island.errors();
        EXPECT_TRUE(island.waitForLine(R"(weather place="Lisbon, Portugal" temperature=17.60 unit="celsius" )"
                                       R"(condition="Partly cloudy" from=")" + from + "\"",
                                       patience));
        EXPECT_TRUE(eventually([&] {
            return sawLine(island, R"(wings shown leading=")") && sawLine(island, R"(trailing="18°")");
        }));
        if (from == "disk") {
            EXPECT_TRUE(island.waitForLine(R"(weather failed message="Couldn't fetch the weather: )", patience));
        }
    }
}

} // namespace
} // namespace vq
