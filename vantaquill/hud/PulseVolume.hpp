#pragma once

#include "BrindKit/island/HUDKeyRules.hpp"

#include <expected>
#include <memory>
#include <string>


namespace vq {

class PulseConnection;

/// Reads and sets the default output's volume and mute through libpulse (PulseAudio, or PipeWire
/// through pipewire-pulse). Each call is a short round trip made from the main thread while the
/// connection's own thread runs the protocol; a call never waits longer than `callTimeout`. The
/// connection is made at the first call and made again after the server went away.
class PulseVolume {
  public:
    /// A local sound server answers within milliseconds; one that does not is treated as gone
    /// rather than holding the island's main thread.
    static constexpr double callTimeout = 1.0;

    struct Output {
        /// The sink's name, which the writes address.
        std::string name;
        /// What people call it ("Speakers"), the HUD's caption.
        std::string label;
        brind::HUDKeyRules::OutputLevel level;

        friend bool operator==(const Output&, const Output&) = default;
    };

    PulseVolume();
    ~PulseVolume();
    PulseVolume(const PulseVolume&) = delete;
    PulseVolume& operator=(const PulseVolume&) = delete;

    /// The default sink now; the error is one sentence for the user.
    std::expected<Output, std::string> read();
    /// Sets the sink's level (the loudest channel; the balance between channels is kept) and mute.
    std::expected<void, std::string> write(const Output& output, brind::HUDKeyRules::OutputLevel level);

  private:
    bool connect();
    void disconnect();

    std::unique_ptr<PulseConnection> pulse_;
};

} // namespace vq
