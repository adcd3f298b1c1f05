#include "vantaquill/providers/VolumeWatcher.hpp"

#include "BrindKit/island/HUDEvent.hpp"

#include <pulse/pulseaudio.h>

#include <optional>
#include <utility>

namespace vq {

/// Lives on the main thread; the sound server's thread only reaches it through posted functions.
struct VolumeWatcher::Shared {
    LiveActivityCenter* center = nullptr;
    std::optional<Level> last;
    Log log;
    bool failed = false;

    /// A report from the server: the first one from a sink is its starting point, a different one
    /// after it is a change made elsewhere.
    void report(const Level& level) {
        if (!center)
            return;
        const bool sameSink = last && last->sinkIndex == level.sinkIndex;
        const bool changed = sameSink && *last != level;
        last = level;
        if (changed)
            center->flash(brind::HUDEvent::make(brind::HUDEvent::Kind::volume, level.value,
                                                level.muted || level.value <= 0, std::nullopt, level.label,
                                                std::nullopt));
    }
};

// Posting to the main thread, and what to run there.
struct VolumeWatcherCallbacks {
    VolumeWatcher::MainThread mainThread;
    std::function<void(const VolumeWatcher::Level&)> report;
    std::function<void()> failed;
};

namespace {

using Callbacks = VolumeWatcherCallbacks;

void sinkRead(pa_context*, const pa_sink_info* info, int eol, void* userdata) {
    if (eol != 0 || !info)
        return;
    auto* callbacks = static_cast<Callbacks*>(userdata);
    VolumeWatcher::Level level;
    level.sinkIndex = info->index;
    level.label = info->description ? info->description : info->name;
    // The loudest channel is the level people hear and the one mixers show.
    level.value = static_cast<double>(pa_cvolume_max(&info->volume)) / PA_VOLUME_NORM;
    level.muted = info->mute != 0;
    callbacks->mainThread([report = callbacks->report, level] { report(level); });
}

void serverRead(pa_context* context, const pa_server_info* info, void* userdata) {
    if (!info || !info->default_sink_name)
        return;
    pa_operation_unref(pa_context_get_sink_info_by_name(context, info->default_sink_name, sinkRead, userdata));
}

void eventArrived(pa_context* context, pa_subscription_event_type_t type, uint32_t, void* userdata) {
    const auto facility = type & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    // A sink's change may be the default sink's, and a server change may be a new default sink:
    // both are answered by reading the default sink again.
    if (facility == PA_SUBSCRIPTION_EVENT_SINK || facility == PA_SUBSCRIPTION_EVENT_SERVER)
        pa_operation_unref(pa_context_get_server_info(context, serverRead, userdata));
}

void contextChanged(pa_context* context, void* userdata) {
    auto* callbacks = static_cast<Callbacks*>(userdata);
    switch (pa_context_get_state(context)) {
    case PA_CONTEXT_READY:
        pa_operation_unref(pa_context_subscribe(
            context, static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SERVER),
            nullptr, nullptr));
        pa_operation_unref(pa_context_get_server_info(context, serverRead, userdata));
        return;
    case PA_CONTEXT_FAILED:
        callbacks->mainThread(callbacks->failed);
        return;
    case PA_CONTEXT_UNCONNECTED:
    case PA_CONTEXT_CONNECTING:
    case PA_CONTEXT_AUTHORIZING:
    case PA_CONTEXT_SETTING_NAME:
    case PA_CONTEXT_TERMINATED:
        return;
    }
}

} // namespace

VolumeWatcher::VolumeWatcher(MainThread mainThread, Log log)
    : mainThread_(std::move(mainThread)), log_(std::move(log)) {}

VolumeWatcher::~VolumeWatcher() {
    stop();
}

void VolumeWatcher::start(LiveActivityCenter& center) {
    shared_ = std::make_shared<Shared>();
    shared_->center = &center;
    shared_->log = log_;
    loop_ = pa_threaded_mainloop_new();
    pa_proplist* properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_APPLICATION_NAME, "vantaquill");
    pa_proplist_sets(properties, PA_PROP_APPLICATION_ID, "io.vantaquill.Island");
    context_ = pa_context_new_with_proplist(pa_threaded_mainloop_get_api(loop_), "vantaquill", properties);
    pa_proplist_free(properties);

    callbacks_ = std::make_unique<Callbacks>(Callbacks{mainThread_,
                                    [shared = shared_](const Level& level) { shared->report(level); },
                                    [shared = shared_] {
                                        if (shared->center && !shared->failed)
                                            shared->log("vantaquill: no sound server (PulseAudio, or PipeWire's "
                                                        "pulse server), so no volume HUD for changes made elsewhere");
                                        shared->failed = true;
                                    }});
    // The context keeps only a pointer to the callbacks, which `stop` frees after the context.
    pa_context_set_state_callback(context_, contextChanged, callbacks_.get());
    pa_context_set_subscribe_callback(context_, eventArrived, callbacks_.get());
    // No autospawn: a desktop without a sound server gets none started by the island.
    if (pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
        callbacks_->failed();
        return;
    }
    pa_threaded_mainloop_start(loop_);
}

void VolumeWatcher::stop() {
    if (shared_)
        shared_->center = nullptr;
    shared_.reset();
    if (!loop_)
        return;
    pa_threaded_mainloop_stop(loop_);
    if (context_) {
        pa_context_set_state_callback(context_, nullptr, nullptr);
        pa_context_set_subscribe_callback(context_, nullptr, nullptr);
        pa_context_disconnect(context_);
        pa_context_unref(context_);
        context_ = nullptr;
    }
    pa_threaded_mainloop_free(loop_);
    loop_ = nullptr;
    callbacks_.reset();
}

} // namespace vq
