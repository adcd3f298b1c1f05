#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <optional>

class QProcess;

namespace vq {

/// One key of the desktop's GSettings (GNOME and GTK desktops), followed through the `gsettings`
/// tool without waiting on it: read once, and then every change reported by a `gsettings monitor`
/// that runs while this lives. The monitor starts first, so that a change made while the value is
/// being read is not missed.
class GSettingsKey {
public:
    /// The key's value as `gsettings` prints it ("true", "'text'"), or nothing when the first read
    /// failed (no such schema). Told once when the first read ends, then at every change.
    using OnValue = std::function<void(const std::optional<QString>& value)>;

    /// Nothing when `gsettings` is not installed.
    static std::unique_ptr<GSettingsKey> follow(const QString& schema, const QString& key, OnValue onValue);
    ~GSettingsKey();
    GSettingsKey(const GSettingsKey&) = delete;
    GSettingsKey& operator=(const GSettingsKey&) = delete;

private:
    GSettingsKey(const QString& program, const QString& schema, const QString& key, OnValue onValue);

    OnValue onValue_;
    /// The last value the monitor reported: newer than what the first read may bring later.
    std::optional<QString> reported_;
    std::unique_ptr<QProcess> monitor_;
    std::unique_ptr<QProcess> reader_;
};

} // namespace vq
