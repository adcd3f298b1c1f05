#include "vantaquill/qt/Preferences.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "vantaquill/settings/PreferenceCatalog.hpp"

#include <QStringList>

#include <algorithm>
#include <chrono>
#include <optional>
#include <iostream>

namespace vq {

namespace {

QString keyName(std::string_view key) {
    return QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size()));
}

QString fromView(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// The INI reader turns "a, b" into a list; for a number or a flag that is simply the wrong type.
QString rawText(const QVariant& value) {
    if (value.typeId() == QMetaType::QStringList)
        return value.toStringList().join(",");
    return value.toString().trimmed();
}

std::optional<bool> parseFlag(const QString& text) {
    const QString lower = text.toLower();
    if (lower == "true" || lower == "1" || lower == "on" || lower == "yes")
        return true;
    if (lower == "false" || lower == "0" || lower == "off" || lower == "no")
        return false;
    return std::nullopt;
}

QVariant fallbackOf(const PreferenceKey& entry) {
    const QString text = fromView(entry.fallback);
    switch (entry.kind) {
    case PreferenceKey::Kind::flag: return entry.fallback == "true";
    case PreferenceKey::Kind::number: return text.toDouble();
    case PreferenceKey::Kind::integer: return text.toLongLong();
    case PreferenceKey::Kind::choice:
    case PreferenceKey::Kind::text: return text;
    }
    std::unreachable();
}

} // namespace

Preferences::Preferences(const std::filesystem::path& file, Log log)
    : file(file), log(log ? std::move(log) : [](const std::string& line) { std::cerr << line << std::endl; }),
      settings(QString::fromStdString(file.string()), QSettings::IniFormat) {
    seen = snapshot();
    lastRead = brind::AtomicFile::read(file).value_or("");
    // Saving replaces the file (write beside it, then rename), which ends a watch on the file
    // itself; the folder's watch sees the new one arrive. The folder is made now if it is missing,
    // so that a file the user writes there later by hand is seen too.
    if (const auto folder = brind::AtomicFile::ensureFolder(file.parent_path()); !folder)
        this->log("vantaquill: edits by hand to " + file.string() + " are read at the next start only: " + folder.error());
    if (std::filesystem::is_directory(file.parent_path()))
        watcher.addPath(QString::fromStdString(file.parent_path().string()));
    if (std::filesystem::exists(file))
        watcher.addPath(QString::fromStdString(file.string()));
    QObject::connect(&watcher, &QFileSystemWatcher::directoryChanged, [this](const QString&) { reload(); });
    QObject::connect(&watcher, &QFileSystemWatcher::fileChanged, [this](const QString&) { reload(); });
}

void Preferences::report(std::string_view key, const QString& raw, std::string_view expected) const {
    if (!reported.emplace(std::string(key), raw).second)
        return;
    const auto* entry = PreferenceCatalog::find(key);
    log("vantaquill: preference " + std::string(key) + " = \"" + raw.toStdString() + "\" is not " +
        std::string(expected) + "; using the default " + (entry && !entry->fallback.empty()
                                                                ? std::string(entry->fallback)
                                                                : std::string("(empty)")));
}

QVariant Preferences::value(std::string_view key) const {
    const auto* entry = PreferenceCatalog::find(key);
    if (!entry)
        return {};
    const QVariant fallback = fallbackOf(*entry);
    if (!settings.contains(keyName(key)))
        return fallback;
    const QString raw = rawText(settings.value(keyName(key)));
    switch (entry->kind) {
    case PreferenceKey::Kind::flag: {
        const auto parsed = parseFlag(raw);
        if (!parsed) {
            report(key, raw, "true or false");
            return fallback;
        }
        return *parsed;
    }
    case PreferenceKey::Kind::number: {
        bool ok = false;
        const double number = raw.toDouble(&ok);
        if (!ok) {
            report(key, raw, "a number");
            return fallback;
        }
        return std::clamp(number, entry->minimum, entry->maximum);
    }
    case PreferenceKey::Kind::integer: {
        bool ok = false;
        const qlonglong number = raw.toLongLong(&ok);
        if (!ok) {
            report(key, raw, "a whole number");
            return fallback;
        }
        return std::clamp(number, static_cast<qlonglong>(entry->minimum), static_cast<qlonglong>(entry->maximum));
    }
    case PreferenceKey::Kind::choice: {
        if (std::ranges::find(entry->choices, raw.toStdString()) == entry->choices.end()) {
            QStringList names;
            for (const auto choice : entry->choices)
                names << fromView(choice);
            report(key, raw, "one of " + names.join(", ").toStdString());
            return fallback;
        }
        return raw;
    }
    case PreferenceKey::Kind::text: return raw;
    }
    std::unreachable();
}

void Preferences::set(std::string_view key, const QVariant& value) {
    settings.setValue(keyName(key), value);
    settings.sync();
    lastRead = brind::AtomicFile::read(file).value_or("");
    changed();
}

void Preferences::onChange(std::function<void()> listener) {
    listeners.push_back(std::move(listener));
}

std::map<std::string, QString> Preferences::snapshot() const {
    std::map<std::string, QString> values;
    for (const auto& entry : PreferenceCatalog::all()) {
        const QString name = keyName(entry.key);
        if (settings.contains(name))
            values.emplace(entry.key, rawText(settings.value(name)));
    }
    return values;
}

void Preferences::reload() {
    if (std::filesystem::exists(file) && !watcher.files().contains(QString::fromStdString(file.string())))
        watcher.addPath(QString::fromStdString(file.string()));
    settings.sync();
    const auto bytes = brind::AtomicFile::read(file).value_or("");
    if (bytes != lastRead && snapshot() == seen) {
        // QSettings takes a file of the same size and modification time as the one it last read or
        // wrote for unchanged, so a quick edit (a save, then one digit changed) would be missed.
        // Moving the file's modification time on makes it read the file; the content is left alone.
        std::error_code error;
        const auto modified = std::filesystem::last_write_time(file, error);
        if (!error)
            std::filesystem::last_write_time(file, modified + std::chrono::seconds(1), error);
        settings.sync();
    }
    lastRead = bytes;
    changed();
}

void Preferences::changed() {
    auto now = snapshot();
    if (now == seen)
        return;
    seen = std::move(now);
    for (const auto& listener : listeners)
        listener();
}

brind::SDKBridge::Config Preferences::bridgeConfig() const {
    brind::SDKBridge::Config config;
    config.approvalTimeout = number("agents.approvalTimeout");
    config.approveEveryTool = flag("agents.approveEveryTool");
    config.approvalsEnabled = flag("agents.approvalsEnabled");
    config.answerQuestions = flag("agents.answerQuestions");
    config.consentTimeout = number("sdk.consentTimeout");
    config.registrationsEnabled = flag("sdk.registrationsEnabled");
    return config;
}

double Preferences::agentPruneInterval() const {
    return number("agents.pruneInterval");
}

Preferences::Island Preferences::island() const {
    Island island;
    island.size = brind::islandLayoutSizeNamed(text("island.size")).value_or(island.size);
    island.widthOffset = number("island.notchWidthOffset");
    island.heightOffset = number("island.notchHeightOffset");
    island.housing = text("island.housing");
    island.displayModes = text("island.displayModes");
    island.hoverToOpen = flag("island.hoverToOpen");
    island.hoverDelay = std::max(number("island.hoverDelay"), minimumHoverDelay);
    island.clickToOpen = flag("island.clickToOpen");
    island.cornerRadius = number("island.cornerRadius");
    island.hideInFullScreen = flag("island.hideInFullScreen");
    island.hideWhenSharing = flag("island.hideWhenSharing");
    island.reduceMotion = text("island.reduceMotion");
    island.shakeSensitivity = value("shelf.shakeSensitivity").toInt();
    return island;
}

brind::WidgetPomodoro::Config Preferences::pomodoro() const {
    const auto minutes = [this](std::string_view key) { return value(key).toInt(); };
    return brind::WidgetPomodoro::Config::fromMinutes(minutes("widgets.pomodoro.work"), minutes("widgets.pomodoro.short"),
                                                      minutes("widgets.pomodoro.long"), minutes("widgets.pomodoro.every"),
                                                      flag("widgets.pomodoro.auto"));
}

} // namespace vq
