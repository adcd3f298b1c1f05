#pragma once

#include <pulse/context.h>
#include <pulse/subscribe.h>
#include <pulse/thread-mainloop.h>

#include <optional>

namespace vq {

/// One connection to the session's sound server (PulseAudio, or PipeWire's pulse server) with a
/// thread of its own, named as the island so that the island's own streams can be told apart. It
/// never starts a server. Its callbacks run on that thread with the connection locked; other
/// threads lock it (`Lock`) around libpulse calls. Dropping it stops the thread before the callbacks
/// are let go, so their data may be freed right after.
class PulseConnection {
public:
    /// The application id the island's own connections and sounds carry.
    static constexpr const char* applicationID = "io.vantaquill.Island";

    PulseConnection();
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    /// Asks the server and starts the thread; `state` (and `events`, for subscriptions) are told
    /// with `userdata`. False when the request could not even be made.
    bool connect(pa_context_notify_cb_t state, void* userdata, pa_context_subscribe_cb_t events = nullptr);

    pa_context* context() const { return context_; }

    /// For a state callback: the connection is up and `events` can be asked for; it failed or the
    /// server went away; or nothing yet (still connecting).
    enum class Settled { up, lost };
    /// Asks for `events` on the connection when it is up; what the state came to, if it came to one.
    static std::optional<Settled> settle(pa_context* context, pa_subscription_mask_t events);
    pa_threaded_mainloop* loop() const { return loop_; }

    /// Holds the connection's lock while it lives.
    class Lock {
    public:
        explicit Lock(const PulseConnection& connection) : loop_(connection.loop_) { pa_threaded_mainloop_lock(loop_); }
        ~Lock() { pa_threaded_mainloop_unlock(loop_); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        pa_threaded_mainloop* loop_;
    };

private:
    pa_threaded_mainloop* loop_;
    pa_context* context_;
    bool started_ = false;
};

} // namespace vq
