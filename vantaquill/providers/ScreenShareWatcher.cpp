#include "vantaquill/providers/ScreenShareWatcher.hpp"

#include <pipewire/pipewire.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <set>
#include <utility>

namespace vq {

namespace {

constexpr std::array<std::string_view, 4> keysRead{"media.class", "device.id", "media.role", "node.name"};

} // namespace

/// Lives on the main thread; PipeWire's thread reaches it only through posted functions.
struct ScreenShareWatcher::Shared {
    ScreenShareWatcher* owner = nullptr;
};

struct ScreenShareCallbacks {
    ScreenShareWatcher::MainThread mainThread;
    std::shared_ptr<ScreenShareWatcher::Shared> shared;
    spa_hook coreListener{};
    spa_hook registryListener{};
    /// On PipeWire's thread: the capture streams there are now.
    std::set<std::uint32_t> captures;
    bool told = false;

    void tell(bool shared) {
        if (shared == told)
            return;
        told = shared;
        mainThread([owner = this->shared, shared] {
            if (owner->owner)
                owner->owner->changed(shared);
        });
    }

    void lost(std::string why) {
        mainThread([owner = shared, why = std::move(why)] {
            if (owner->owner)
                owner->owner->lost(why);
        });
    }
};

namespace {

void globalAdded(void* data, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t, const spa_dict* props) {
    if (!props || std::strcmp(type, PW_TYPE_INTERFACE_Node) != 0)
        return;
    std::map<std::string, std::string, std::less<>> read;
    for (const std::string_view key : keysRead) {
        if (const char* value = spa_dict_lookup(props, std::string(key).c_str()))
            read.emplace(key, value);
    }
    if (!ScreenShareWatcher::isScreenCapture(read))
        return;
    auto* callbacks = static_cast<ScreenShareCallbacks*>(data);
    callbacks->captures.insert(id);
    callbacks->tell(true);
}

void globalRemoved(void* data, std::uint32_t id) {
    auto* callbacks = static_cast<ScreenShareCallbacks*>(data);
    if (callbacks->captures.erase(id) != 0)
        callbacks->tell(!callbacks->captures.empty());
}

void coreError(void* data, std::uint32_t id, int, int res, const char* message) {
    // Only the connection itself failing matters; an error about one object is no news here.
    if (id != PW_ID_CORE || res != -EPIPE)
        return;
    static_cast<ScreenShareCallbacks*>(data)->lost(std::string("PipeWire went away (") + (message ? message : "") + ")");
}

const pw_registry_events registryEvents = [] {
    pw_registry_events events{};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global = globalAdded;
    events.global_remove = globalRemoved;
    return events;
}();

const pw_core_events coreEvents = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.error = coreError;
    return events;
}();

} // namespace

bool ScreenShareWatcher::isScreenCapture(const std::map<std::string, std::string, std::less<>>& properties) {
    const auto value = [&properties](std::string_view key) -> std::string_view {
        const auto found = properties.find(key);
        return found == properties.end() ? std::string_view() : std::string_view(found->second);
    };
    const std::string_view mediaClass = value("media.class");
    if (mediaClass != "Video/Source" && mediaClass != "Stream/Output/Video")
        return false;
    return !properties.contains("device.id") && value("media.role") != "Camera";
}

ScreenShareWatcher::ScreenShareWatcher(Scheduler& scheduler, MainThread mainThread, Log log, Change onChange)
    : scheduler_(scheduler), mainThread_(std::move(mainThread)), log_(std::move(log)), onChange_(std::move(onChange)) {}

ScreenShareWatcher::~ScreenShareWatcher() {
    onChange_ = nullptr;
    stop();
}

void ScreenShareWatcher::start(LiveActivityCenter&) {
    connect();
}

void ScreenShareWatcher::connect() {
    pw_init(nullptr, nullptr);
    shared_state_ = std::make_shared<Shared>();
    shared_state_->owner = this;
    callbacks_ = std::make_unique<ScreenShareCallbacks>();
    callbacks_->mainThread = mainThread_;
    callbacks_->shared = shared_state_;
    loop_ = pw_thread_loop_new("vantaquill-share", nullptr);
    context_ = loop_ ? pw_context_new(pw_thread_loop_get_loop(loop_), nullptr, 0) : nullptr;
    // Connecting is a local socket's connect: it does not wait on the server.
    core_ = context_ ? pw_context_connect(context_, nullptr, 0) : nullptr;
    if (!core_) {
        const std::string why = std::strerror(errno);
        release();
        lost("PipeWire, which carries every screen capture on Wayland, does not answer (" + why + ")");
        return;
    }
    if (std::exchange(toldMissing_, false))
        log_("vantaquill: PipeWire answers: the island hides again while the screen is shared");
    reconnection_.succeeded();
    pw_core_add_listener(core_, &callbacks_->coreListener, &coreEvents, callbacks_.get());
    registry_ = pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0);
    pw_registry_add_listener(registry_, &callbacks_->registryListener, &registryEvents, callbacks_.get());
    pw_thread_loop_start(loop_);
}

void ScreenShareWatcher::stop() {
    reconnection_.cancel();
    release();
    changed(false);
}

void ScreenShareWatcher::lost(const std::string& why) {
    release();
    changed(false);
    if (!std::exchange(toldMissing_, true))
        log_("vantaquill: the island does not hide while the screen is shared: " + why);
    reconnection_.failed();
}

void ScreenShareWatcher::release() {
    if (shared_state_)
        shared_state_->owner = nullptr;
    shared_state_.reset();
    if (loop_)
        pw_thread_loop_stop(loop_);
    if (callbacks_) {
        spa_hook_remove(&callbacks_->registryListener);
        spa_hook_remove(&callbacks_->coreListener);
    }
    if (registry_)
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
    registry_ = nullptr;
    if (core_)
        pw_core_disconnect(core_);
    core_ = nullptr;
    if (context_)
        pw_context_destroy(context_);
    context_ = nullptr;
    if (loop_)
        pw_thread_loop_destroy(loop_);
    loop_ = nullptr;
    callbacks_.reset();
}

void ScreenShareWatcher::changed(bool shared) {
    if (shared == shared_)
        return;
    shared_ = shared;
    if (onChange_)
        onChange_(shared);
}

} // namespace vq
