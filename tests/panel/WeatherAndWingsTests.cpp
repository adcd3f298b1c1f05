#include "BrindKit/foundation/AtomicFile.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/widgets/WidgetsSection.hpp"
#include "vantaquill/panel/widgets/WingWidgets.hpp"
#include "vantaquill/providers/PomodoroController.hpp"
#include "vantaquill/providers/StatsSampler.hpp"
#include "vantaquill/providers/WeatherProvider.hpp"
#include "vantaquill/qt/Preferences.hpp"
#include "vantaquill/settings/StayAwake.hpp"
#include "tests/support/LoopbackHTTPServer.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <thread>

namespace vq {
namespace {

using brind::WidgetSideKind;

/// The kernel's files as the sampler reads them: 30 % of the processor busy between two readings
/// and a quarter of the memory in use.
void writeProc(const std::filesystem::path& folder, const std::string& cpu) {
    std::filesystem::create_directories(folder / "net");
    ASSERT_TRUE(brind::AtomicFile::write(folder / "stat", "cpu  " + cpu + "\n"));
    ASSERT_TRUE(brind::AtomicFile::write(folder / "meminfo", "MemTotal: 8000000 kB\nMemAvailable: 6000000 kB\n"));
    ASSERT_TRUE(brind::AtomicFile::write(folder / "net/dev", "h1\nh2\n  eth0: 1000 1 0 0 0 0 0 0 500 1 0 0 0 0 0 0\n"));
}

bool pumpUntil(const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < deadline) {
        QApplication::processEvents(QEventLoop::AllEvents, 20);
        if (done())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

class WeatherAndWingsTest : public ::testing::Test {
protected:
    WeatherAndWingsTest() {
        writeProc(proc.path(), "100 0 100 800 0 0 0 0");
        std::filesystem::create_directories(proc.path() / "class/power_supply/BAT0");
        for (const auto& [file, text] : {std::pair{"type", "Battery"}, std::pair{"status", "Discharging"},
                                         std::pair{"energy_now", "30000000"}, std::pair{"energy_full", "40000000"}})
            EXPECT_TRUE(brind::AtomicFile::write(proc.path() / "class/power_supply/BAT0" / file, std::string(text) + "\n"));
        WeatherForecastFile kept{.place = "Lisbon, Portugal", .unit = brind::WidgetTemperatureUnit::celsius};
        kept.forecast.temperature = 17.6;
        kept.forecast.fetchedAt = scheduler.now();
        EXPECT_TRUE(kept.save(WeatherForecastFile::path(folder.path())));
        weather.start(center);
        wings.onChange = [this] { ++wingChanges; };
    }
    ~WeatherAndWingsTest() override { weather.stop(); }

    brindtest::TemporaryFolder folder{"vq-wings"};
    brindtest::TemporaryFolder proc{"vq-wings-proc"};
    ManualScheduler scheduler;
    LiveActivityCenter center{scheduler};
    Preferences preferences{folder.path() / "vantaquill.conf"};
    PomodoroController pomodoro{scheduler, center, PomodoroController::stateFile(folder.path()),
                                preferences.pomodoro(), [](const std::string&) {}};
    StayAwake stayAwake{scheduler, StayAwake::stateFile(folder.path()), [](const std::string&) {}};
    StatsSampler stats{scheduler, proc.path()};
    LoopbackHTTPServer server;
    WeatherProvider weather{scheduler,
                            WeatherForecastFile::path(folder.path()),
                            {.city = "", .useLocation = false, .forecastHost = server.url(), .geocodingHost = server.url()},
                            [](const std::string&) {},
                            "unix:path=/nonexistent/bus"};
    WingWidgets wings{{.scheduler = scheduler, .center = center, .stats = stats, .stayAwake = stayAwake,
                       .weather = &weather, .sysClass = proc.path() / "class", .diskFolder = folder.path()}};
    int wingChanges = 0;
};

TEST_F(WeatherAndWingsTest, WingsShowTheirWidgetsOnlyWhileNoActivityHasThem) {
    struct Case {
        const char* leading;
        const char* trailing;
        bool enabled;
        std::string shownLeading;
        std::string shownTrailing;
        bool sampling;
    };
    const std::vector<Case> cases = {
        {"cpu memory", "weather", true, "CPU \u200730%  MEM \u200725%", "18°", true},
        {"weather", "", true, "18°", "", false},
        // Unknown names are left out; a kind placed already is not placed twice.
        {"sunshine, weather", "weather memory", true, "18°", "MEM \u200725%", true},
        // The battery from the kernel's power-supply class; the disk holding the home folder.
        {"battery", "disk", true, "BAT \u200775%", "DISK", true},
        // Kinds with nothing to show here leave the island closed.
        {"gpu nextEvent", "", true, "", "", false},
        {"cpu", "weather", false, "", "", false},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(std::string(each.leading) + " | " + each.trailing);
        wings.apply(false, {});
        writeProc(proc.path(), "100 0 100 800 0 0 0 0");
        wings.apply(each.enabled, WingWidgets::layoutNamed(each.leading, each.trailing));
        EXPECT_EQ(stats.isRunning(), each.sampling);
        // 300 of 1000 ticks busy since the first reading.
        writeProc(proc.path(), "250 0 250 1500 0 0 0 0");
        scheduler.advance(StatsSampler::interval);
        EXPECT_EQ(wings.leadingText(), each.shownLeading);
        // How full the disk is depends on the machine: only its label is known here.
        EXPECT_EQ(wings.trailingText().substr(0, each.shownTrailing == "DISK" ? 4 : std::string::npos),
                  each.shownTrailing);
        EXPECT_EQ(wings.wings().has_value(), !each.shownLeading.empty() || !each.shownTrailing.empty());
    }

    // An activity takes the wings: the widgets go, and so does the sampling they needed.
    wings.apply(true, WingWidgets::layoutNamed("cpu", "weather"));
    ASSERT_TRUE(wings.wings().has_value());
    EXPECT_EQ(wings.wings()->id, WingWidgets::activityID);
    center.post(brind::LiveActivity{.id = "timer", .source = "test", .title = "Tea"});
    wings.refresh();
    EXPECT_FALSE(wings.wings().has_value());
    EXPECT_FALSE(stats.isRunning());
    center.end("timer");
    wings.refresh();
    EXPECT_TRUE(wings.wings().has_value());

    // One sampler for the panel and the wings: it runs while either shows the statistics.
    WidgetsSection section{{.scheduler = scheduler, .preferences = preferences, .pomodoro = pomodoro,
                            .stayAwake = stayAwake, .stats = stats,
                            .forecastFile = WeatherForecastFile::path(folder.path())}};
    section.show();
    EXPECT_EQ(stats.viewerCount(), 2u);
    section.hide();
    EXPECT_TRUE(stats.isRunning()) << "the wings still show the processor";
    wings.apply(false, {});
    EXPECT_FALSE(stats.isRunning());
    EXPECT_EQ(scheduler.pendingCount(), 0u) << "nothing reads the kernel's files, nothing waits";
}

TEST_F(WeatherAndWingsTest, TheWeatherCardSearchesACityAndShowsItsForecast) {
    server.answer("/v1/forecast", 200,
                  R"({"timezone":"Europe/Madrid","current":{"temperature_2m":9.2,"weather_code":0,"is_day":1},)"
                  R"("daily":{"time":["2026-11-25"],"weather_code":[0],"temperature_2m_max":[14.0],)"
                  R"("temperature_2m_min":[3.5]}})");
    WidgetsSection section{{.scheduler = scheduler, .preferences = preferences, .pomodoro = pomodoro,
                            .stayAwake = stayAwake, .stats = stats,
                            .forecastFile = WeatherForecastFile::path(folder.path()), .weather = &weather}};
    section.resize(640, 480);
    weather.onChange = [&section] { section.refreshWeather(); };
    std::optional<brind::WidgetPlace> stored;
    weather.onChoose = [&stored](const brind::WidgetPlace& place) { stored = place; };
    section.show();
    QLineEdit* search = nullptr;
    for (auto* field : section.findChildren<QLineEdit*>())
        if (field->accessibleName() == "City search")
            search = field;
    ASSERT_NE(search, nullptr);
    const auto shows = [&section](const QString& text) {
        const auto widgets = section.findChildren<QWidget*>();
        return std::ranges::any_of(widgets, [&text](QWidget* widget) {
            auto* label = qobject_cast<QLabel*>(widget);
            auto* button = qobject_cast<QPushButton*>(widget);
            return widget->isVisibleTo(widget->window()) &&
                   ((label && label->text().contains(text)) || (button && button->text() == text));
        });
    };

    struct Search {
        const char* name;
        int status;
        std::string answer;
        QString shown;
    };
    const std::vector<Search> searches = {
        {"Nowhere", 200, R"({"generationtime_ms":0.13})", "No place called “Nowhere”."},
        {"Madrid", 400, R"({"error":true,"reason":"Parameter count must be between 1 and 100."})",
         "Couldn't search: The weather service refused the request: Parameter count must be between 1 and 100."},
        {"Madrid", 200,
         R"({"results":[{"id":3117735,"name":"Madrid","latitude":40.4165,"longitude":-3.70256,"country":"Spain",)"
         R"("admin1":"Madrid"},{"name":"Madrid","latitude":41.88,"longitude":-93.82,"country":"United States",)"
         R"("admin1":"Iowa"}],"generationtime_ms":0.3})",
         "Madrid, Spain"},
    };
    for (const auto& each : searches) {
        SCOPED_TRACE(each.shown.toStdString());
        server.answer("/v1/search", each.status, each.answer);
        search->clear();
        QTest::keyClicks(search, each.name);
        QTest::keyClick(search, Qt::Key_Return);
        EXPECT_TRUE(pumpUntil([&] { return shows(each.shown); }));
    }
    QPushButton* result = nullptr;
    for (auto* button : section.findChildren<QPushButton*>())
        if (button->text() == "Madrid, Spain")
            result = button;
    ASSERT_NE(result, nullptr);
    QTest::mouseClick(result, Qt::LeftButton);
    ASSERT_TRUE(stored.has_value());
    EXPECT_EQ(stored->country, "Spain");
    EXPECT_EQ(weather.settings().chosenPlace(), stored);
    EXPECT_TRUE(pumpUntil([&] { return shows("9°C  Clear"); }));
    EXPECT_NE(server.requestsFor("/v1/forecast").back().find("latitude=40.4165"), std::string::npos);
    EXPECT_FALSE(std::ranges::any_of(section.findChildren<QPushButton*>(), [](QPushButton* button) {
        return button->isVisibleTo(button->window()) && button->text() == "Madrid, Spain";
    })) << "the matches go once one is chosen";
}

} // namespace
} // namespace vq
