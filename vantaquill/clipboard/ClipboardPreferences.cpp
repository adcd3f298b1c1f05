#include "vantaquill/clipboard/ClipboardPreferences.hpp"

#include <QRegularExpression>
#include <QSettings>

namespace vq::ClipboardPreferences {

namespace {

bool flag(const QSettings& settings, const char* key, bool fallback) {
    return settings.value(key, fallback).toBool();
}

// Negative limits are refused; 0 days stands for no age limit.
std::int64_t count(const QSettings& settings, const char* key, std::int64_t fallback) {
    bool ok = false;
    const qlonglong value = settings.value(key, static_cast<qlonglong>(fallback)).toLongLong(&ok);
    return ok && value >= 0 ? value : fallback;
}

} // namespace

brind::ClipSettings read(const std::filesystem::path& file) {
    const QSettings settings(QString::fromStdString(file.string()), QSettings::IniFormat);
    brind::ClipSettings result;
    result.enabled = flag(settings, "clipboard.enabled", result.enabled);
    result.maxItems = count(settings, "clipboard.maxItems", result.maxItems);
    result.maxDays = count(settings, "clipboard.maxDays", result.maxDays);
    result.captureImages = flag(settings, "clipboard.captureImages", result.captureImages);
    result.captureFiles = flag(settings, "clipboard.captureFiles", result.captureFiles);
    result.captureRichText = flag(settings, "clipboard.captureRichText", result.captureRichText);
    result.maxImageBytes = count(settings, "clipboard.maxImageBytes", result.maxImageBytes);
    // QSettings reads an unquoted comma-separated INI value as a list already; the settings window
    // writes one string, quoted when it holds a comma, with the ids apart by spaces or commas.
    static const QRegularExpression separators("[,\\s]+");
    for (const QString& value : settings.value("clipboard.excludedBundleIDs").toStringList()) {
        for (const QString& id : value.split(separators, Qt::SkipEmptyParts))
            result.excludedBundleIDs.push_back(id.toStdString());
    }
    result.hotkeyEnabled = flag(settings, "clipboard.hotkeyEnabled", result.hotkeyEnabled);
    result.pasteDirectly = flag(settings, "clipboard.pasteDirectly", result.pasteDirectly);
    return result;
}

} // namespace vq::ClipboardPreferences
