#include "vantaquill/providers/MicCameraProvider.hpp"

#include "BrindKit/foundation/RGBA.hpp"
#include "vantaquill/providers/PulseConnection.hpp"

#include <algorithm>
#include <array>
#include <dirent.h>
#include <fstream>
#include <pulse/pulseaudio.h>
#include <set>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

namespace vq {

/// Lives on the main thread; the sound server's thread reaches it only through posted functions.
struct MicCameraProvider::Shared {
    MicCameraProvider* owner = nullptr;
    /// Bumped for every connection, so that what an old one posted late is ignored.
    std::uint64_t generation = 0;
};

struct MicCameraListener {
    MicCameraProvider::MainThread mainThread;
    std::shared_ptr<MicCameraProvider::Shared> shared;
    std::uint64_t generation = 0;

    // The sound server's thread alone reads and writes these: one reading at a time, and one more
    // asked for when events arrive during it.
    bool reading = false;
    bool readAgain = false;
    std::set<std::uint32_t> monitors;
    std::vector<std::string> recorders;

    void tell(bool up) const {
        mainThread([shared = shared, generation = generation, up] {
            if (!shared->owner)
                return;
            if (up)
                shared->owner->soundConnected(generation);
            else
                shared->owner->soundLost(generation);
        });
    }

    void report(std::vector<std::string> names) const {
        std::sort(names.begin(), names.end());
        names.erase(std::unique(names.begin(), names.end()), names.end());
        mainThread([shared = shared, generation = generation, names = std::move(names)] {
            if (shared->owner && generation == shared->generation)
                shared->owner->show(MicCameraProvider::Device::microphone, names);
        });
    }
};

namespace {

using Listener = MicCameraListener;

void readRecorders(pa_context* context, Listener* listener);

void recorderRead(pa_context* context, const pa_source_output_info* info, int eol, void* userdata) {
    auto* listener = static_cast<Listener*>(userdata);
    if (eol == 0 && info) {
        if (info->corked || listener->monitors.contains(info->source))
            return;
        const char* name = pa_proplist_gets(info->proplist, PA_PROP_APPLICATION_NAME);
        if (!name || !*name)
            name = pa_proplist_gets(info->proplist, PA_PROP_APPLICATION_PROCESS_BINARY);
        listener->recorders.emplace_back(name && *name ? name : (info->name ? info->name : "a program"));
        return;
    }
    listener->report(std::move(listener->recorders));
    listener->recorders.clear();
    listener->reading = false;
    if (std::exchange(listener->readAgain, false))
        readRecorders(context, listener);
}

void sourceRead(pa_context* context, const pa_source_info* info, int eol, void* userdata) {
    auto* listener = static_cast<Listener*>(userdata);
    if (eol == 0 && info) {
        if (info->monitor_of_sink != PA_INVALID_INDEX)
            listener->monitors.insert(info->index);
        return;
    }
    pa_operation_unref(pa_context_get_source_output_info_list(context, recorderRead, userdata));
}

// The inputs first (to know which are monitors), then the recordings.
void readRecorders(pa_context* context, Listener* listener) {
    if (listener->reading) {
        listener->readAgain = true;
        return;
    }
    listener->reading = true;
    listener->monitors.clear();
    listener->recorders.clear();
    pa_operation_unref(pa_context_get_source_info_list(context, sourceRead, listener));
}

void soundEvent(pa_context* context, pa_subscription_event_type_t type, uint32_t, void* userdata) {
    const auto facility = type & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    if (facility == PA_SUBSCRIPTION_EVENT_SOURCE_OUTPUT || facility == PA_SUBSCRIPTION_EVENT_SOURCE)
        readRecorders(context, static_cast<Listener*>(userdata));
}

void soundStateChanged(pa_context* context, void* userdata) {
    auto* listener = static_cast<Listener*>(userdata);
    const auto settled = PulseConnection::settle(
        context, static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SOURCE_OUTPUT | PA_SUBSCRIPTION_MASK_SOURCE));
    if (settled == PulseConnection::Settled::up)
        readRecorders(context, listener);
    if (settled)
        listener->tell(settled == PulseConnection::Settled::up);
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const auto& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

std::string firstLine(const std::filesystem::path& file) {
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    return line;
}

} // namespace

MicCameraProvider::MicCameraProvider(Scheduler& scheduler, MainThread mainThread, Log log,
                                     std::filesystem::path deviceFolder, std::filesystem::path processFolder)
    : scheduler_(scheduler), mainThread_(std::move(mainThread)), log_(std::move(log)),
      deviceFolder_(std::move(deviceFolder)), processFolder_(std::move(processFolder)) {}

MicCameraProvider::~MicCameraProvider() {
    stop();
}

bool MicCameraProvider::isCameraNode(std::string_view name) {
    constexpr std::string_view prefix = "video";
    return name.size() > prefix.size() && name.starts_with(prefix) &&
           name.substr(prefix.size()).find_first_not_of("0123456789") == std::string_view::npos;
}

std::vector<std::string> MicCameraProvider::cameraHolders(const std::filesystem::path& processFolder,
                                                          const std::filesystem::path& deviceFolder) {
    // Read with the C library's directory calls: a process may end while its descriptors are read,
    // which they report as a shorter listing where the standard library's iterators would throw.
    std::set<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> processes(::opendir(processFolder.c_str()), ::closedir);
    if (!processes)
        return {};
    std::array<char, 4096> target{};
    while (const dirent* process = ::readdir(processes.get())) {
        const std::string_view pid = process->d_name;
        if (pid.empty() || pid.find_first_not_of("0123456789") != std::string_view::npos)
            continue;
        const auto descriptors = processFolder / pid / "fd";
        const std::unique_ptr<DIR, int (*)(DIR*)> held(::opendir(descriptors.c_str()), ::closedir);
        if (!held)
            continue; // another user's, or gone
        while (const dirent* descriptor = ::readdir(held.get())) {
            const ssize_t length =
                ::readlinkat(::dirfd(held.get()), descriptor->d_name, target.data(), target.size());
            if (length <= 0)
                continue;
            const std::filesystem::path file(std::string(target.data(), static_cast<std::size_t>(length)));
            if (file.parent_path() != deviceFolder || !isCameraNode(file.filename().string()))
                continue;
            const std::string name = firstLine(processFolder / pid / "comm");
            names.insert(name.empty() ? "process " + std::string(pid) : name);
            break;
        }
    }
    return {names.begin(), names.end()};
}

std::optional<brind::LiveActivity> MicCameraProvider::activity(Device device,
                                                               const std::vector<std::string>& users) {
    if (users.empty())
        return std::nullopt;
    // The colours people know from their phones: green for the camera, orange for the microphone.
    const bool camera = device == Device::camera;
    const brind::RGBA colour = camera ? brind::RGBA{0.2, 0.78, 0.35, 1} : brind::RGBA{1, 0.58, 0, 1};
    brind::LiveActivity activity;
    activity.id = std::string(camera ? cameraID : microphoneID);
    activity.source = std::string(providerID);
    activity.priority = brind::ActivityPriority::ambient;
    activity.leading = brind::ActivityGlyph::symbol(camera ? "video.fill" : "mic.fill", colour);
    activity.trailing = brind::ActivityGlyph::dot(colour);
    activity.title = camera ? "Camera in use" : "Microphone in use";
    activity.subtitle = joined(users);
    activity.tint = colour;
    // It says what the devices are doing; hiding it would hide that.
    activity.dismissible = false;
    return activity;
}

void MicCameraProvider::start(LiveActivityCenter& center) {
    center_ = &center;
    shared_ = std::make_shared<Shared>();
    shared_->owner = this;
    watchCameras();
    connectSound();
}

void MicCameraProvider::stop() {
    cameraTimer_.reset();
    watch_.reset();
    nodes_.clear();
    reconnection_.cancel();
    if (shared_)
        shared_->owner = nullptr;
    disconnectSound();
    shared_.reset();
    center_ = nullptr;
}

void MicCameraProvider::watchCameras() {
    auto watch =
        InotifyWatch::open([this](const std::vector<InotifyWatch::Event>& events) { handleCameraEvents(events); });
    const auto folder = watch ? (*watch)->add(deviceFolder_, IN_CREATE | IN_DELETE)
                              : std::expected<int, std::string>(std::unexpected(watch.error()));
    if (!folder) {
        log_("vantaquill: the camera is not watched: " + deviceFolder_.string() +
             " cannot be watched with inotify (" + folder.error() + ")");
        return;
    }
    watch_ = std::move(*watch);
    std::string unwatched;
    const std::unique_ptr<DIR, int (*)(DIR*)> nodes(::opendir(deviceFolder_.c_str()), ::closedir);
    while (const dirent* entry = nodes ? ::readdir(nodes.get()) : nullptr) {
        const std::string name = entry->d_name;
        if (!isCameraNode(name))
            continue;
        if (const auto node = watch_->add(deviceFolder_ / name, IN_OPEN | IN_CLOSE))
            nodes_[*node] = name;
        else
            unwatched += (unwatched.empty() ? "" : ", ") + name + " (" + node.error() + ")";
    }
    // A node the user may not read (not in the seat's ACL nor the video group) is one they cannot
    // use either; it is said, as its use would go unseen.
    if (!unwatched.empty())
        log_("vantaquill: the camera's use is not seen for " + unwatched);
    cameraChanged();
}

void MicCameraProvider::handleCameraEvents(const std::vector<InotifyWatch::Event>& events) {
    bool changed = false;
    for (const InotifyWatch::Event& event : events) {
        if (event.mask & IN_IGNORED) {
            nodes_.erase(event.watch);
            continue;
        }
        if (!event.name.empty() && (event.mask & IN_CREATE) && isCameraNode(event.name)) {
            // A camera plugged in: its node is watched from now on.
            if (const auto node = watch_->add(deviceFolder_ / event.name, IN_OPEN | IN_CLOSE))
                nodes_[*node] = event.name;
        }
        changed = true;
    }
    if (changed)
        cameraChanged();
}

void MicCameraProvider::cameraChanged() {
    if (cameraTimer_)
        return;
    cameraTimer_ = scheduler_.schedule(settleDelay, [this] {
        cameraTimer_.reset();
        show(Device::camera, cameraHolders(processFolder_, deviceFolder_));
    });
}

void MicCameraProvider::show(Device device, const std::vector<std::string>& users) {
    if (!center_)
        return;
    if (auto shown = activity(device, users))
        center_->post(std::move(*shown));
    else
        center_->end(device == Device::camera ? cameraID : microphoneID);
}

void MicCameraProvider::connectSound() {
    const std::uint64_t generation = ++shared_->generation;
    pulse_ = std::make_unique<PulseConnection>();
    listener_ = std::make_unique<Listener>();
    listener_->mainThread = mainThread_;
    listener_->shared = shared_;
    listener_->generation = generation;
    if (!pulse_->connect(soundStateChanged, listener_.get(), soundEvent))
        soundLost(generation);
}

void MicCameraProvider::disconnectSound() {
    // The connection's thread stops before the listener it calls goes.
    pulse_.reset();
    listener_.reset();
}

void MicCameraProvider::soundLost(std::uint64_t generation) {
    if (!pulse_ || !shared_ || generation != shared_->generation)
        return;
    disconnectSound();
    // Whatever was recording is not known to record any more.
    show(Device::microphone, {});
    if (!toldNoSound_)
        log_("vantaquill: no sound server (PulseAudio, or PipeWire's pulse server), so the microphone is not "
             "watched until one answers");
    toldNoSound_ = true;
    reconnection_.failed();
}

void MicCameraProvider::soundConnected(std::uint64_t generation) {
    if (!shared_ || generation != shared_->generation)
        return;
    reconnection_.succeeded();
    if (toldNoSound_)
        log_("vantaquill: the sound server answers; the microphone is watched again");
    toldNoSound_ = false;
}

} // namespace vq
