#include "vantaquill/providers/SoundMixer.hpp"

#include "vantaquill/providers/PulseConnection.hpp"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace vq {

namespace {

std::string property(const pa_proplist* properties, const char* key) {
    const char* value = properties ? pa_proplist_gets(properties, key) : nullptr;
    return value ? value : "";
}

/// What the view is told when no sound server answers.
SoundMixer::State noServer() {
    SoundMixer::State state;
    state.missing = true;
    return state;
}

pa_volume_t volumeOf(double level) {
    return static_cast<pa_volume_t>(std::lround(std::clamp(level, 0.0, 1.0) * PA_VOLUME_NORM));
}

double levelOf(const pa_cvolume& volume) {
    // The loudest channel is the level people hear and the one mixers show.
    return static_cast<double>(pa_cvolume_max(&volume)) / PA_VOLUME_NORM;
}

} // namespace

/// The connection's side, used on the sound server's thread (and by the main thread only with the
/// loop locked). One reading of the whole state is in flight at a time; events that arrive during
/// it ask for one more after it.
struct SoundMixer::Shared : std::enable_shared_from_this<SoundMixer::Shared> {
    MainThread mainThread;
    /// Cleared by `stop` on the main thread; what was posted before finds it gone.
    SoundMixer* owner = nullptr;
    std::uint64_t generation = 0;

    bool reading = false;
    bool readAgain = false;
    int pendingParts = 0;
    State next;
    /// The server's default output, and every output's channel levels as last read.
    std::string defaultName;
    std::vector<pa_cvolume> volumes;
    /// The default output's name and channel levels, for writes that keep its balance.
    std::string outputName;
    pa_cvolume outputVolume{};

    void read(pa_context* context);
    void partDone(pa_context* context);
    void post(State state) {
        mainThread([shared = shared_from_this(), generation = generation, state = std::move(state)]() mutable {
            if (shared->owner && shared->owner->generation_ == generation)
                shared->owner->apply(generation, std::move(state));
        });
    }
};

namespace {

using Shared = SoundMixer::Shared;

void sinkRead(pa_context* context, const pa_sink_info* info, int eol, void* userdata) {
    auto* shared = static_cast<Shared*>(userdata);
    if (eol != 0)
        return shared->partDone(context);
    if (!info)
        return;
    shared->volumes.push_back(info->volume);
    shared->next.outputs.push_back(SoundMixer::Output{.index = info->index,
                                                      .name = info->name,
                                                      .label = info->description ? info->description : info->name,
                                                      .level = levelOf(info->volume),
                                                      .muted = info->mute != 0});
}

void serverRead(pa_context* context, const pa_server_info* info, void* userdata) {
    auto* shared = static_cast<Shared*>(userdata);
    shared->defaultName = info && info->default_sink_name ? info->default_sink_name : "";
    shared->partDone(context);
}

void streamRead(pa_context* context, const pa_sink_input_info* info, int eol, void* userdata) {
    auto* shared = static_cast<Shared*>(userdata);
    if (eol != 0)
        return shared->partDone(context);
    if (!info || property(info->proplist, PA_PROP_APPLICATION_ID) == PulseConnection::applicationID)
        return;
    SoundMixer::Stream stream;
    stream.index = info->index;
    stream.application = property(info->proplist, PA_PROP_APPLICATION_NAME);
    if (stream.application.empty())
        stream.application = property(info->proplist, PA_PROP_APPLICATION_PROCESS_BINARY);
    stream.media = property(info->proplist, PA_PROP_MEDIA_NAME);
    if (stream.application.empty())
        stream.application = info->name ? info->name : "";
    stream.icon = property(info->proplist, PA_PROP_APPLICATION_ICON_NAME);
    if (stream.icon.empty())
        stream.icon = property(info->proplist, PA_PROP_APPLICATION_PROCESS_BINARY);
    stream.level = levelOf(info->volume);
    stream.muted = info->mute != 0;
    stream.channels = info->volume.channels;
    shared->next.streams.push_back(std::move(stream));
}

void eventArrived(pa_context* context, pa_subscription_event_type_t, uint32_t, void* userdata) {
    static_cast<Shared*>(userdata)->read(context);
}

void contextChanged(pa_context* context, void* userdata) {
    auto* shared = static_cast<Shared*>(userdata);
    const auto settled = PulseConnection::settle(
        context, static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SINK_INPUT |
                                                     PA_SUBSCRIPTION_MASK_SERVER));
    if (settled == PulseConnection::Settled::up)
        shared->read(context);
    else if (settled == PulseConnection::Settled::lost)
        shared->post(noServer());
}

} // namespace

void SoundMixer::Shared::read(pa_context* context) {
    if (reading) {
        readAgain = true;
        return;
    }
    reading = true;
    next = State{};
    next.connected = true;
    volumes.clear();
    pendingParts = 3;
    pa_operation* server = pa_context_get_server_info(context, serverRead, this);
    if (server)
        pa_operation_unref(server);
    else
        --pendingParts;
    pa_operation* outputs = pa_context_get_sink_info_list(context, sinkRead, this);
    if (outputs)
        pa_operation_unref(outputs);
    else
        --pendingParts;
    pa_operation* streams = pa_context_get_sink_input_info_list(context, streamRead, this);
    if (streams)
        pa_operation_unref(streams);
    else
        --pendingParts;
    if (pendingParts == 0) {
        reading = false;
        post(State{});
    }
}

void SoundMixer::Shared::partDone(pa_context* context) {
    if (--pendingParts > 0)
        return;
    // The outputs and the default's name come in separate answers: the output in use is known now.
    outputName.clear();
    for (std::size_t i = 0; i < next.outputs.size(); ++i) {
        if (next.outputs[i].name != defaultName)
            continue;
        next.output = next.outputs[i];
        outputName = defaultName;
        outputVolume = volumes[i];
    }
    reading = false;
    post(std::move(next));
    if (std::exchange(readAgain, false))
        read(context);
}

SoundMixer::SoundMixer(MainThread mainThread) : mainThread_(std::move(mainThread)) {}

SoundMixer::~SoundMixer() {
    onChange = nullptr;
    stop();
}

void SoundMixer::start() {
    // A connection that is up is kept; one that failed (or is still being made) is made again.
    if (pulse_ && state_.connected)
        return;
    stop();
    shared_ = std::make_shared<Shared>();
    shared_->mainThread = mainThread_;
    shared_->owner = this;
    shared_->generation = ++generation_;
    pulse_ = std::make_unique<PulseConnection>();
    // The connection keeps only a pointer to the shared side, which `stop` lets go after it.
    if (!pulse_->connect(contextChanged, shared_.get(), eventArrived)) {
        stop();
        apply(generation_, noServer());
    }
}

void SoundMixer::stop() {
    if (!pulse_)
        return;
    pulse_.reset();
    // Functions already posted keep the shared side alive and find no owner.
    shared_->owner = nullptr;
    shared_.reset();
    ++generation_;
}

void SoundMixer::apply(std::uint64_t generation, State state) {
    if (generation != generation_ || state == state_)
        return;
    state_ = std::move(state);
    if (onChange)
        onChange();
}

void SoundMixer::setStreamLevel(std::uint32_t index, double level) {
    const auto found = std::ranges::find(state_.streams, index, &Stream::index);
    if (!pulse_ || found == state_.streams.end())
        return;
    pa_cvolume volume;
    pa_cvolume_set(&volume, std::max<std::uint32_t>(found->channels, 1), volumeOf(level));
    const PulseConnection::Lock locked(*pulse_);
    if (pa_operation* operation = pa_context_set_sink_input_volume(pulse_->context(), index, &volume, nullptr, nullptr))
        pa_operation_unref(operation);
}

void SoundMixer::setStreamMuted(std::uint32_t index, bool muted) {
    if (!pulse_)
        return;
    const PulseConnection::Lock locked(*pulse_);
    if (pa_operation* operation = pa_context_set_sink_input_mute(pulse_->context(), index, muted ? 1 : 0, nullptr, nullptr))
        pa_operation_unref(operation);
}

void SoundMixer::setOutputLevel(double level) {
    if (!pulse_)
        return;
    const PulseConnection::Lock locked(*pulse_);
    pa_cvolume volume = shared_->outputVolume;
    if (!shared_->outputName.empty() && pa_cvolume_valid(&volume) && pa_cvolume_scale(&volume, volumeOf(level))) {
        if (pa_operation* operation =
                pa_context_set_sink_volume_by_name(pulse_->context(), shared_->outputName.c_str(), &volume, nullptr, nullptr))
            pa_operation_unref(operation);
    }
}

void SoundMixer::setOutputMuted(bool muted) {
    if (!pulse_)
        return;
    const PulseConnection::Lock locked(*pulse_);
    if (!shared_->outputName.empty()) {
        if (pa_operation* operation = pa_context_set_sink_mute_by_name(pulse_->context(), shared_->outputName.c_str(),
                                                                       muted ? 1 : 0, nullptr, nullptr))
            pa_operation_unref(operation);
    }
}

void SoundMixer::setDefaultOutput(const std::string& name) {
    if (!pulse_)
        return;
    const PulseConnection::Lock locked(*pulse_);
    if (pa_operation* operation = pa_context_set_default_sink(pulse_->context(), name.c_str(), nullptr, nullptr))
        pa_operation_unref(operation);
    // A server that keeps streams where they are when the default changes gets them moved too.
    for (const Stream& stream : state_.streams) {
        if (pa_operation* operation =
                pa_context_move_sink_input_by_name(pulse_->context(), stream.index, name.c_str(), nullptr, nullptr))
            pa_operation_unref(operation);
    }
}

} // namespace vq
