#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/settings/StatusMenu.hpp"

#include <QAction>
#include <QMenu>
#include <gtest/gtest.h>

namespace vq {
namespace {

QAction* action(QMenu& menu, const QString& text) {
    for (QAction* each : menu.actions()) {
        if (each->text() == text)
            return each;
    }
    return nullptr;
}

TEST(StatusMenu, ItsSwitchesAreThePreferencesAndItsItemsReachTheApplication) {
    brindtest::TemporaryFolder folder{"vantaquill-menu"};
    Preferences preferences(folder.path() / "vantaquill.conf", [](const std::string&) {});
    std::vector<std::string> asked;
    std::vector<std::string> logged;
    bool clipboardPaused = false;
    StatusMenu status(preferences,
                      {.openIsland = [&] { asked.push_back("open"); },
                       .openSettings = [&] { asked.push_back("settings"); },
                       .quit = [&] { asked.push_back("quit"); },
                       .pauseClipboard = [&](bool on) { asked.push_back(on ? "pause" : "resume"); },
                       .clipboardPaused = [&] { return clipboardPaused; }},
                      [&](const std::string& line) { logged.push_back(line); });
    QMenu* menu = status.contextMenu();
    ASSERT_TRUE(menu);
    for (const QString text : {"Open the Island", "Pause Notifications", "Stay Awake",
                               "Pause Clipboard History for 1 Hour", "Settings…", "Quit vantaquill"})
        ASSERT_TRUE(action(*menu, text)) << text.toStdString();

    // The clipboard's pause, asked for elsewhere, shows when the menu opens; unticked, it resumes.
    QAction* pauseClipboard = action(*menu, "Pause Clipboard History for 1 Hour");
    clipboardPaused = true;
    emit menu->aboutToShow();
    EXPECT_TRUE(pauseClipboard->isChecked());
    EXPECT_TRUE(asked.empty()) << "showing the state asked for a change";
    pauseClipboard->trigger();
    pauseClipboard->trigger();
    EXPECT_EQ(asked, (std::vector<std::string>{"resume", "pause"}));
    asked.clear();

    action(*menu, "Pause Notifications")->trigger();
    EXPECT_TRUE(preferences.flag("activities.paused"));
    preferences.set("activities.stayAwake", true);
    EXPECT_TRUE(action(*menu, "Stay Awake")->isChecked()) << "a change elsewhere shows in the menu";
    preferences.set("activities.paused", false);
    EXPECT_FALSE(action(*menu, "Pause Notifications")->isChecked());

    for (const QString text : {"Open the Island", "Settings…", "Quit vantaquill"})
        action(*menu, text)->trigger();
    EXPECT_EQ(asked, (std::vector<std::string>{"open", "settings", "quit"}));
    // The offscreen platform hosts no status icons: said once.
    EXPECT_EQ(logged.size(), 1u);
}

} // namespace
} // namespace vq
