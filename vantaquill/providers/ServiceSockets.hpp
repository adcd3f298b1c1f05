#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace vq {

/// Where this session's programs find the sound servers' sockets, looked for the way their client
/// libraries look: the island waits for a missing server's socket to appear instead of asking again
/// and again. Nothing when the session sends its programs to a server this cannot see appear (one
/// reached over the network, or named in a way other than a socket's path).
class ServiceSockets {
  public:
    /// An environment variable's value, or nothing when it is unset or empty.
    using Variable = std::function<std::optional<std::string>(const char* name)>;

    explicit ServiceSockets(Variable variable = fromEnvironment);

    /// PulseAudio's, or PipeWire's pulse server's: `PULSE_SERVER`, else a `default-server` in the
    /// client configuration, else `native` in `PULSE_RUNTIME_PATH` or in the runtime folder's `pulse`.
    std::optional<std::filesystem::path> pulse() const;
    /// PipeWire's: `PIPEWIRE_REMOTE` (by default "pipewire-0") in `PIPEWIRE_RUNTIME_DIR` or the
    /// runtime folder, unless it is a path of its own.
    std::optional<std::filesystem::path> pipewire() const;

    static std::optional<std::string> fromEnvironment(const char* name);

  private:
    /// The `default-server` of PulseAudio's client configuration, the last one read winning.
    std::optional<std::string> configuredPulseServer() const;

    Variable variable_;
};

} // namespace vq
