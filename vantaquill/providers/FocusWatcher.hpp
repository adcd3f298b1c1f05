#pragma once

#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/providers/GSettingsKey.hpp"

#include <QDBusConnection>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>


namespace vq {

class BusSignalRelay;

/// Follows the desktop's do-not-disturb, where the desktop shows it:
/// - the notification server's `Inhibited` property (KDE Plasma's server has it, and any other that
///   implements the same switch), read when the server appears and followed through its
///   PropertiesChanged signal;
/// - on GNOME, `org.gnome.desktop.notifications show-banners` (off means do not disturb), read and
///   followed through GSettings (`GSettingsKey`).
/// It posts no activity of its own: the island's focus is what changes (`onChange`).
class FocusWatcher final : public LiveActivityCenter::Provider {
  public:
    static constexpr std::string_view providerID = "focus";
    using Log = std::function<void(const std::string&)>;
    /// Told whenever the desktop's do-not-disturb turns on or off.
    using Change = std::function<void(bool doNotDisturb)>;

    FocusWatcher(Change onChange, Log log);
    ~FocusWatcher() override;
    FocusWatcher(const FocusWatcher&) = delete;
    FocusWatcher& operator=(const FocusWatcher&) = delete;

    std::string id() const override { return std::string(providerID); }
    void start(LiveActivityCenter& center) override;
    void stop() override;

    /// The desktop's do-not-disturb as last read (off when nothing tells).
    bool doNotDisturb() const { return serverInhibited_.value_or(false) || bannersOff_.value_or(false); }

  private:
    void readInhibited();
    void followGNOME();
    void update();
    /// Once both sources have answered, says in one line when neither can be read.
    void reportMissing();

    Change onChange_;
    Log log_;
    std::optional<QDBusConnection> bus_;
    std::unique_ptr<BusSignalRelay> relay_;
    /// GNOME's show-banners, followed while started.
    std::unique_ptr<GSettingsKey> banners_;
    /// Nothing until the source answered; a source that cannot be read stays empty.
    std::optional<bool> serverInhibited_;
    /// Counts the server's changes (a new value, a new owner): a read asked for before one of them
    /// answers with an older value, which Qt may deliver after the change, and is not taken.
    std::uint64_t serverChanges_ = 0;
    std::optional<bool> bannersOff_;
    bool serverAnswered_ = false;
    bool gnomeAnswered_ = false;
    bool toldMissing_ = false;
    bool last_ = false;
};

} // namespace vq
