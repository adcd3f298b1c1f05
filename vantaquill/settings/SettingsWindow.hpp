#pragma once

#include "BrindKit/sdk/SDKClient.hpp"
#include "vantaquill/qt/Preferences.hpp"
#include "vantaquill/settings/AutostartEntry.hpp"
#include "vantaquill/settings/PreferenceCatalog.hpp"

#include <QWidget>

#include <functional>
#include <map>
#include <string>
#include <vector>

class QLabel;
class QListWidget;
class QPlainTextEdit;
class QStackedWidget;
class QGridLayout;
class QFormLayout;

namespace vq {

class ClipboardStore;

/// The settings window: a list of sections (Island, HUD, Activities, Clipboard, Shelf, Widgets,
/// Agents, SDK), each a form of its preferences. A change is written to the preferences file at
/// once; edits of the file by hand show up in the form.
class SettingsWindow final : public QWidget {
public:
    struct Services {
        /// The registered SDK clients, and revoking one (its token stops working, its activities end).
        std::function<std::vector<brind::SDKClient>()> clients;
        std::function<void(const std::string& appID)> revoke;
        /// The `vantaquill` command, which installs and removes the agents' hooks.
        QString command;
        /// The clipboard history, shown and cleared in its pane (none: the pane shows only its keys).
        ClipboardStore* clipboard = nullptr;
    };

    /// Listens to `preferences` from then on: the store must not change after the window is gone.
    SettingsWindow(Preferences& preferences, AutostartEntry autostart, Services services);
    ~SettingsWindow() override;

    /// Shows the window on `pane` (a section's name in lower case, or "desktop" for what this desktop
    /// supports; the first when empty or unknown) with the keyboard in its first field.
    void showPane(const QString& pane);

    /// The pane that shows `vantaquill doctor`'s report of what works on this desktop.
    static constexpr std::string_view desktopPane = "desktop";

private:
    QWidget* field(const PreferenceKey& entry);
    void load();
    void addLaunchAtLogin(QFormLayout& form);
    void addHooks(QFormLayout& form);
    void addClients(QFormLayout& form);
    void addClipboardHistory(QFormLayout& form);
    void refreshHooks();
    void runHooks(const QStringList& arguments);
    void refreshClients();
    QWidget* desktopPage();
    void refreshDesktop();

    Preferences& preferences;
    AutostartEntry autostart;
    Services services;
    QListWidget* sections = nullptr;
    QStackedWidget* pages = nullptr;
    std::vector<QWidget*> firstFields;
    /// Each key's widget, to show the file's values after a change.
    std::map<std::string_view, QWidget*> fields;
    QGridLayout* hooks = nullptr;
    QLabel* hooksOutput = nullptr;
    QListWidget* clients = nullptr;
    QPlainTextEdit* desktopReport = nullptr;
};

} // namespace vq
