#include "vantaquill/wayland/WaylandFullScreenWatcher.hpp"

#include "vantaquill/wayland/WaylandEventPump.hpp"
#include "vantaquill/wayland/wlr-foreign-toplevel-management-unstable-v1-client-protocol.h"

#include <QGuiApplication>
#include <QObject>
#include <QScreen>
#include <algorithm>
#include <cstring>
#include <iostream>
#include <wayland-client.h>

namespace vq {

namespace {

// Version 2 brought the full-screen state, which is all this watcher is for; 3 adds nothing it
// needs (a window's parent) but nothing it must handle differently either.
constexpr std::uint32_t oldestManagerVersion = 2;
constexpr std::uint32_t newestManagerVersion = 3;
constexpr std::uint32_t outputVersion = 4; // name, to match Qt's screen names

} // namespace

std::expected<std::unique_ptr<WaylandFullScreenWatcher>, std::string>
WaylandFullScreenWatcher::connect(std::function<void()> onChange) {
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return std::unexpected("the full-screen watcher needs a running Qt GUI application");
    std::unique_ptr<WaylandFullScreenWatcher> watcher(new WaylandFullScreenWatcher);
    WaylandFullScreenWatcher* self = watcher.get();
    self->display_ = wl_display_connect(nullptr);
    if (!self->display_)
        return std::unexpected("cannot connect to the Wayland display");

    static const wl_registry_listener registryListener = {
        .global =
            [](void* data, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t version) {
                static_cast<WaylandFullScreenWatcher*>(data)->handleGlobal(name, interface, version);
            },
        .global_remove =
            [](void* data, wl_registry*, std::uint32_t name) {
                static_cast<WaylandFullScreenWatcher*>(data)->handleGlobalRemove(name);
            },
    };
    self->registry_ = wl_display_get_registry(self->display_);
    wl_registry_add_listener(self->registry_, &registryListener, self);
    // The outputs are bound in the first round trip and described in the second, so that the
    // windows the manager lists next can name them.
    for (int i = 0; i < 2; ++i)
        if (wl_display_roundtrip(self->display_) < 0)
            return std::unexpected("the Wayland compositor did not answer");
    if (self->managerName_ == 0)
        return std::unexpected("the Wayland compositor offers no zwlr_foreign_toplevel_manager_v1");
    if (self->managerVersion_ < oldestManagerVersion)
        return std::unexpected("the Wayland compositor's zwlr_foreign_toplevel_manager_v1 is version " +
                               std::to_string(self->managerVersion_) +
                               ", which does not tell full-screen windows");

    self->manager_ = static_cast<zwlr_foreign_toplevel_manager_v1*>(
        wl_registry_bind(self->registry_, self->managerName_, &zwlr_foreign_toplevel_manager_v1_interface,
                         self->managerVersion_));
    static const zwlr_foreign_toplevel_manager_v1_listener managerListener = {
        .toplevel =
            [](void* data, zwlr_foreign_toplevel_manager_v1*, zwlr_foreign_toplevel_handle_v1* handle) {
                static_cast<WaylandFullScreenWatcher*>(data)->handleToplevel(handle);
            },
        .finished =
            [](void* data, zwlr_foreign_toplevel_manager_v1*) {
                static_cast<WaylandFullScreenWatcher*>(data)->handleFinished();
            },
    };
    zwlr_foreign_toplevel_manager_v1_add_listener(self->manager_, &managerListener, self);
    if (wl_display_roundtrip(self->display_) < 0)
        return std::unexpected("the Wayland compositor did not answer");

    self->context_ = std::make_unique<QObject>();
    self->pump_ =
        std::make_unique<WaylandEventPump>(self->display_, [self] { self->handleConnectionLost(); });
    // Screens Qt learns about later may be where a full-screen window already is.
    QObject::connect(qGuiApp, &QGuiApplication::screenAdded, self->context_.get(),
                     [self] { self->announce(); });
    // Only from now on: the owner asks for the first answer once it holds the watcher.
    self->onChange_ = std::move(onChange);
    return watcher;
}

WaylandFullScreenWatcher::~WaylandFullScreenWatcher() {
    context_.reset();
    pump_.reset();
    for (const auto& toplevel : toplevels_)
        zwlr_foreign_toplevel_handle_v1_destroy(toplevel->handle);
    if (manager_)
        zwlr_foreign_toplevel_manager_v1_destroy(manager_);
    for (const auto& output : outputs_)
        if (output->version >= WL_OUTPUT_RELEASE_SINCE_VERSION)
            wl_output_release(output->output);
        else
            wl_output_destroy(output->output);
    if (registry_)
        wl_registry_destroy(registry_);
    if (display_)
        wl_display_disconnect(display_);
}

std::optional<QPoint> WaylandFullScreenWatcher::fullScreenWindowCentre() const {
    const auto active =
        std::ranges::find_if(toplevels_, [](const auto& toplevel) { return toplevel->activated; });
    if (active == toplevels_.end() || !(*active)->fullScreen || (*active)->outputs.empty())
        return std::nullopt;
    const Output* output = outputOf((*active)->outputs.front());
    if (!output)
        return std::nullopt;
    const auto screens = QGuiApplication::screens();
    // Qt on Wayland names its screens after the outputs; on another platform the position tells.
    auto screen = std::ranges::find_if(screens, [&](const QScreen* candidate) {
        return !output->name.empty() && candidate->name().toStdString() == output->name;
    });
    if (screen == screens.end())
        screen = std::ranges::find_if(screens, [&](const QScreen* candidate) {
            return candidate->geometry().topLeft() == output->position;
        });
    if (screen == screens.end())
        return std::nullopt;
    return (*screen)->geometry().center();
}

// MARK: - Globals

void WaylandFullScreenWatcher::handleGlobal(std::uint32_t name, const char* interface,
                                            std::uint32_t version) {
    if (std::strcmp(interface, zwlr_foreign_toplevel_manager_v1_interface.name) == 0) {
        managerName_ = name;
        managerVersion_ = std::min(version, newestManagerVersion);
        return;
    }
    if (std::strcmp(interface, wl_output_interface.name) != 0)
        return;
    auto output = std::make_unique<Output>();
    output->registryName = name;
    output->version = std::min(version, outputVersion);
    output->output =
        static_cast<wl_output*>(wl_registry_bind(registry_, name, &wl_output_interface, output->version));
    static const wl_output_listener outputListener = {
        .geometry = [](void* data, wl_output*, std::int32_t x, std::int32_t y, std::int32_t, std::int32_t,
                       std::int32_t, const char*, const char*,
                       std::int32_t) { static_cast<Output*>(data)->position = QPoint(x, y); },
        .mode = [](void*, wl_output*, std::uint32_t, std::int32_t, std::int32_t, std::int32_t) {},
        .done = [](void*, wl_output*) {},
        .scale = [](void*, wl_output*, std::int32_t) {},
        .name = [](void* data, wl_output*,
                   const char* outputName) { static_cast<Output*>(data)->name = outputName; },
        .description = [](void*, wl_output*, const char*) {},
    };
    wl_output_add_listener(output->output, &outputListener, output.get());
    outputs_.push_back(std::move(output));
}

void WaylandFullScreenWatcher::handleGlobalRemove(std::uint32_t name) {
    const auto found =
        std::ranges::find_if(outputs_, [name](const auto& output) { return output->registryName == name; });
    if (found == outputs_.end())
        return;
    wl_output* gone = (*found)->output;
    for (const auto& toplevel : toplevels_)
        std::erase(toplevel->outputs, gone);
    if ((*found)->version >= WL_OUTPUT_RELEASE_SINCE_VERSION)
        wl_output_release(gone);
    else
        wl_output_destroy(gone);
    outputs_.erase(found);
    announce();
}

const WaylandFullScreenWatcher::Output* WaylandFullScreenWatcher::outputOf(wl_output* output) const {
    const auto found =
        std::ranges::find_if(outputs_, [output](const auto& known) { return known->output == output; });
    return found == outputs_.end() ? nullptr : found->get();
}

// MARK: - Windows

void WaylandFullScreenWatcher::handleToplevel(zwlr_foreign_toplevel_handle_v1* handle) {
    auto toplevel = std::make_unique<Toplevel>();
    toplevel->owner = this;
    toplevel->handle = handle;
    static const zwlr_foreign_toplevel_handle_v1_listener listener = {
        .title = [](void*, zwlr_foreign_toplevel_handle_v1*, const char*) {},
        .app_id = [](void*, zwlr_foreign_toplevel_handle_v1*, const char*) {},
        .output_enter =
            [](void* data, zwlr_foreign_toplevel_handle_v1*, wl_output* output) {
                auto& outputs = static_cast<Toplevel*>(data)->outputs;
                if (std::ranges::find(outputs, output) == outputs.end())
                    outputs.push_back(output);
            },
        .output_leave = [](void* data, zwlr_foreign_toplevel_handle_v1*,
                           wl_output* output) { std::erase(static_cast<Toplevel*>(data)->outputs, output); },
        .state =
            [](void* data, zwlr_foreign_toplevel_handle_v1*, wl_array* states) {
                auto& pending = static_cast<Toplevel*>(data)->pendingStates;
                const auto* first = static_cast<const std::uint32_t*>(states->data);
                pending.assign(first, first + states->size / sizeof(std::uint32_t));
            },
        .done =
            [](void* data, zwlr_foreign_toplevel_handle_v1*) {
                auto* toplevel = static_cast<Toplevel*>(data);
                toplevel->owner->handleDone(*toplevel);
            },
        .closed =
            [](void* data, zwlr_foreign_toplevel_handle_v1*) {
                auto* toplevel = static_cast<Toplevel*>(data);
                toplevel->owner->handleClosed(*toplevel);
            },
        .parent = [](void*, zwlr_foreign_toplevel_handle_v1*, zwlr_foreign_toplevel_handle_v1*) {},
    };
    zwlr_foreign_toplevel_handle_v1_add_listener(handle, &listener, toplevel.get());
    toplevels_.push_back(std::move(toplevel));
}

void WaylandFullScreenWatcher::handleDone(Toplevel& toplevel) {
    const auto holds = [&](std::uint32_t state) {
        return std::ranges::find(toplevel.pendingStates, state) != toplevel.pendingStates.end();
    };
    toplevel.activated = holds(ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED);
    toplevel.fullScreen = holds(ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_FULLSCREEN);
    announce();
}

void WaylandFullScreenWatcher::handleClosed(Toplevel& toplevel) {
    zwlr_foreign_toplevel_handle_v1_destroy(toplevel.handle);
    std::erase_if(toplevels_, [&](const auto& known) { return known.get() == &toplevel; });
    announce();
}

void WaylandFullScreenWatcher::handleFinished() {
    // The compositor stopped listing windows (it is going away, or withdrew the global): what is
    // known may be stale, so nothing is taken for full screen any more.
    zwlr_foreign_toplevel_manager_v1_destroy(manager_);
    manager_ = nullptr;
    for (const auto& toplevel : toplevels_)
        zwlr_foreign_toplevel_handle_v1_destroy(toplevel->handle);
    toplevels_.clear();
    announce();
}

// MARK: - Connection

void WaylandFullScreenWatcher::handleConnectionLost() {
    std::cerr << "vantaquill: full-screen windows are no longer followed: the Wayland connection failed ("
              << std::strerror(wl_display_get_error(display_)) << ")" << std::endl;
    for (const auto& toplevel : toplevels_)
        zwlr_foreign_toplevel_handle_v1_destroy(toplevel->handle);
    toplevels_.clear();
    announce();
}

void WaylandFullScreenWatcher::announce() {
    if (onChange_)
        onChange_();
}

} // namespace vq
