#pragma once

#include "tests/support/BackgroundProgram.hpp"

#include <pipewire/pipewire.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace vq {

/// A real PipeWire daemon whose socket is FOLDER/pipewire-0: a program whose XDG_RUNTIME_DIR is
/// FOLDER finds it, as a desktop session's programs find theirs.
class PipeWireDaemon {
public:
    static constexpr const char* program = "/usr/bin/pipewire";

    explicit PipeWireDaemon(const std::filesystem::path& folder)
        : socket(folder / "pipewire-0"),
          daemon(program, {},
                 {"XDG_RUNTIME_DIR=" + folder.string(), "HOME=" + folder.string(), "PATH=/usr/bin:/bin"}) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!std::filesystem::exists(socket) && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }

    static bool installed() { return std::filesystem::exists(program); }
    bool running() const { return std::filesystem::exists(socket); }

private:
    std::filesystem::path socket;
    BackgroundProgram daemon;
};

/// A video stream made by a program, as the desktop's screen-cast portal makes one for each
/// shared screen.
class CaptureStream {
public:
    /// On the PipeWire whose socket is in `runtime`.
    explicit CaptureStream(const std::filesystem::path& runtime) {
        pw_init(nullptr, nullptr);
        ::setenv("PIPEWIRE_RUNTIME_DIR", runtime.c_str(), 1);
        loop = pw_thread_loop_new("test-capture", nullptr);
        pw_thread_loop_lock(loop);
        pw_thread_loop_start(loop);
        static const pw_stream_events events = [] {
            pw_stream_events made{};
            made.version = PW_VERSION_STREAM_EVENTS;
            return made;
        }();
        stream = pw_stream_new_simple(pw_thread_loop_get_loop(loop), "test-screen-cast",
                                      pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", nullptr), &events, nullptr);
        connected = stream && pw_stream_connect(stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, PW_STREAM_FLAG_DRIVER,
                                                nullptr, 0) == 0;
        pw_thread_loop_unlock(loop);
    }
    ~CaptureStream() {
        end();
        pw_thread_loop_stop(loop);
        pw_thread_loop_destroy(loop);
        ::unsetenv("PIPEWIRE_RUNTIME_DIR");
    }
    void end() {
        pw_thread_loop_lock(loop);
        if (stream)
            pw_stream_destroy(stream);
        stream = nullptr;
        pw_thread_loop_unlock(loop);
    }
    bool connected = false;

private:
    pw_thread_loop* loop = nullptr;
    pw_stream* stream = nullptr;
};

} // namespace vq
