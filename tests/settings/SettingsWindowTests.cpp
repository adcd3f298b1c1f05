#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/settings/Eventually.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/settings/SettingsWindow.hpp"

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>

#include <gtest/gtest.h>

namespace vq {
namespace {

struct SettingsWindowForm : ::testing::Test {
    SettingsWindowForm() {
        services.clients = [this] { return clients; };
        services.revoke = [this](const std::string& appID) {
            revoked.push_back(appID);
            std::erase_if(clients, [&](const brind::SDKClient& client) { return client.appID == appID; });
        };
        services.command = QString::fromStdString((folder.path() / "no-such-command").string());
    }

    std::filesystem::path file() const { return folder.path() / "vantaquill.conf"; }

    brindtest::TemporaryFolder folder{"vantaquill-window"};
    Preferences preferences{file(), [](const std::string&) {}};
    std::vector<brind::SDKClient> clients{
        {.appID = "cli", .name = "vantaquill CLI", .scopes = {brind::SDKScope::activities}, .tokenHash = {},
         .createdAt = {}, .lastSeen = {}},
        {.appID = "builds", .name = "Build watcher", .scopes = {brind::SDKScope::activities}, .tokenHash = {},
         .createdAt = {}, .lastSeen = {}}};
    std::vector<std::string> revoked;
    SettingsWindow::Services services;
};

TEST_F(SettingsWindowForm, FieldsWriteTheFileAndFollowEditsByHand) {
    SettingsWindow window(preferences, AutostartEntry(folder.path() / "autostart.desktop", "island"), services);
    auto* click = window.findChild<QCheckBox*>("island.clickToOpen");
    auto* delay = window.findChild<QDoubleSpinBox*>("island.hoverDelay");
    ASSERT_TRUE(click && delay);
    EXPECT_TRUE(click->isChecked());
    EXPECT_DOUBLE_EQ(delay->value(), 0.2);

    click->click();
    EXPECT_FALSE(preferences.flag("island.clickToOpen"));
    const auto text = brind::AtomicFile::read(file());
    ASSERT_TRUE(text);
    EXPECT_NE(text->find("island.clickToOpen=false"), std::string::npos) << *text;

    ASSERT_TRUE(brind::AtomicFile::write(file(), "[General]\nisland.hoverDelay=1.25\n"));
    EXPECT_TRUE(eventually([&] { return delay->value() == 1.25; }))
        << "an edit by hand did not reach the form";
    EXPECT_TRUE(click->isChecked()) << "the key removed by hand shows its default again";
}

TEST_F(SettingsWindowForm, ThisDesktopPaneShowsTheDoctorsReportOrWhyItCouldNotRun) {
    const auto reportAfterShowing = [&](const QString& command) {
        services.command = command;
        SettingsWindow window(preferences, AutostartEntry(folder.path() / "autostart.desktop", "island"), services);
        window.showPane("desktop");
        auto* report = window.findChild<QPlainTextEdit*>("desktopReport");
        EXPECT_TRUE(report && report->isVisible());
        EXPECT_TRUE(report && eventually([&] { return !report->toPlainText().startsWith("Checking"); }));
        return report ? report->toPlainText() : QString();
    };
    const QString missing = services.command;
    EXPECT_TRUE(reportAfterShowing(QString(BRIND_BIN_DIR) + "/vantaquill").contains("session bus"));
    EXPECT_TRUE(reportAfterShowing(missing).startsWith("The check could not run"));
}

TEST_F(SettingsWindowForm, RevokeEndsTheChosenAppAndNeverOffersTheCommandsOwnClient) {
    SettingsWindow window(preferences, AutostartEntry(folder.path() / "autostart.desktop", "island"), services);
    auto* list = window.findChild<QListWidget*>("clients");
    auto* revoke = window.findChild<QPushButton*>("revoke");
    ASSERT_TRUE(list && revoke);
    ASSERT_EQ(list->count(), 1);
    EXPECT_TRUE(list->item(0)->text().startsWith("Build watcher (builds)")) << list->item(0)->text().toStdString();

    revoke->click();
    EXPECT_TRUE(revoked.empty()) << "revoked without a choice";
    list->setCurrentRow(0);
    revoke->click();
    EXPECT_EQ(revoked, std::vector<std::string>{"builds"});
    ASSERT_EQ(list->count(), 1);
    EXPECT_FALSE(list->item(0)->flags() & Qt::ItemIsSelectable) << "the empty list's note is not a client";
}

} // namespace
} // namespace vq
