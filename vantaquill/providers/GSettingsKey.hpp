#pragma once

#include <QString>

#include <functional>
#include <memory>

struct _GSettings;

namespace vq {

/// One key of the desktop's GSettings (GNOME and GTK desktops), read in the island's own process
/// through GIO and followed as it changes (GLib's main loop is the one Qt runs), so that nothing
/// waits on a process.
class GSettingsKey {
public:
    /// The key's value as GVariant text ("true", "'text'"): told at once, then at every change.
    using OnValue = std::function<void(const QString& value)>;

    /// Nothing when this desktop has no such schema or key.
    static std::unique_ptr<GSettingsKey> follow(const QString& schema, const QString& key, OnValue onValue);
    ~GSettingsKey();
    GSettingsKey(const GSettingsKey&) = delete;
    GSettingsKey& operator=(const GSettingsKey&) = delete;

private:
    GSettingsKey(const QString& schema, const QString& key, OnValue onValue);
    void tell();

    QByteArray key_;
    OnValue onValue_;
    _GSettings* settings_ = nullptr;
    unsigned long handler_ = 0;
};

} // namespace vq
