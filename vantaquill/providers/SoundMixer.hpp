#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vq {

class PulseConnection;

/// What the sound view shows and changes: the default output and every application's stream
/// playing to the sound server (PulseAudio's sink inputs; PipeWire's through pipewire-pulse),
/// followed live through libpulse while `start`ed. Reads arrive on the main thread through
/// `onChange`; writes are sent without waiting for the server, whose answer comes back as a change.
class SoundMixer {
  public:
    /// Runs a function on the main thread (libpulse calls back on its own thread).
    using MainThread = std::function<void(std::function<void()>)>;

    struct Output {
        std::uint32_t index = 0;
        /// The server's name for it, which choosing it uses.
        std::string name;
        /// What people call it ("Speakers").
        std::string label;
        double level = 0;
        bool muted = false;
        friend bool operator==(const Output&, const Output&) = default;
    };

    struct Stream {
        std::uint32_t index = 0;
        /// The application's name as it gave it to the server ("Firefox"), else its program.
        std::string application;
        /// A freedesktop icon name for it, or empty.
        std::string icon;
        /// What it plays, when it said ("Big Buck Bunny - YouTube").
        std::string media;
        double level = 0;
        bool muted = false;
        std::uint32_t channels = 1;
        friend bool operator==(const Stream&, const Stream&) = default;
    };

    struct State {
        /// True once the sound server answered.
        bool connected = false;
        /// True when no sound server answers (none runs, or it went away).
        bool missing = false;
        /// The output in use: the server's default, where new sound goes.
        std::optional<Output> output;
        /// Every output there is, in the server's order, to choose from.
        std::vector<Output> outputs;
        /// In the order the server made them (oldest first).
        std::vector<Stream> streams;
        friend bool operator==(const State&, const State&) = default;
    };

    explicit SoundMixer(MainThread mainThread);
    ~SoundMixer();
    SoundMixer(const SoundMixer&) = delete;
    SoundMixer& operator=(const SoundMixer&) = delete;

    /// Connects and follows the server; a server that is missing is reported as `missing`, and
    /// asked for again at the next `start`.
    void start();
    void stop();
    bool started() const { return pulse_ != nullptr; }

    const State& state() const { return state_; }
    /// Told on the main thread after `state` changed.
    std::function<void()> onChange;

    /// Sets a stream's level (every channel alike, 0 to 1) or mute.
    void setStreamLevel(std::uint32_t index, double level);
    void setStreamMuted(std::uint32_t index, bool muted);
    /// Sets the default output's level (the balance between channels is kept) or mute.
    void setOutputLevel(double level);
    void setOutputMuted(bool muted);
    /// Makes the output named `name` the one in use, and moves the sound playing now to it.
    void setDefaultOutput(const std::string& name);

    struct Shared;

  private:
    void apply(std::uint64_t generation, State state);

    MainThread mainThread_;
    std::unique_ptr<PulseConnection> pulse_;
    std::shared_ptr<Shared> shared_;
    std::uint64_t generation_ = 0;
    State state_;
};

} // namespace vq
