#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/settings/Eventually.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "BrindKit/widgets/WidgetStatsMath.hpp"
#include "vantaquill/clipboard/ClipboardStore.hpp"
#include "vantaquill/settings/SettingsWindow.hpp"

#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QDoubleSpinBox>
#include <QLabel>
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

TEST_F(SettingsWindowForm, ClipboardPaneCountsTheHistoryPausesRecordingAndClearsWhatIsNotPinned) {
    ManualScheduler scheduler{brind::Date{1'700'000'000}};
    const auto archive = folder.path() / "Clipboard";
    ClipboardStore store({archive}, scheduler, {});
    const auto copy = [&](const std::string& text) {
        brind::ClipSnapshot snapshot;
        snapshot.types = snapshot.allTypes = {"public.utf8-plain-text"};
        snapshot.string = text;
        return store.capture(snapshot);
    };
    const auto kept = copy("kept");
    ASSERT_TRUE(kept && copy("first") && copy("second"));
    store.setPinned(kept->id, true);
    scheduler.advance(ClipboardStore::saveDelay);
    services.clipboard = &store;
    SettingsWindow window(preferences, AutostartEntry(folder.path() / "autostart.desktop", "island"), services);
    window.showPane("clipboard");
    auto* summary = window.findChild<QLabel*>("clipboardSummary");
    auto* recording = window.findChild<QLabel*>("clipboardRecording");
    auto* pause = window.findChild<QPushButton*>("clipboardPause");
    auto* resume = window.findChild<QPushButton*>("clipboardResume");
    auto* clear = window.findChild<QPushButton*>("clipboardClear");
    ASSERT_TRUE(summary && recording && pause && resume && clear);
    const auto onDisk = [&] {
        std::uintmax_t bytes = 0;
        for (const auto& file : std::filesystem::directory_iterator(archive))
            bytes += file.file_size();
        return brind::WidgetStatsMath::formatBytes(static_cast<double>(bytes)) + " on disk";
    };
    EXPECT_EQ(summary->text().toStdString(), "3 clips (1 pinned), " + onDisk());
    EXPECT_EQ(recording->text(), "Recording.");

    // While shown, the pane follows what happens elsewhere: a copy, a deletion in the panel, the
    // status menu's pause and the pause running out.
    const auto another = copy("another");
    ASSERT_TRUE(another);
    EXPECT_TRUE(summary->text().startsWith("4 clips (1 pinned), ")) << summary->text().toStdString();
    scheduler.advance(ClipboardStore::saveDelay);
    EXPECT_EQ(summary->text().toStdString(), "4 clips (1 pinned), " + onDisk()) << "once saved";
    store.remove(another->id);
    EXPECT_TRUE(summary->text().startsWith("3 clips (1 pinned), ")) << summary->text().toStdString();
    store.pause(1);
    EXPECT_TRUE(recording->text().startsWith("Recording paused until ")) << recording->text().toStdString();
    EXPECT_TRUE(resume->isVisibleTo(&window) && !pause->isVisibleTo(&window));
    scheduler.advance(3600);
    EXPECT_EQ(recording->text(), "Recording.");
    EXPECT_TRUE(pause->isVisibleTo(&window) && !resume->isVisibleTo(&window));

    // An hour's pause: copies are refused, and the pane says so and until when.
    ASSERT_EQ(window.findChild<QComboBox*>("clipboardPauseFor")->currentText(), "1 hour");
    pause->click();
    EXPECT_FALSE(copy("during the pause"));
    const auto until = QDateTime::fromSecsSinceEpoch(1'700'000'000 + 2 * 3600).toString("HH:mm");
    EXPECT_EQ(recording->text(), "Recording paused until " + until +
                                     ". The last copy not recorded: recording was paused.");
    EXPECT_TRUE(resume->isVisibleTo(&window) && !pause->isVisibleTo(&window));
    store.setSettings(brind::ClipSettings{}); // as the preferences file gives them: it holds no pause
    EXPECT_TRUE(store.pausedUntil()) << "a change of the preferences ended the pause";
    resume->click();
    EXPECT_TRUE(copy("after the pause"));

    clear->click();
    ASSERT_EQ(store.history().items().size(), 1u);
    EXPECT_EQ(store.history().items().front().id, kept->id);
    EXPECT_TRUE(summary->text().startsWith("1 clip (1 pinned), ")) << summary->text().toStdString();
    EXPECT_FALSE(clear->isEnabled()) << "nothing is left that clearing would remove";

    // Closed, the pane neither listens nor waits for a pause to end; shown again, it catches up.
    window.close();
    store.pause(1);
    scheduler.advance(ClipboardStore::saveDelay);
    EXPECT_EQ(scheduler.pendingCount(), 0u) << "a timer runs for a window nobody sees";
    EXPECT_TRUE(recording->text().startsWith("Recording.")) << recording->text().toStdString();
    window.showPane("clipboard");
    EXPECT_TRUE(recording->text().startsWith("Recording paused until ")) << recording->text().toStdString();
    EXPECT_EQ(scheduler.pendingCount(), 1u) << "the pause's end is awaited while the pane is shown";
}

} // namespace
} // namespace vq
