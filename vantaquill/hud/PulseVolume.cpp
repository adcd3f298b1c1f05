#include "vantaquill/hud/PulseVolume.hpp"

#include "vantaquill/providers/PulseConnection.hpp"

#include <pulse/pulseaudio.h>

#include <chrono>
#include <cmath>
#include <optional>

namespace vq {

namespace {

using Clock = std::chrono::steady_clock;

/// How often a wait wakes to look at its deadline.
constexpr pa_usec_t wakeInterval = 100 * PA_USEC_PER_MSEC;

const std::string noServer =
    "No sound server answers (PulseAudio, or PipeWire's pulse server), so the volume cannot be set.";

void wake(pa_mainloop_api*, pa_time_event*, const struct timeval*, void* loop) {
    pa_threaded_mainloop_signal(static_cast<pa_threaded_mainloop*>(loop), 0);
}

void wakeOnState(pa_context*, void* loop) {
    pa_threaded_mainloop_signal(static_cast<pa_threaded_mainloop*>(loop), 0);
}

/// Waits, with the loop locked, until `done` holds; false when `PulseVolume::callTimeout` passed first.
template <typename Done>
bool waitFor(pa_threaded_mainloop* loop, Done done) {
    const auto deadline = Clock::now() + std::chrono::duration<double>(PulseVolume::callTimeout);
    pa_mainloop_api* api = pa_threaded_mainloop_get_api(loop);
    while (!done()) {
        if (Clock::now() >= deadline)
            return false;
        // A timer on the loop wakes the wait, so that a server that never answers is noticed.
        struct timeval due;
        pa_timeval_add(pa_gettimeofday(&due), wakeInterval);
        pa_time_event* tick = api->time_new(api, &due, wake, loop);
        pa_threaded_mainloop_wait(loop);
        api->time_free(tick);
    }
    return true;
}

/// One request's answer, filled on the connection's thread while the main thread waits.
struct Pending {
    pa_threaded_mainloop* loop = nullptr;
    bool finished = false;
    bool succeeded = false;
    std::optional<std::string> defaultSink;
    std::optional<PulseVolume::Output> output;
    pa_cvolume volume{};

    void finish(bool success) {
        finished = true;
        succeeded = success;
        pa_threaded_mainloop_signal(loop, 0);
    }
};

void serverRead(pa_context*, const pa_server_info* info, void* userdata) {
    auto* pending = static_cast<Pending*>(userdata);
    if (info && info->default_sink_name)
        pending->defaultSink = info->default_sink_name;
    pending->finish(info != nullptr);
}

void sinkRead(pa_context*, const pa_sink_info* info, int eol, void* userdata) {
    auto* pending = static_cast<Pending*>(userdata);
    if (eol != 0)
        return pending->finish(eol > 0 && pending->output.has_value());
    if (!info)
        return;
    pending->volume = info->volume;
    // The loudest channel is the level people hear and the one mixers show.
    pending->output = PulseVolume::Output{
        .name = info->name,
        .label = info->description ? info->description : info->name,
        .level = {static_cast<double>(pa_cvolume_max(&info->volume)) / PA_VOLUME_NORM, info->mute != 0}};
}

void written(pa_context*, int success, void* userdata) {
    static_cast<Pending*>(userdata)->finish(success != 0);
}

/// Starts a request and waits for its answer; a request that times out is cancelled, so that its
/// callback never reaches the finished `pending`.
template <typename Start>
bool request(pa_threaded_mainloop* loop, Pending& pending, Start start) {
    pending.loop = loop;
    pending.finished = false;
    pa_operation* operation = start();
    if (!operation)
        return false;
    const bool answered = waitFor(loop, [&] { return pending.finished; });
    if (!answered)
        pa_operation_cancel(operation);
    pa_operation_unref(operation);
    return answered && pending.succeeded;
}

} // namespace

PulseVolume::PulseVolume() = default;

PulseVolume::~PulseVolume() {
    disconnect();
}

bool PulseVolume::connect() {
    if (pulse_) {
        bool ready = false;
        {
            const PulseConnection::Lock locked(*pulse_);
            ready = pa_context_get_state(pulse_->context()) == PA_CONTEXT_READY;
        }
        if (ready)
            return true;
        disconnect();
    }
    pulse_ = std::make_unique<PulseConnection>();
    if (!pulse_->connect(wakeOnState, pulse_->loop())) {
        disconnect();
        return false;
    }
    bool ready = false;
    {
        const PulseConnection::Lock locked(*pulse_);
        ready = waitFor(pulse_->loop(), [this] {
                    const auto state = pa_context_get_state(pulse_->context());
                    return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
                }) &&
                pa_context_get_state(pulse_->context()) == PA_CONTEXT_READY;
    }
    if (!ready)
        disconnect();
    return ready;
}

void PulseVolume::disconnect() {
    pulse_.reset();
}

std::expected<PulseVolume::Output, std::string> PulseVolume::read() {
    if (!connect())
        return std::unexpected(noServer);
    Pending pending;
    pa_threaded_mainloop_lock(pulse_->loop());
    bool read = request(pulse_->loop(), pending, [&] { return pa_context_get_server_info(pulse_->context(), serverRead, &pending); });
    read = read && pending.defaultSink &&
           request(pulse_->loop(), pending, [&] {
               return pa_context_get_sink_info_by_name(pulse_->context(), pending.defaultSink->c_str(), sinkRead, &pending);
           });
    const bool lost = !read && pa_context_get_state(pulse_->context()) != PA_CONTEXT_READY;
    pa_threaded_mainloop_unlock(pulse_->loop());
    if (lost)
        disconnect();
    if (!read || !pending.output)
        return std::unexpected(lost ? noServer : "The sound server has no default output.");
    return *pending.output;
}

std::expected<void, std::string> PulseVolume::write(const Output& output, brind::HUDKeyRules::OutputLevel level) {
    if (!connect())
        return std::unexpected(noServer);
    Pending pending;
    pa_threaded_mainloop_lock(pulse_->loop());
    bool done = request(pulse_->loop(), pending, [&] {
        return pa_context_get_sink_info_by_name(pulse_->context(), output.name.c_str(), sinkRead, &pending);
    });
    const auto target = static_cast<pa_volume_t>(std::lround(level.level * PA_VOLUME_NORM));
    if (done && pa_cvolume_scale(&pending.volume, target)) {
        done = request(pulse_->loop(), pending, [&] {
            return pa_context_set_sink_volume_by_name(pulse_->context(), output.name.c_str(), &pending.volume, written,
                                                      &pending);
        });
    }
    done = done && request(pulse_->loop(), pending, [&] {
               return pa_context_set_sink_mute_by_name(pulse_->context(), output.name.c_str(), level.muted ? 1 : 0, written,
                                                       &pending);
           });
    const bool lost = !done && pa_context_get_state(pulse_->context()) != PA_CONTEXT_READY;
    pa_threaded_mainloop_unlock(pulse_->loop());
    if (lost)
        disconnect();
    if (!done)
        return std::unexpected(lost ? noServer : "The sound server did not take the new volume.");
    return {};
}

} // namespace vq
