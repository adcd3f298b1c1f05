#include "vantaquill/providers/VolumeWatcher.hpp"

#include "BrindKit/island/HUDEvent.hpp"
#include "vantaquill/providers/PulseConnection.hpp"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace vq {

/// Lives on the main thread; the sound server's thread only reaches it through posted functions.
struct VolumeWatcher::Shared {
    VolumeWatcher* owner = nullptr;
    LiveActivityCenter* center = nullptr;
    VolumeWatcher::MayFlash mayFlash;
    /// Bumped for every connection, so that what an old one posted late is ignored.
    std::uint64_t generation = 0;
    std::optional<Level> last;

    /// A report from the server: the first one from a sink is its starting point, a different one
    /// after it is a change made elsewhere.
    void report(std::uint64_t from, const Level& level) {
        if (!center || from != generation)
            return;
        const bool sameSink = last && last->sinkIndex == level.sinkIndex;
        const bool changed = sameSink && *last != level;
        last = level;
        if (changed && mayFlash())
            center->flash(brind::HUDEvent::make(brind::HUDEvent::Kind::volume, level.value,
                                                level.muted || level.value <= 0, std::nullopt, level.label,
                                                std::nullopt));
    }
};

struct VolumeWatcherCallbacks {
    VolumeWatcher::MainThread mainThread;
    std::shared_ptr<VolumeWatcher::Shared> shared;
    std::uint64_t generation = 0;

    /// Tells the watcher on the main thread that this connection is up, or failed or ended.
    void tell(bool up) const {
        mainThread([shared = shared, generation = generation, up] {
            if (!shared->owner)
                return;
            if (up)
                shared->owner->connected(generation);
            else
                shared->owner->lost(generation);
        });
    }

    void report(const VolumeWatcher::Level& level) const {
        mainThread([shared = shared, generation = generation, level] { shared->report(generation, level); });
    }
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
    callbacks->report(level);
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
    const auto* callbacks = static_cast<const Callbacks*>(userdata);
    const auto settled = PulseConnection::settle(
        context, static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SERVER));
    if (settled == PulseConnection::Settled::up)
        pa_operation_unref(pa_context_get_server_info(context, serverRead, userdata));
    if (settled)
        callbacks->tell(settled == PulseConnection::Settled::up);
}

} // namespace

VolumeWatcher::VolumeWatcher(Scheduler& scheduler, MainThread mainThread, Log log, MayFlash mayFlash)
    : scheduler_(scheduler), mainThread_(std::move(mainThread)), log_(std::move(log)), mayFlash_(std::move(mayFlash)) {}

VolumeWatcher::~VolumeWatcher() {
    stop();
}

void VolumeWatcher::start(LiveActivityCenter& center) {
    shared_ = std::make_shared<Shared>();
    shared_->owner = this;
    shared_->center = &center;
    shared_->mayFlash = mayFlash_;
    connect();
}

void VolumeWatcher::stop() {
    reconnection_.cancel();
    if (shared_) {
        shared_->owner = nullptr;
        shared_->center = nullptr;
    }
    disconnect();
    shared_.reset();
}

void VolumeWatcher::connect() {
    const std::uint64_t generation = ++shared_->generation;
    shared_->last.reset();
    pulse_ = std::make_unique<PulseConnection>();
    callbacks_ = std::make_unique<Callbacks>(Callbacks{mainThread_, shared_, generation});
    if (!pulse_->connect(contextChanged, callbacks_.get(), eventArrived))
        lost(generation);
}

void VolumeWatcher::disconnect() {
    // The connection's thread stops before the callbacks it calls go.
    pulse_.reset();
    callbacks_.reset();
}

void VolumeWatcher::lost(std::uint64_t generation) {
    // A failure can be reported twice (by the state callback and by the connect call itself).
    if (!pulse_ || !shared_ || generation != shared_->generation)
        return;
    disconnect();
    if (!toldMissing_)
        log_("vantaquill: no sound server (PulseAudio, or PipeWire's pulse server), so no volume HUD for "
             "changes made elsewhere until one answers");
    toldMissing_ = true;
    reconnection_.failed();
}

void VolumeWatcher::connected(std::uint64_t generation) {
    if (!shared_ || generation != shared_->generation)
        return;
    reconnection_.succeeded();
    if (toldMissing_)
        log_("vantaquill: the sound server answers; the volume HUD follows it again");
    toldMissing_ = false;
}

} // namespace vq
