#include "vantaquill/settings/SettingsWindow.hpp"

#include "vantaquill/settings/ClipboardHistoryBox.hpp"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace vq {

namespace {

QString fromView(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString suffixOf(const PreferenceKey& entry) {
    return entry.note.empty() ? QString() : " " + fromView(entry.note);
}

} // namespace

SettingsWindow::SettingsWindow(Preferences& preferences, AutostartEntry autostart, Services services)
    : preferences(preferences), autostart(std::move(autostart)), services(std::move(services)) {
    setWindowTitle("vantaquill settings");
    setObjectName("vantaquillSettings");
    resize(720, 460);
    auto* layout = new QHBoxLayout(this);
    sections = new QListWidget;
    sections->setFixedWidth(150);
    pages = new QStackedWidget;
    layout->addWidget(sections);
    layout->addWidget(pages, 1);

    for (const auto section : PreferenceKey::sections) {
        sections->addItem(fromView(PreferenceKey::sectionName(section)));
        auto* page = new QWidget;
        auto* form = new QFormLayout(page);
        QWidget* first = nullptr;
        for (const auto& entry : PreferenceCatalog::all()) {
            if (entry.section != section)
                continue;
            QWidget* widget = field(entry);
            // Named after its key, for accessibility tools and the tests.
            widget->setObjectName(fromView(entry.key));
            fields.emplace(entry.key, widget);
            if (entry.kind == PreferenceKey::Kind::flag)
                form->addRow(widget);
            else
                form->addRow(fromView(entry.label), widget);
            first = first ? first : widget;
        }
        switch (section) {
        case PreferenceKey::Section::island: addLaunchAtLogin(*form); break;
        case PreferenceKey::Section::agents: addHooks(*form); break;
        case PreferenceKey::Section::sdk: addClients(*form); break;
        case PreferenceKey::Section::clipboard: addClipboardHistory(*form); break;
        case PreferenceKey::Section::hud:
        case PreferenceKey::Section::activities:
        case PreferenceKey::Section::shelf:
        case PreferenceKey::Section::widgets: break;
        }
        firstFields.push_back(first);
        auto* scroll = new QScrollArea;
        scroll->setWidgetResizable(true);
        scroll->setWidget(page);
        pages->addWidget(scroll);
    }
    sections->addItem("This desktop");
    pages->addWidget(desktopPage());
    firstFields.push_back(nullptr);
    connect(sections, &QListWidget::currentRowChanged, pages, &QStackedWidget::setCurrentIndex);
    connect(sections, &QListWidget::currentRowChanged, this, [this](int row) {
        if (row == sections->count() - 1)
            refreshDesktop();
    });
    sections->setCurrentRow(0);
    load();
    preferences.onChange([this] { load(); });
}

SettingsWindow::~SettingsWindow() {
    // A hooks command still running would report into a form that is being taken apart.
    for (QProcess* process : findChildren<QProcess*>()) {
        process->disconnect(this);
        delete process;
    }
}

QWidget* SettingsWindow::field(const PreferenceKey& entry) {
    const std::string_view key = entry.key;
    const QString help = fromView(entry.note);
    switch (entry.kind) {
    case PreferenceKey::Kind::flag: {
        auto* box = new QCheckBox(fromView(entry.label));
        box->setToolTip(help);
        connect(box, &QCheckBox::toggled, this, [this, key](bool on) { preferences.set(key, on); });
        return box;
    }
    case PreferenceKey::Kind::number: {
        auto* spin = new QDoubleSpinBox;
        spin->setRange(entry.minimum, entry.maximum);
        spin->setDecimals(2);
        spin->setSingleStep(entry.maximum - entry.minimum > 100 ? 5 : 0.1);
        spin->setSuffix(suffixOf(entry));
        // Written when the user finishes (Enter, Tab, the arrows), not on every keystroke.
        spin->setKeyboardTracking(false);
        connect(spin, &QDoubleSpinBox::valueChanged, this, [this, key](double value) { preferences.set(key, value); });
        return spin;
    }
    case PreferenceKey::Kind::integer: {
        if (!entry.choices.empty()) {
            auto* combo = new QComboBox;
            for (const auto choice : entry.choices)
                combo->addItem(fromView(choice));
            combo->setToolTip(help);
            connect(combo, &QComboBox::textActivated, this,
                    [this, key](const QString& text) { preferences.set(key, text.toLongLong()); });
            return combo;
        }
        auto* spin = new QSpinBox;
        spin->setRange(static_cast<int>(entry.minimum), static_cast<int>(entry.maximum));
        spin->setSuffix(suffixOf(entry));
        spin->setKeyboardTracking(false);
        connect(spin, &QSpinBox::valueChanged, this, [this, key](int value) { preferences.set(key, value); });
        return spin;
    }
    case PreferenceKey::Kind::choice: {
        auto* combo = new QComboBox;
        for (const auto choice : entry.choices)
            combo->addItem(fromView(choice));
        combo->setToolTip(help);
        connect(combo, &QComboBox::textActivated, this, [this, key](const QString& text) { preferences.set(key, text); });
        return combo;
    }
    case PreferenceKey::Kind::text: {
        auto* line = new QLineEdit;
        line->setPlaceholderText(help);
        connect(line, &QLineEdit::editingFinished, this,
                [this, key, line] { preferences.set(key, line->text().trimmed()); });
        return line;
    }
    }
    std::unreachable();
}

void SettingsWindow::load() {
    for (const auto& entry : PreferenceCatalog::all()) {
        QWidget* widget = fields.at(entry.key);
        const QSignalBlocker quiet(widget);
        const QVariant value = preferences.value(entry.key);
        switch (entry.kind) {
        case PreferenceKey::Kind::flag: static_cast<QCheckBox*>(widget)->setChecked(value.toBool()); break;
        case PreferenceKey::Kind::number: static_cast<QDoubleSpinBox*>(widget)->setValue(value.toDouble()); break;
        case PreferenceKey::Kind::integer:
            if (auto* combo = qobject_cast<QComboBox*>(widget)) {
                // A value set by hand that the list does not offer is shown as it is.
                const QString text = QString::number(value.toLongLong());
                if (combo->findText(text) < 0)
                    combo->addItem(text);
                combo->setCurrentText(text);
            } else {
                static_cast<QSpinBox*>(widget)->setValue(static_cast<int>(value.toLongLong()));
            }
            break;
        case PreferenceKey::Kind::choice: static_cast<QComboBox*>(widget)->setCurrentText(value.toString()); break;
        case PreferenceKey::Kind::text:
            if (!widget->hasFocus())
                static_cast<QLineEdit*>(widget)->setText(value.toString());
            break;
        }
    }
}

void SettingsWindow::addLaunchAtLogin(QFormLayout& form) {
    auto* box = new QCheckBox("Start vantaquill when I log in");
    box->setChecked(autostart.enabled());
    auto* problem = new QLabel;
    problem->setWordWrap(true);
    connect(box, &QCheckBox::toggled, this, [this, box, problem](bool on) {
        const auto done = autostart.setEnabled(on);
        problem->setText(done ? QString() : QString::fromStdString(done.error()));
        const QSignalBlocker quiet(box);
        box->setChecked(autostart.enabled());
    });
    form.addRow(box);
    form.addRow(problem);
}

void SettingsWindow::addHooks(QFormLayout& form) {
    auto* box = new QWidget;
    hooks = new QGridLayout(box);
    hooks->setContentsMargins(0, 0, 0, 0);
    form.addRow(new QLabel("<b>Coding agents' hooks</b>"));
    form.addRow(box);
    hooksOutput = new QLabel;
    hooksOutput->setWordWrap(true);
    hooksOutput->setTextInteractionFlags(Qt::TextSelectableByMouse);
    form.addRow(hooksOutput);
    refreshHooks();
}

void SettingsWindow::refreshHooks() {
    auto* process = new QProcess(this);
    connect(process, &QProcess::finished, this, [this, process](int code) {
        process->deleteLater();
        while (QLayoutItem* item = hooks->takeAt(0)) {
            delete item->widget();
            delete item;
        }
        const auto document = QJsonDocument::fromJson(process->readAllStandardOutput());
        if (code != 0 || !document.isArray()) {
            hooks->addWidget(new QLabel("The hook status could not be read: " +
                                        QString::fromUtf8(process->readAllStandardError()).trimmed()),
                             0, 0);
            return;
        }
        int row = 0;
        for (const auto& value : document.array()) {
            const QJsonObject agent = value.toObject();
            const QString name = agent["agent"].toString();
            bool installed = false;
            for (const auto& file : agent["files"].toArray())
                installed = installed || !file.toObject()["events"].toArray().isEmpty();
            const QString state = installed                       ? "hooked"
                                  : agent["found"].toBool()       ? "found, not hooked"
                                                                  : "not found";
            hooks->addWidget(new QLabel(agent["name"].toString()), row, 0);
            hooks->addWidget(new QLabel(state), row, 1);
            auto* install = new QPushButton(installed ? "Reinstall" : "Install");
            auto* uninstall = new QPushButton("Uninstall");
            uninstall->setEnabled(installed);
            connect(install, &QPushButton::clicked, this, [this, name] { runHooks({"hooks", "install", "--agent", name}); });
            connect(uninstall, &QPushButton::clicked, this,
                    [this, name] { runHooks({"hooks", "uninstall", "--agent", name}); });
            hooks->addWidget(install, row, 2);
            hooks->addWidget(uninstall, row, 3);
            ++row;
        }
    });
    connect(process, &QProcess::errorOccurred, this, [this, process](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        process->deleteLater();
        hooks->addWidget(new QLabel("The vantaquill command was not found at " + services.command), 0, 0);
    });
    process->start(services.command, {"hooks", "status", "--json"});
}

void SettingsWindow::runHooks(const QStringList& arguments) {
    auto* process = new QProcess(this);
    process->setProcessChannelMode(QProcess::MergedChannels);
    connect(process, &QProcess::finished, this, [this, process] {
        hooksOutput->setText(QString::fromUtf8(process->readAll()).trimmed());
        process->deleteLater();
        refreshHooks();
    });
    process->start(services.command, arguments);
}

void SettingsWindow::addClients(QFormLayout& form) {
    form.addRow(new QLabel("<b>Connected apps</b>"));
    clients = new QListWidget;
    clients->setObjectName("clients");
    clients->setMinimumHeight(120);
    form.addRow(clients);
    auto* revoke = new QPushButton("Revoke");
    revoke->setObjectName("revoke");
    revoke->setToolTip("The app's token stops working and what it shows goes away; it has to ask again.");
    connect(revoke, &QPushButton::clicked, this, [this] {
        const auto* item = clients->currentItem();
        const QString appID = item ? item->data(Qt::UserRole).toString() : QString();
        if (appID.isEmpty())
            return;
        services.revoke(appID.toStdString());
        refreshClients();
    });
    form.addRow(revoke);
    refreshClients();
}

void SettingsWindow::addClipboardHistory(QFormLayout& form) {
    if (!services.clipboard)
        return;
    form.addRow(new QLabel("<b>History</b>"));
    form.addRow(new ClipboardHistoryBox(*services.clipboard));
}

void SettingsWindow::refreshClients() {
    clients->clear();
    for (const auto& client : services.clients()) {
        // The command's own client is issued afresh at every start; revoking it would only break it.
        if (client.appID == "cli")
            continue;
        QStringList scopes;
        for (const auto scope : client.scopes)
            scopes << QString::fromStdString(std::string(brind::name(scope)));
        auto* item = new QListWidgetItem(QString::fromStdString(client.name) + " (" +
                                         QString::fromStdString(client.appID) + "): " + scopes.join(", "));
        item->setData(Qt::UserRole, QString::fromStdString(client.appID));
        clients->addItem(item);
    }
    if (clients->count() == 0) {
        auto* none = new QListWidgetItem("No app has connected yet.");
        none->setFlags(Qt::NoItemFlags);
        clients->addItem(none);
    }
}

QWidget* SettingsWindow::desktopPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(new QLabel("<b>What works on this desktop</b>, and why not where it doesn't:"));
    desktopReport = new QPlainTextEdit;
    desktopReport->setObjectName("desktopReport");
    desktopReport->setReadOnly(true);
    desktopReport->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    desktopReport->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    layout->addWidget(desktopReport, 1);
    auto* again = new QPushButton("Check Again");
    connect(again, &QPushButton::clicked, this, [this] { refreshDesktop(); });
    layout->addWidget(again, 0, Qt::AlignRight);
    return page;
}

// The report is `vantaquill doctor`'s, so the terminal and the window always agree.
void SettingsWindow::refreshDesktop() {
    desktopReport->setPlainText("Checking…");
    auto* process = new QProcess(this);
    connect(process, &QProcess::finished, this, [this, process] {
        const QString report = QString::fromUtf8(process->readAllStandardOutput());
        desktopReport->setPlainText(report.isEmpty() ? "The check could not run: " + process->errorString() : report);
        process->deleteLater();
    });
    connect(process, &QProcess::errorOccurred, this, [this, process](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        desktopReport->setPlainText("The check could not run: " + process->errorString());
        process->deleteLater();
    });
    process->start(services.command, {"doctor"});
}

void SettingsWindow::showPane(const QString& pane) {
    int index = 0;
    if (pane.toLower() == fromView(desktopPane))
        index = sections->count() - 1;
    for (std::size_t each = 0; each < std::size(PreferenceKey::sections); ++each) {
        if (fromView(PreferenceKey::sectionName(PreferenceKey::sections[each])).toLower() == pane.toLower())
            index = static_cast<int>(each);
    }
    sections->setCurrentRow(index);
    if (index == sections->count() - 1)
        refreshDesktop();
    refreshClients();
    show();
    raise();
    activateWindow();
    if (firstFields[static_cast<std::size_t>(index)])
        firstFields[static_cast<std::size_t>(index)]->setFocus();
}

} // namespace vq
