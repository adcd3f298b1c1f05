#include "vantaquill/providers/PomodoroController.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/providers/SoundServer.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/providers/ThemeSound.hpp"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <string>
#include <vector>

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

TEST_F(PomodoroControllerTest, NothingTicksWhilePausedOrStopped) {
    auto controller = make();
    int changes = 0;
    controller->onChange = [&changes] { ++changes; };
    controller->toggle();
    scheduler.advance(10);
    controller->toggle();
    EXPECT_FALSE(controller->isTicking());
    EXPECT_EQ(scheduler.pendingCount(), 0u) << "a paused timer keeps no timer of its own";
    changes = 0;
    scheduler.advance(600);
    EXPECT_EQ(changes, 0);
    EXPECT_DOUBLE_EQ(controller->pomodoro().remaining(scheduler.now()), 50);
    EXPECT_EQ(shown()->actions.at(0).label, "Resume");

    controller->reset();
    EXPECT_EQ(shown(), nullptr) << "a reset takes the timer out of the island";
    EXPECT_EQ(scheduler.pendingCount(), 0u);
}

TEST_F(PomodoroControllerTest, TheActivityButtonsDriveTheTimer) {
    auto controller = make();
    controller->toggle();
    center.perform("widgets.pomodoro", "toggle");
    EXPECT_FALSE(controller->pomodoro().isRunning());
    center.perform("widgets.pomodoro", "skip");
    EXPECT_EQ(controller->pomodoro().phase, Phase::shortBreak);
    EXPECT_EQ(controller->pomodoro().totalCompleted, 0) << "a skipped session is not counted";
    center.perform("widgets.pomodoro", "stop");
    EXPECT_EQ(controller->pomodoro().phase, Phase::work);
    EXPECT_EQ(shown(), nullptr);
}

TEST_F(PomodoroControllerTest, ARestartContinuesWhereTheTimerWas) {
    auto controller = make();
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
}

TEST_F(PomodoroControllerTest, AnUnreadableFileStartsAfreshAndSaysSo) {
    ASSERT_TRUE(brind::AtomicFile::write(file(), "{not json"));
    auto controller = make();
    EXPECT_EQ(controller->pomodoro(), brind::WidgetPomodoro::make(shortConfig()));
    ASSERT_EQ(log.size(), 1u);
    EXPECT_NE(log[0].find("not readable"), std::string::npos) << log[0];
}

TEST_F(PomodoroControllerTest, TheSessionCountStartsAgainOnANewDay) {
    auto controller = make();
    controller->toggle();
    scheduler.advance(60);
    EXPECT_EQ(controller->pomodoro().totalCompleted, 1);
    controller.reset();

    scheduler.advance(24 * 3600);
    controller = make();
    EXPECT_EQ(controller->pomodoro().totalCompleted, 0) << "yesterday's sessions are not today's";
    EXPECT_EQ(controller->pomodoro().phase, Phase::shortBreak) << "only the count starts again";
}

TEST(ThemeSound, PlaysTheThemesSoundOnTheSessionsServer) {
    ASSERT_TRUE(std::filesystem::exists("/usr/share/sounds/freedesktop/stereo/alarm-clock-elapsed.oga"))
        << "package sound-theme-freedesktop is missing";
    e2e::TemporaryHome home;
    SoundServer server(home);
    ASSERT_TRUE(server.running());
    ASSERT_TRUE(server.waitUntilReady()) << "PulseAudio did not start";
    SessionOf session({{"HOME", home.path().string()}, {"XDG_RUNTIME_DIR", home.path().string()}});

    std::vector<std::string> log;
    ThemeSound sounds([&log](const std::string& line) { log.push_back(line); });
    sounds.play("alarm-clock-elapsed", "Focus done");
    // The stream is there for as long as the sound plays (about a second on the null sink).
    std::string last;
    EXPECT_TRUE(eventually([&] {
        const auto streams = server.control({"list", "sink-inputs"}).value_or("");
        last = streams.empty() ? last : streams;
        return streams.find("application.name = \"vantaquill\"") != std::string::npos &&
               streams.find("Focus done") != std::string::npos;
    }, 20ms)) << last << server.control({"list", "clients"}).value_or("");
    EXPECT_TRUE(log.empty()) << log.front();
}

TEST(ThemeSound, WithoutASoundServerSaysSoOnce) {
    e2e::TemporaryHome home;
    SessionOf session({{"HOME", home.path().string()},
                       {"XDG_RUNTIME_DIR", home.path().string()},
                       {"PULSE_SERVER", "unix:" + (home.path() / "nobody").string()}});
    std::vector<std::string> log;
    ThemeSound sounds([&log](const std::string& line) { log.push_back(line); });
    sounds.play("alarm-clock-elapsed", "Focus done");
    sounds.play("alarm-clock-elapsed", "Break over");
    ASSERT_EQ(log.size(), 1u);
    EXPECT_NE(log[0].find("no sounds"), std::string::npos) << log[0];
}

} // namespace
} // namespace vq
