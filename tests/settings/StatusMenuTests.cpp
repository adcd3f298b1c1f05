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
    StatusMenu status(preferences,
                      {.openIsland = [&] { asked.push_back("open"); },
                       .openSettings = [&] { asked.push_back("settings"); },
                       .quit = [&] { asked.push_back("quit"); }},
                      [&](const std::string& line) { logged.push_back(line); });
    QMenu* menu = status.contextMenu();
    ASSERT_TRUE(menu);
    for (const QString text :
         {"Open the Island", "Pause Notifications", "Stay Awake", "Settings…", "Quit vantaquill"})
        ASSERT_TRUE(action(*menu, text)) << text.toStdString();

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
