#pragma once

#include "tests/e2e/E2EProcess.hpp"
#include "tests/support/BackgroundProgram.hpp"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vq {

/// A real PulseAudio with two null sinks, on the socket a session's programs find through
/// XDG_RUNTIME_DIR; no other client, module or device.
class SoundServer : public BackgroundProgram {
  public:
    explicit SoundServer(const e2e::TemporaryHome& home)
        : BackgroundProgram(
              "/usr/bin/pulseaudio",
              {"-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no", "--disable-shm=yes", "-L",
               "module-native-protocol-unix socket=" + prepared(home).string(), "-L",
               "module-null-sink sink_name=speakers sink_properties=device.description=Speakers", "-L",
               "module-null-sink sink_name=headphones sink_properties=device.description=Headphones"},
              {"HOME=" + home.path().string(), "XDG_RUNTIME_DIR=" + home.path().string(),
               "PATH=/usr/bin:/bin"}),
          home(home) {}

    /// Runs pactl against this server; its standard output, or nothing when it failed.
    std::optional<std::string> control(const std::vector<std::string>& arguments) const {
        auto result = e2e::run("/usr/bin/pactl", arguments, home.environment());
        if (result.exitCode != 0)
            return std::nullopt;
        return result.out;
    }

    bool waitUntilReady() const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < deadline) {
            if (control({"info"}))
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        return false;
    }

  private:
    static std::filesystem::path prepared(const e2e::TemporaryHome& home) {
        std::filesystem::create_directories(home.path() / "pulse");
        return home.path() / "pulse" / "native";
    }

    const e2e::TemporaryHome& home;
};

/// Points this process at `home`'s sound server (its socket and cookie) while it lives.
class SessionOf {
  public:
    explicit SessionOf(const std::map<std::string, std::string>& variables) {
        for (const auto& [name, value] : variables) {
            const char* before = std::getenv(name.c_str());
            saved.emplace(name, before ? std::optional<std::string>(before) : std::nullopt);
            ::setenv(name.c_str(), value.c_str(), 1);
        }
    }
    ~SessionOf() {
        for (const auto& [name, value] : saved) {
            if (value)
                ::setenv(name.c_str(), value->c_str(), 1);
            else
                ::unsetenv(name.c_str());
        }
    }

  private:
    std::map<std::string, std::optional<std::string>> saved;
};

} // namespace vq
