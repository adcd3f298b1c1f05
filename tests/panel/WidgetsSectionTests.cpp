#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/widgets/WidgetPlace.hpp"
#include "tests/e2e/E2EFixture.hpp"
#include "tests/support/LoopbackHTTPServer.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/widgets/StatisticsCard.hpp"
#include "vantaquill/panel/widgets/TeleprompterCard.hpp"
#include "vantaquill/panel/widgets/TeleprompterView.hpp"
#include "vantaquill/panel/widgets/WidgetsSection.hpp"
#include "vantaquill/panel/widgets/WingWidgets.hpp"
#include "vantaquill/providers/PomodoroController.hpp"
#include "vantaquill/providers/StatsSampler.hpp"
#include "vantaquill/providers/WeatherForecastFile.hpp"
#include "vantaquill/providers/WeatherProvider.hpp"
#include "vantaquill/qt/Preferences.hpp"
#include "vantaquill/settings/StayAwake.hpp"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

namespace vq {
namespace {

/// The views have no meta-object of their own (no moc), so `findChild` cannot tell them apart from
/// their Qt bases; a dynamic cast can.
template <typename View>
View* child(const QObject* root) {
    for (auto* object : root->findChildren<QObject*>())
        if (auto* view = dynamic_cast<View*>(object))
            return view;
    return nullptr;
}

/// The kernel's files as the sampler reads them: the processor's ticks as given, a quarter of the
/// memory in use.
void writeProc(const std::filesystem::path& folder, const std::string& cpu) {
    std::filesystem::create_directories(folder / "net");
    ASSERT_TRUE(brind::AtomicFile::write(folder / "stat", "cpu  " + cpu + "\n"));
    ASSERT_TRUE(
        brind::AtomicFile::write(folder / "meminfo", "MemTotal: 8000000 kB\nMemAvailable: 6000000 kB\n"));
    ASSERT_TRUE(brind::AtomicFile::write(folder / "net/dev",
                                         "h1\nh2\n  eth0: 1000 1 0 0 0 0 0 0 500 1 0 0 0 0 0 0\n"));
}

class WidgetsSectionTest : public ::testing::Test {
  protected:
    WidgetsSectionTest() {
        ::setenv("TZ", "UTC", 1);
        ::tzset();
        writeProc(proc.path(), "100 0 100 800 0 0 0 0");
        section.setPalette(PanelStyle::palette());
        section.setStyleSheet(PanelStyle::styleSheet());
        section.resize(640, 320);
    }
    ~WidgetsSectionTest() override { stayAwake.setMode(brind::WidgetStayAwakeMode::off()); }
    WidgetCard* card(const QString& heading) const {
        for (auto* object : section.findChildren<QObject*>())
            if (auto* found = dynamic_cast<WidgetCard*>(object); found && found->accessibleName() == heading)
                return found;
        ADD_FAILURE() << "no card " << heading.toStdString();
        return nullptr;
    }

    QPushButton* button(const QString& heading, const QString& text) const {
        for (auto* found : card(heading)->findChildren<QPushButton*>())
            if (found->text() == text)
                return found;
        ADD_FAILURE() << "no button " << text.toStdString() << " in " << heading.toStdString();
        return nullptr;
    }

    /// Every text the card shows.
    QString texts(const QString& heading) const {
        QStringList all{card(heading)->status()};
        for (auto* label : card(heading)->findChildren<QLabel*>())
            all << label->text();
        return all.join("\n");
    }

    brindtest::TemporaryFolder folder{"vq-widgets"};
    brindtest::TemporaryFolder proc{"vq-widgets-proc"};
    ManualScheduler scheduler{brind::Date{1'700'049'600}};
    LiveActivityCenter center{scheduler};
    Preferences preferences{folder.path() / "vantaquill.conf"};
    PomodoroController pomodoro{scheduler, center, PomodoroController::stateFile(folder.path()),
                                preferences.pomodoro(), [](const std::string&) {}};
    StayAwake stayAwake{scheduler, StayAwake::stateFile(folder.path()), [](const std::string&) {}};
    StatsSampler stats{scheduler, proc.path()};
    WidgetsSection section{{.scheduler = scheduler,
                            .preferences = preferences,
                            .pomodoro = pomodoro,
                            .stayAwake = stayAwake,
                            .stats = stats,
                            .media = nullptr,
                            .forecastFile = WeatherForecastFile::path(folder.path())}};
};

/// A battery in the kernel's power-supply class, a forecast kept from an earlier run, a weather
/// service on a loopback server, and the wings.
class WeatherAndWingsTest : public WidgetsSectionTest {
  protected:
    WeatherAndWingsTest() {
        std::filesystem::create_directories(proc.path() / "class/power_supply/BAT0");
        for (const auto& [file, text] :
             {std::pair{"type", "Battery"}, std::pair{"status", "Discharging"},
              std::pair{"energy_now", "30000000"}, std::pair{"energy_full", "40000000"}})
            EXPECT_TRUE(brind::AtomicFile::write(proc.path() / "class/power_supply/BAT0" / file,
                                                 std::string(text) + "\n"));
        WeatherForecastFile kept{.place = "Lisbon, Portugal", .unit = brind::WidgetTemperatureUnit::celsius};
        kept.forecast.temperature = 17.6;
        kept.forecast.fetchedAt = scheduler.now();
        EXPECT_TRUE(kept.save(WeatherForecastFile::path(folder.path())));
        weather.start(center);
    }
    ~WeatherAndWingsTest() override { weather.stop(); }

    LoopbackHTTPServer server;
    WeatherProvider weather{
        scheduler,
        WeatherForecastFile::path(folder.path()),
        {.city = "", .useLocation = false, .forecastHost = server.url(), .geocodingHost = server.url()},
        [](const std::string&) {},
        "unix:path=/nonexistent/bus"};
    WingWidgets wings{{.scheduler = scheduler,
                       .center = center,
                       .stats = stats,
                       .stayAwake = stayAwake,
                       .weather = &weather,
                       .sysClass = proc.path() / "class",
                       .diskFolder = folder.path()}};
};

} // namespace

TEST_F(WidgetsSectionTest, PomodoroControlsDriveTheTimer) {
    section.show();
    QTest::mouseClick(button("Pomodoro", "Start focus"), Qt::LeftButton);
    EXPECT_TRUE(pomodoro.pomodoro().isRunning());
    ASSERT_FALSE(center.activities().empty());
    EXPECT_EQ(center.activities().front().id, "widgets.pomodoro");

    scheduler.advance(5);
    EXPECT_TRUE(texts("Pomodoro").contains("24:55")) << texts("Pomodoro").toStdString();
    QTest::mouseClick(button("Pomodoro", "Pause"), Qt::LeftButton);
    EXPECT_FALSE(pomodoro.pomodoro().isRunning());
    EXPECT_NE(button("Pomodoro", "Resume"), nullptr);

    QTest::mouseClick(button("Pomodoro", "Skip"), Qt::LeftButton);
    EXPECT_EQ(pomodoro.pomodoro().phase, brind::WidgetPomodoro::Phase::shortBreak);
    EXPECT_TRUE(texts("Pomodoro").contains("Short break"));
    EXPECT_TRUE(texts("Pomodoro").contains("5:00"));

    QTest::mouseClick(button("Pomodoro", "Reset"), Qt::LeftButton);
    EXPECT_EQ(pomodoro.pomodoro(), brind::WidgetPomodoro::make(preferences.pomodoro()));
    EXPECT_TRUE(center.activities().empty());
}

TEST_F(WidgetsSectionTest, AStayAwakePresetRunsOutByItself) {
    section.show();
    EXPECT_EQ(card("Stay awake")->status(), "Off");
    QTest::mouseClick(button("Stay awake", "15 min"), Qt::LeftButton);
    EXPECT_EQ(stayAwake.mode(), brind::WidgetStayAwakeMode::until(scheduler.now() + 15 * 60));
    EXPECT_EQ(card("Stay awake")->status(), "15m left");
    scheduler.advance(14 * 60 + 30);
    EXPECT_EQ(card("Stay awake")->status(), "30s left") << "the time left moves while it shows";

    // Kept for the next start, and held from the desktop: tests/settings StayAwake.
    scheduler.advance(30);
    EXPECT_EQ(stayAwake.mode(), brind::WidgetStayAwakeMode::off());
    EXPECT_EQ(card("Stay awake")->status(), "Off");
    EXPECT_FALSE(button("Stay awake", "Off")->isEnabled());

    QTest::mouseClick(button("Stay awake", "Indefinitely"), Qt::LeftButton);
    EXPECT_EQ(card("Stay awake")->status(), "On");
    QTest::mouseClick(button("Stay awake", "Off"), Qt::LeftButton);
    EXPECT_EQ(stayAwake.mode(), brind::WidgetStayAwakeMode::off());
}

TEST_F(WidgetsSectionTest, TheTeleprompterReadsATypedFileAndScrollsOnlyWhilePlaying) {
    section.show();
    auto* prompter = child<TeleprompterCard>(&section);
    auto* editor = prompter->findChild<QPlainTextEdit*>();
    auto* path = prompter->findChild<QLineEdit*>();
    std::string script;
    for (int line = 1; line <= 40; ++line)
        script += "Line " + std::to_string(line) + " of a talk that is much longer than the view.\n";
    ASSERT_TRUE(brind::AtomicFile::write(folder.path() / "talk.txt", script));
    QTest::keyClicks(path, QString::fromStdString((folder.path() / "talk.txt").string()));
    QTest::keyClick(path, Qt::Key_Return);
    EXPECT_EQ(editor->toPlainText().toStdString(), script);
    EXPECT_FALSE(prompter->isDrawingFrames());

    QTest::mouseClick(button("Teleprompter", "Play"), Qt::LeftButton);
    EXPECT_TRUE(prompter->isDrawingFrames());
    auto* view = child<TeleprompterView>(prompter);
    ASSERT_TRUE(view->isVisible());
    scheduler.advance(1);
    EXPECT_NEAR(view->offset(), 40, 2) << "40 points a second";

    QTest::mouseClick(button("Teleprompter", "Faster"), Qt::LeftButton);
    EXPECT_DOUBLE_EQ(prompter->scroll().speed(), 50);
    QTest::mouseClick(button("Teleprompter", "Pause"), Qt::LeftButton);
    EXPECT_FALSE(prompter->isDrawingFrames());
    const double stopped = view->offset();
    scheduler.advance(5);
    EXPECT_DOUBLE_EQ(view->offset(), stopped);

    // Played to its end, it stops drawing by itself; a text that fits the view draws nothing at all.
    QTest::mouseClick(button("Teleprompter", "Play"), Qt::LeftButton);
    scheduler.advance(600);
    EXPECT_TRUE(prompter->scroll().isFinished(scheduler.now()));
    EXPECT_FALSE(prompter->isDrawingFrames());
    QTest::mouseClick(button("Teleprompter", "Edit"), Qt::LeftButton);
    editor->setPlainText("Short.");
    QTest::mouseClick(button("Teleprompter", "Play"), Qt::LeftButton);
    EXPECT_TRUE(prompter->scroll().isRunning());
    EXPECT_FALSE(prompter->isDrawingFrames());

    path->clear();
    QTest::keyClicks(path, QString::fromStdString((folder.path() / "missing.txt").string()));
    QTest::keyClick(path, Qt::Key_Return);
    EXPECT_TRUE(texts("Teleprompter").contains("Couldn't read")) << texts("Teleprompter").toStdString();
    EXPECT_EQ(editor->toPlainText(), "Short.") << "a failed load keeps the text";
}

TEST_F(WidgetsSectionTest, EmptyCardsSayWhatWouldAppearAndTheStoredForecastShows) {
    section.show();
    EXPECT_TRUE(texts("Now playing").contains("Nothing is playing"));
    EXPECT_TRUE(texts("Weather").contains("widgets.weather.city")) << texts("Weather").toStdString();

    // The chosen place is stored as JSON; a name typed by hand is shown as it is.
    const brind::WidgetPlace lyon{"Lyon", "Auvergne-Rhône-Alpes", "France", 45.76, 4.83};
    preferences.set("widgets.weather.city", QString::fromStdString(brind::JSONText::compact(lyon.json())));
    section.refreshWeather();
    EXPECT_TRUE(texts("Weather").contains("The weather for Lyon, Auvergne-Rhône-Alpes, France shows"))
        << texts("Weather").toStdString();
    preferences.set("widgets.weather.city", "Lyon");
    section.refreshWeather();
    EXPECT_TRUE(texts("Weather").contains("The weather for Lyon shows")) << texts("Weather").toStdString();

    WeatherForecastFile stored{.place = "Lyon, France", .unit = brind::WidgetTemperatureUnit::celsius};
    stored.forecast.temperature = 12.4;
    stored.forecast.code = 61;
    stored.forecast.days = {{"2026-11-24", 61, 14.2, 6.1, 80}, {"2026-11-25", 0, 16, 7, std::nullopt}};
    stored.forecast.fetchedAt = scheduler.now();
    ASSERT_TRUE(stored.save(WeatherForecastFile::path(folder.path())));
    section.refreshWeather();
    const QString weather = texts("Weather");
    EXPECT_TRUE(weather.contains("12°C  Light rain")) << weather.toStdString();
    EXPECT_TRUE(weather.contains("Lyon, France"));
    EXPECT_TRUE(weather.contains("Tue\n14° / 6°\nLight rain")) << weather.toStdString();
}

TEST_F(WidgetsSectionTest, ArrowsMoveBetweenControlsAndEscapeCloses) {
    int closes = 0;
    section.onCloseRequested = [&closes] { ++closes; };
    section.show();
    section.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&section));
    auto* start = button("Pomodoro", "Start focus");
    start->setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Right);
    EXPECT_EQ(QApplication::focusWidget(), button("Pomodoro", "Skip")) << "right moves to the next control";
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    EXPECT_EQ(QApplication::focusWidget(), button("Stay awake", "15 min")) << "down goes to the next card";
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Right);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Up);
    EXPECT_EQ(QApplication::focusWidget(), start) << "up goes to the card above, to its first control";
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Up);
    EXPECT_EQ(QApplication::focusWidget(), start)
        << "the card of what plays has no control while nothing plays";

    // A field keeps its arrows for its own text.
    auto* path = child<TeleprompterCard>(&section)->findChild<QLineEdit*>();
    path->setFocus();
    QTest::keyClicks(path, "ab");
    QTest::keyClick(path, Qt::Key_Left);
    EXPECT_EQ(QApplication::focusWidget(), path);
    EXPECT_EQ(path->cursorPosition(), 1);

    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    EXPECT_EQ(closes, 1);
}

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
    section.show();
    EXPECT_EQ(stats.viewerCount(), 2u);
    section.hide();
    EXPECT_TRUE(stats.isRunning()) << "the wings still show the processor";
    wings.apply(false, {});
    EXPECT_FALSE(stats.isRunning());
    EXPECT_EQ(scheduler.pendingCount(), 0u) << "nothing reads the kernel's files, nothing waits";

    // The section alone: sampled while it shows, paused when hidden.
    section.show();
    EXPECT_TRUE(stats.isRunning());
    scheduler.advance(2 * StatsSampler::interval);
    EXPECT_EQ(stats.cpu().count(), 2u);
    EXPECT_TRUE(texts("Statistics").contains(QRegularExpression("CPU \\d+%")))
        << texts("Statistics").toStdString();
    EXPECT_TRUE(texts("Statistics").contains(" of ")) << "memory in use of all memory";
    section.hide();
    EXPECT_FALSE(stats.isRunning());
    EXPECT_EQ(stats.cpu().count(), 0u);
    EXPECT_TRUE(texts("Statistics").contains("Paused"));
}

TEST_F(WeatherAndWingsTest, TheWeatherCardSearchesACityAndShowsItsForecast) {
    server.answer(
        "/v1/forecast", 200,
        R"({"timezone":"Europe/Lisbon","current":{"temperature_2m":9.2,"weather_code":0,"is_day":1},)"
        R"("daily":{"time":["2026-11-25"],"weather_code":[0],"temperature_2m_max":[14.0],)"
        R"("temperature_2m_min":[3.5]}})");
    WidgetsSection withWeather{{.scheduler = scheduler,
                                .preferences = preferences,
                                .pomodoro = pomodoro,
                                .stayAwake = stayAwake,
                                .stats = stats,
                                .forecastFile = WeatherForecastFile::path(folder.path()),
                                .weather = &weather}};
    withWeather.resize(640, 480);
    weather.onChange = [&withWeather] { withWeather.refreshWeather(); };
    std::optional<brind::WidgetPlace> stored;
    weather.onChoose = [&stored](const brind::WidgetPlace& place) { stored = place; };
    withWeather.show();
    QLineEdit* search = nullptr;
    for (auto* field : withWeather.findChildren<QLineEdit*>())
        if (field->accessibleName() == "City search")
            search = field;
    ASSERT_NE(search, nullptr);
    const auto shows = [&withWeather](const QString& text) {
        const auto widgets = withWeather.findChildren<QWidget*>();
        return std::ranges::any_of(widgets, [&text](QWidget* widget) {
            auto* label = qobject_cast<QLabel*>(widget);
            auto* button = qobject_cast<QPushButton*>(widget);
            return widget->isVisibleTo(widget->window()) &&
                   ((label && label->text().contains(text)) || (button && button->text() == text));
        });
    };

    const std::tuple<const char*, int, const char*, QString> searches[] = {
        {"Nowhere", 200, "weather/places_empty.json", "No place called “Nowhere”."},
        {"Lisbon", 400, "weather/error_body.json",
         "Couldn't search: The weather service refused the request: Longitude must be in range of -180 to "
         "180°. "
         "Given: 512.0."},
        {"Lisbon", 200, "weather/places_results.json", "Lisboa, Portugal"},
    };
    for (const auto& [name, status, answer, shown] : searches) {
        SCOPED_TRACE(shown.toStdString());
        server.answer("/v1/search", status, e2e::readFixture(answer));
        search->clear();
        QTest::keyClicks(search, name);
        QTest::keyClick(search, Qt::Key_Return);
        EXPECT_TRUE(QTest::qWaitFor([&] { return shows(shown); }, 20000));
    }
    QPushButton* result = nullptr;
    for (auto* button : withWeather.findChildren<QPushButton*>())
        if (button->text() == "Lisboa, Portugal")
            result = button;
    ASSERT_NE(result, nullptr);
    QTest::mouseClick(result, Qt::LeftButton);
    ASSERT_TRUE(stored.has_value());
    EXPECT_EQ(stored->country, "Portugal");
    EXPECT_EQ(weather.settings().chosenPlace(), stored);
    EXPECT_TRUE(QTest::qWaitFor([&] { return shows("9°C  Clear"); }, 20000));
    EXPECT_NE(server.requestsFor("/v1/forecast").back().find("latitude=38.7200"), std::string::npos);
    EXPECT_FALSE(std::ranges::any_of(withWeather.findChildren<QPushButton*>(), [](QPushButton* button) {
        return button->isVisibleTo(button->window()) && button->text() == "Lisboa, Portugal";
    })) << "the matches go once one is chosen";
}

} // namespace vq
