#include "vantaquill/wayland/LayerShellSurface.hpp"

#include "vantaquill/wayland/ShmBuffer.hpp"
#include "vantaquill/wayland/WaylandDataDevice.hpp"
#include "vantaquill/wayland/WaylandEventPump.hpp"
// The protocol names an argument "namespace", a C++ keyword, in the generated inline functions.
#define namespace layerNamespace
#include "vantaquill/wayland/wlr-layer-shell-unstable-v1-client-protocol.h"
#undef namespace

#include <QCoreApplication>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <iostream>
#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

namespace vq {

namespace {

// The newest version of each global whose requests and events this surface knows.
constexpr std::uint32_t compositorVersion = 4;        // damage_buffer
constexpr std::uint32_t seatVersion = 5;              // release, pointer frames
constexpr std::uint32_t outputVersion = 4;            // name, to match Qt's screen names
constexpr std::uint32_t layerShellVersion = 4;        // on-demand keyboard interactivity
constexpr std::uint32_t dataDeviceManagerVersion = 3; // drag actions
// A buffer that stays busy is still being read by the compositor; a few in flight are normal
// (double buffering plus one being released), more means the old ones are no longer needed.
constexpr std::size_t maxBuffers = 3;
constexpr const char* layerNamespace = "vantaquill-island";
// Keycodes on the wire are evdev codes; XKB numbers them from 8.
constexpr std::uint32_t evdevToXKBOffset = 8;

double monotonicSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

Qt::MouseButton qtButton(std::uint32_t evdevButton) {
    switch (evdevButton) {
    case BTN_LEFT:
        return Qt::LeftButton;
    case BTN_RIGHT:
        return Qt::RightButton;
    case BTN_MIDDLE:
        return Qt::MiddleButton;
    case BTN_SIDE:
        return Qt::BackButton;
    case BTN_EXTRA:
        return Qt::ForwardButton;
    }
    return Qt::NoButton;
}

// The keys the island reacts to by name; every other key is known by the character it types.
int qtKey(xkb_keysym_t keysym, const QString& text) {
    static constexpr std::array<std::pair<xkb_keysym_t, int>, 17> named = {{
        {XKB_KEY_Escape, Qt::Key_Escape},
        {XKB_KEY_Return, Qt::Key_Return},
        {XKB_KEY_KP_Enter, Qt::Key_Enter},
        {XKB_KEY_BackSpace, Qt::Key_Backspace},
        {XKB_KEY_Tab, Qt::Key_Tab},
        {XKB_KEY_ISO_Left_Tab, Qt::Key_Backtab},
        {XKB_KEY_Delete, Qt::Key_Delete},
        {XKB_KEY_Home, Qt::Key_Home},
        {XKB_KEY_End, Qt::Key_End},
        {XKB_KEY_Left, Qt::Key_Left},
        {XKB_KEY_Right, Qt::Key_Right},
        {XKB_KEY_Up, Qt::Key_Up},
        {XKB_KEY_Down, Qt::Key_Down},
        {XKB_KEY_Page_Up, Qt::Key_PageUp},
        {XKB_KEY_Page_Down, Qt::Key_PageDown},
        {XKB_KEY_space, Qt::Key_Space},
        {XKB_KEY_Insert, Qt::Key_Insert},
    }};
    for (const auto& [sym, key] : named)
        if (sym == keysym)
            return key;
    if (!text.isEmpty() && text.at(0).isPrint())
        return text.at(0).toUpper().unicode();
    return Qt::Key_unknown;
}

std::string protocolErrorText(wl_display* display) {
    const int error = wl_display_get_error(display);
    if (error != EPROTO)
        return std::string("the connection to the Wayland compositor was lost: ") + std::strerror(error);
    const wl_interface* interface = nullptr;
    std::uint32_t id = 0;
    const std::uint32_t code = wl_display_get_protocol_error(display, &interface, &id);
    return "the Wayland compositor ended the island's connection: protocol error " + std::to_string(code) +
           " on " + (interface ? interface->name : "an unknown object") + "@" + std::to_string(id);
}

} // namespace

// MARK: - Probe

LayerShellSurface::Probe LayerShellSurface::probe() {
    const char* displayName = std::getenv("WAYLAND_DISPLAY");
    if (!displayName || !*displayName)
        return {.offered = false, .reason = "WAYLAND_DISPLAY is not set: not a Wayland session"};
    wl_display* display = wl_display_connect(nullptr);
    if (!display)
        return {.offered = false,
                .reason = std::string("cannot connect to the Wayland display \"") + displayName + "\""};

    std::uint32_t offeredVersion = 0;
    static const wl_registry_listener listener = {
        .global =
            [](void* data, wl_registry*, std::uint32_t, const char* interface, std::uint32_t version) {
                if (std::strcmp(interface, zwlr_layer_shell_v1_interface.name) == 0)
                    *static_cast<std::uint32_t*>(data) = version;
            },
        .global_remove = [](void*, wl_registry*, std::uint32_t) {},
    };
    wl_registry* registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &listener, &offeredVersion);
    const bool answered = wl_display_roundtrip(display) >= 0;
    wl_registry_destroy(registry);
    wl_display_disconnect(display);

    if (!answered)
        return {.offered = false, .reason = "the Wayland compositor did not answer"};
    if (offeredVersion == 0)
        return {.offered = false, .reason = "the Wayland compositor offers no zwlr_layer_shell_v1"};
    return {.offered = true,
            .reason = "the Wayland compositor offers zwlr_layer_shell_v1 version " +
                      std::to_string(offeredVersion)};
}

// MARK: - Connection

std::expected<std::unique_ptr<LayerShellSurface>, std::string> LayerShellSurface::connect() {
    if (!QCoreApplication::instance())
        return std::unexpected("the layer-shell surface needs a running Qt application");
    std::unique_ptr<LayerShellSurface> surface(new LayerShellSurface);
    surface->display_ = wl_display_connect(nullptr);
    if (!surface->display_)
        return std::unexpected("cannot connect to the Wayland display");

    static const wl_registry_listener registryListener = {
        .global =
            [](void* data, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t version) {
                static_cast<LayerShellSurface*>(data)->handleGlobal(name, interface, version);
            },
        .global_remove =
            [](void* data, wl_registry*, std::uint32_t name) {
                static_cast<LayerShellSurface*>(data)->handleGlobalRemove(name);
            },
    };
    surface->registry_ = wl_display_get_registry(surface->display_);
    wl_registry_add_listener(surface->registry_, &registryListener, surface.get());
    // The first round trip lists the globals, the second brings the outputs' and the seat's state.
    for (int i = 0; i < 2; ++i)
        if (wl_display_roundtrip(surface->display_) < 0)
            return std::unexpected(protocolErrorText(surface->display_));

    if (!surface->compositor_ || surface->compositorVersion_ < 3)
        return std::unexpected("the Wayland compositor offers no wl_compositor of version 3 or later");
    if (!surface->shm_)
        return std::unexpected("the Wayland compositor offers no wl_shm");
    if (!surface->layerShell_)
        return std::unexpected("the Wayland compositor offers no zwlr_layer_shell_v1");

    LayerShellSurface* self = surface.get();
    self->context_ = std::make_unique<QObject>();
    self->pump_ = std::make_unique<WaylandEventPump>(self->display_, [self] {
        self->connectionError_ = protocolErrorText(self->display_);
        std::cerr << "vantaquill: " << *self->connectionError_ << std::endl;
    });
    // Without data devices the island still shows; only files cannot be dropped on it or dragged out.
    if (self->dataDeviceManager_ && self->seat_) {
        self->dataDevice_ = std::make_unique<WaylandDataDevice>(
            self->dataDeviceManager_, self->dataDeviceManagerVersion_, self->seat_,
            [self](wl_surface* target) { return target == self->surface_; },
            [self] { self->pump_->flush(); });
        self->dataDevice_->onDrop = [self](const DropEvent& event) {
            return self->onDrop && self->onDrop(event);
        };
    } else {
        std::cerr << "vantaquill: nothing can be dropped on the island: the Wayland compositor offers no "
                     "wl_data_device_manager"
                  << std::endl;
    }
    return surface;
}

LayerShellSurface::~LayerShellSurface() {
    // The island that owns the callbacks is going away too: tearing down says nothing to it.
    onFrame = nullptr;
    paint = nullptr;
    onPointer = nullptr;
    onKey = nullptr;
    onKeyboardLost = nullptr;
    onDrop = nullptr;
    context_.reset();
    dataDevice_.reset();
    pump_.reset();
    destroySurface();
    buffers_.clear();
    if (xkbState_)
        xkb_state_unref(xkbState_);
    if (keymap_)
        xkb_keymap_unref(keymap_);
    if (xkbContext_)
        xkb_context_unref(xkbContext_);
    if (pointer_)
        wl_pointer_destroy(pointer_);
    if (keyboard_)
        wl_keyboard_destroy(keyboard_);
    if (seat_)
        wl_seat_destroy(seat_);
    for (const auto& output : outputs_)
        wl_output_destroy(output->output);
    if (dataDeviceManager_)
        wl_data_device_manager_destroy(dataDeviceManager_);
    if (layerShell_)
        zwlr_layer_shell_v1_destroy(layerShell_);
    if (shm_)
        wl_shm_destroy(shm_);
    if (compositor_)
        wl_compositor_destroy(compositor_);
    if (registry_)
        wl_registry_destroy(registry_);
    if (display_) {
        wl_display_flush(display_);
        wl_display_disconnect(display_);
    }
}

// MARK: - Globals

void LayerShellSurface::handleGlobal(std::uint32_t name, const char* interface, std::uint32_t version) {
    const auto is = [interface](const wl_interface& known) {
        return std::strcmp(interface, known.name) == 0;
    };
    if (is(wl_compositor_interface)) {
        compositorVersion_ = std::min(version, compositorVersion);
        compositor_ = static_cast<wl_compositor*>(
            wl_registry_bind(registry_, name, &wl_compositor_interface, compositorVersion_));
        return;
    }
    if (is(wl_shm_interface)) {
        shm_ = static_cast<wl_shm*>(wl_registry_bind(registry_, name, &wl_shm_interface, 1));
        return;
    }
    if (is(wl_data_device_manager_interface)) {
        dataDeviceManagerVersion_ = std::min(version, dataDeviceManagerVersion);
        dataDeviceManager_ = static_cast<wl_data_device_manager*>(
            wl_registry_bind(registry_, name, &wl_data_device_manager_interface, dataDeviceManagerVersion_));
        return;
    }
    if (is(zwlr_layer_shell_v1_interface)) {
        layerShellVersion_ = std::min(version, layerShellVersion);
        layerShell_ = static_cast<zwlr_layer_shell_v1*>(
            wl_registry_bind(registry_, name, &zwlr_layer_shell_v1_interface, layerShellVersion_));
        return;
    }
    if (is(wl_seat_interface) && !seat_) {
        seatVersion_ = std::min(version, seatVersion);
        seat_ = static_cast<wl_seat*>(wl_registry_bind(registry_, name, &wl_seat_interface, seatVersion_));
        static const wl_seat_listener seatListener = {
            .capabilities =
                [](void* data, wl_seat*, std::uint32_t capabilities) {
                    static_cast<LayerShellSurface*>(data)->handleSeatCapabilities(capabilities);
                },
            .name = [](void*, wl_seat*, const char*) {},
        };
        wl_seat_add_listener(seat_, &seatListener, this);
        return;
    }
    if (!is(wl_output_interface))
        return;

    auto output = std::make_unique<Output>();
    output->owner = this;
    output->registryName = name;
    output->version = std::min(version, outputVersion);
    output->output =
        static_cast<wl_output*>(wl_registry_bind(registry_, name, &wl_output_interface, output->version));
    static const wl_output_listener outputListener = {
        .geometry = [](void* data, wl_output*, std::int32_t x, std::int32_t y, std::int32_t, std::int32_t,
                       std::int32_t, const char*, const char*,
                       std::int32_t) { static_cast<Output*>(data)->position = QPoint(x, y); },
        .mode = [](void*, wl_output*, std::uint32_t, std::int32_t, std::int32_t, std::int32_t) {},
        .done =
            [](void* data, wl_output*) {
                auto* output = static_cast<Output*>(data);
                output->owner->handleOutputDone(*output);
            },
        .scale = [](void* data, wl_output*,
                    std::int32_t factor) { static_cast<Output*>(data)->pendingScale = std::max(1, factor); },
        .name = [](void* data, wl_output*,
                   const char* outputName) { static_cast<Output*>(data)->name = outputName; },
        .description = [](void*, wl_output*, const char*) {},
    };
    wl_output_add_listener(output->output, &outputListener, output.get());
    // Before version 2 an output sends no "done": what it says at bind time is all there is.
    if (output->version < WL_OUTPUT_DONE_SINCE_VERSION)
        output->ready = true;
    outputs_.push_back(std::move(output));
}

void LayerShellSurface::handleGlobalRemove(std::uint32_t name) {
    const auto found =
        std::ranges::find_if(outputs_, [name](const auto& output) { return output->registryName == name; });
    if (found == outputs_.end())
        return;
    if (surfaceOutput_ == found->get())
        destroySurface();
    if ((*found)->version >= WL_OUTPUT_RELEASE_SINCE_VERSION)
        wl_output_release((*found)->output);
    else
        wl_output_destroy((*found)->output);
    outputs_.erase(found);
    reconcileLater();
}

void LayerShellSurface::handleOutputDone(Output& output) {
    const bool scaleChanged = output.scale != output.pendingScale;
    output.scale = output.pendingScale;
    output.ready = true;
    if (&output == surfaceOutput_ && scaleChanged) {
        frameWanted_ = true;
        drawLater();
    }
    // A screen the island waits for may just have come.
    reconcileLater();
}

void LayerShellSurface::handleSeatCapabilities(std::uint32_t capabilities) {
    const bool hasPointer = capabilities & WL_SEAT_CAPABILITY_POINTER;
    if (hasPointer && !pointer_) {
        pointer_ = wl_seat_get_pointer(seat_);
        static const wl_pointer_listener pointerListener = {
            .enter =
                [](void* data, wl_pointer*, std::uint32_t, wl_surface* surface, wl_fixed_t x, wl_fixed_t y) {
                    auto* self = static_cast<LayerShellSurface*>(data);
                    if (!surface || surface != self->surface_)
                        return;
                    self->pointerInside_ = true;
                    self->pointerPosition_ = QPointF(wl_fixed_to_double(x), wl_fixed_to_double(y));
                    self->handlePointer(PointerEvent::Type::enter);
                },
            .leave =
                [](void* data, wl_pointer*, std::uint32_t, wl_surface*) {
                    auto* self = static_cast<LayerShellSurface*>(data);
                    if (!self->pointerInside_)
                        return;
                    self->pointerInside_ = false;
                    self->pressSerial_ = 0;
                    self->handlePointer(PointerEvent::Type::leave);
                },
            .motion =
                [](void* data, wl_pointer*, std::uint32_t, wl_fixed_t x, wl_fixed_t y) {
                    auto* self = static_cast<LayerShellSurface*>(data);
                    if (!self->pointerInside_)
                        return;
                    self->pointerPosition_ = QPointF(wl_fixed_to_double(x), wl_fixed_to_double(y));
                    self->handlePointer(PointerEvent::Type::motion);
                },
            .button =
                [](void* data, wl_pointer*, std::uint32_t serial, std::uint32_t, std::uint32_t button,
                   std::uint32_t state) {
                    auto* self = static_cast<LayerShellSurface*>(data);
                    if (!self->pointerInside_)
                        return;
                    self->pressSerial_ =
                        state == WL_POINTER_BUTTON_STATE_PRESSED && button == BTN_LEFT ? serial : 0;
                    const auto type = state == WL_POINTER_BUTTON_STATE_PRESSED ? PointerEvent::Type::press
                                                                               : PointerEvent::Type::release;
                    self->handlePointer(type, button);
                },
            .axis =
                [](void* data, wl_pointer*, std::uint32_t, std::uint32_t axis, wl_fixed_t value) {
                    auto* self = static_cast<LayerShellSurface*>(data);
                    if (!self->pointerInside_)
                        return;
                    (axis == WL_POINTER_AXIS_VERTICAL_SCROLL ? self->scroll_.ry() : self->scroll_.rx()) +=
                        wl_fixed_to_double(value);
                },
            .frame =
                [](void* data, wl_pointer*) {
                    auto* self = static_cast<LayerShellSurface*>(data);
                    if (self->scroll_.isNull())
                        return;
                    // Compositors send 15 surface pixels per wheel notch, growing downward; Qt's angle
                    // delta is 120 per notch, growing upward.
                    const QPointF scroll = std::exchange(self->scroll_, QPointF());
                    if (self->onPointer)
                        self->onPointer(PointerEvent{.type = PointerEvent::Type::scroll,
                                                     .position = self->pointerPosition_,
                                                     .angleDelta = (-scroll * 8).toPoint()});
                },
            .axis_source = [](void*, wl_pointer*, std::uint32_t) {},
            .axis_stop = [](void*, wl_pointer*, std::uint32_t, std::uint32_t) {},
            .axis_discrete = [](void*, wl_pointer*, std::uint32_t, std::int32_t) {},
            .axis_value120 = [](void*, wl_pointer*, std::uint32_t, std::int32_t) {},
        };
        wl_pointer_add_listener(pointer_, &pointerListener, this);
    } else if (!hasPointer && pointer_) {
        wl_pointer_release(pointer_);
        pointer_ = nullptr;
        pointerInside_ = false;
    }

    const bool hasKeyboard = capabilities & WL_SEAT_CAPABILITY_KEYBOARD;
    if (hasKeyboard && !keyboard_) {
        keyboard_ = wl_seat_get_keyboard(seat_);
        static const wl_keyboard_listener keyboardListener = {
            .keymap =
                [](void* data, wl_keyboard*, std::uint32_t format, std::int32_t fd, std::uint32_t size) {
                    auto* self = static_cast<LayerShellSurface*>(data);
                    if (format == WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1)
                        self->handleKeymap(fd, size);
                    close(fd);
                },
            .enter =
                [](void* data, wl_keyboard*, std::uint32_t, wl_surface* surface, wl_array*) {
                    auto* self = static_cast<LayerShellSurface*>(data);
                    self->keyboardFocused_ = surface && surface == self->surface_;
                },
            .leave =
                [](void* data, wl_keyboard*, std::uint32_t, wl_surface*) {
                    auto* self = static_cast<LayerShellSurface*>(data);
                    const bool lost = self->keyboardFocused_ && self->keyboardInteractive_;
                    self->keyboardFocused_ = false;
                    if (lost && self->onKeyboardLost)
                        self->onKeyboardLost();
                },
            .key = [](void* data, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t key,
                      std::uint32_t state) { static_cast<LayerShellSurface*>(data)->handleKey(key, state); },
            .modifiers =
                [](void* data, wl_keyboard*, std::uint32_t, std::uint32_t depressed, std::uint32_t latched,
                   std::uint32_t locked, std::uint32_t group) {
                    auto* self = static_cast<LayerShellSurface*>(data);
                    if (self->xkbState_)
                        xkb_state_update_mask(self->xkbState_, depressed, latched, locked, 0, 0, group);
                },
            .repeat_info = [](void*, wl_keyboard*, std::int32_t, std::int32_t) {},
        };
        wl_keyboard_add_listener(keyboard_, &keyboardListener, this);
    } else if (!hasKeyboard && keyboard_) {
        wl_keyboard_release(keyboard_);
        keyboard_ = nullptr;
        keyboardFocused_ = false;
    }
}

// MARK: - The surface

void LayerShellSurface::place(QScreen* screen, const QRect& frame) {
    screenName_ = screen ? screen->name() : QString();
    screenPosition_ = screen ? std::optional(screen->geometry().topLeft()) : std::nullopt;
    size_ = frame.size();
    reconcile();
}

void LayerShellSurface::setVisible(bool visible) {
    visible_ = visible;
    reconcile();
}

void LayerShellSurface::setInputRegion(const QRegion& region) {
    if (inputRegion_ == region)
        return;
    inputRegion_ = region;
    if (!surface_)
        return;
    applyInputRegion();
    // The region is double-buffered: a frame on its way (an animation sets the region every frame)
    // carries it with its buffer, so the outline and the region that takes the pointer change together.
    if (configured_ && !frameWanted_ && !drawing_)
        commit();
}

void LayerShellSurface::setKeyboardInteractive(bool interactive) {
    keyboardInteractive_ = interactive;
    if (!layerSurface_)
        return;
    applyKeyboardInteractivity();
    commit();
}

void LayerShellSurface::requestFrame() {
    frameWanted_ = true;
    if (!frameCallback_)
        drawLater();
}

bool LayerShellSurface::startDrag(const ClipFlavours& flavours, std::function<void()> finished) {
    // The compositor starts a drag only from a press it still sees held on this surface.
    if (!dataDevice_ || !surface_ || pressSerial_ == 0 || connectionError_)
        return false;
    return dataDevice_->startDrag(surface_, std::exchange(pressSerial_, 0), flavours, std::move(finished));
}

std::string LayerShellSurface::outputName() const {
    return surfaceOutput_ ? surfaceOutput_->name : std::string();
}

LayerShellSurface::Output* LayerShellSurface::chooseOutput() {
    std::vector<Output*> ready;
    for (const auto& output : outputs_)
        if (output->ready)
            ready.push_back(output.get());
    if (ready.empty())
        return nullptr;
    // Qt on Wayland names its screens after the outputs; on other platforms (offscreen in tests,
    // XWayland) the names differ and the screen's position in the desktop is the next best match.
    const std::string wantedName = screenName_.toStdString();
    for (Output* output : ready)
        if (!wantedName.empty() && output->name == wantedName)
            return output;
    for (Output* output : ready)
        if (screenPosition_ && output->position == *screenPosition_)
            return output;
    return ready.front();
}

void LayerShellSurface::reconcileLater() {
    if (reconcileQueued_ || !context_)
        return;
    reconcileQueued_ = true;
    QTimer::singleShot(0, context_.get(), [this] {
        reconcileQueued_ = false;
        reconcile();
    });
}

void LayerShellSurface::reconcile() {
    if (connectionError_)
        return;
    Output* target = visible_ && !size_.isEmpty() ? chooseOutput() : nullptr;
    if (!target) {
        destroySurface();
        return;
    }
    if (surface_ && surfaceOutput_ != target)
        destroySurface();
    if (!surface_) {
        createSurface(*target);
        return;
    }
    if (requestedSize_ == size_)
        return;
    // The compositor answers with a configure for the new size, which draws.
    requestedSize_ = size_;
    zwlr_layer_surface_v1_set_size(layerSurface_, static_cast<std::uint32_t>(size_.width()),
                                   static_cast<std::uint32_t>(size_.height()));
    commit();
}

void LayerShellSurface::createSurface(Output& output) {
    surface_ = wl_compositor_create_surface(compositor_);
    layerSurface_ = zwlr_layer_shell_v1_get_layer_surface(layerShell_, surface_, output.output,
                                                          ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, layerNamespace);
    static const zwlr_layer_surface_v1_listener layerListener = {
        .configure =
            [](void* data, zwlr_layer_surface_v1*, std::uint32_t serial, std::uint32_t width,
               std::uint32_t height) {
                static_cast<LayerShellSurface*>(data)->handleConfigure(serial, width, height);
            },
        .closed = [](void* data,
                     zwlr_layer_surface_v1*) { static_cast<LayerShellSurface*>(data)->handleClosed(); },
    };
    zwlr_layer_surface_v1_add_listener(layerSurface_, &layerListener, this);
    surfaceOutput_ = &output;
    requestedSize_ = size_;
    zwlr_layer_surface_v1_set_size(layerSurface_, static_cast<std::uint32_t>(size_.width()),
                                   static_cast<std::uint32_t>(size_.height()));
    zwlr_layer_surface_v1_set_anchor(layerSurface_, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP);
    // The island hangs from the screen's very edge, over any panel there, and reserves no space:
    // windows and panels are not pushed away by it.
    zwlr_layer_surface_v1_set_exclusive_zone(layerSurface_, -1);
    applyKeyboardInteractivity();
    applyInputRegion();
    appliedScale_ = output.scale;
    wl_surface_set_buffer_scale(surface_, appliedScale_);
    // The first commit carries no buffer: the compositor answers with the first configure.
    commit();
}

void LayerShellSurface::destroySurface() {
    if (pointerInside_) {
        pointerInside_ = false;
        handlePointer(PointerEvent::Type::leave);
    }
    keyboardFocused_ = false;
    if (frameCallback_) {
        wl_callback_destroy(frameCallback_);
        frameCallback_ = nullptr;
    }
    if (layerSurface_) {
        zwlr_layer_surface_v1_destroy(layerSurface_);
        layerSurface_ = nullptr;
    }
    if (surface_) {
        wl_surface_destroy(surface_);
        surface_ = nullptr;
    }
    surfaceOutput_ = nullptr;
    configured_ = false;
    requestedSize_ = QSize();
    configuredSize_ = QSize();
}

void LayerShellSurface::handleConfigure(std::uint32_t serial, std::uint32_t width, std::uint32_t height) {
    zwlr_layer_surface_v1_ack_configure(layerSurface_, serial);
    configured_ = true;
    // Zero leaves the size to us: the one asked for.
    configuredSize_ = QSize(width ? static_cast<int>(width) : requestedSize_.width(),
                            height ? static_cast<int>(height) : requestedSize_.height());
    // The acknowledged configure takes effect with a commit that carries a buffer of its size, so a
    // frame is drawn now whether or not one was asked for; a frame callback still pending belongs to
    // the old size and may never come.
    if (frameCallback_) {
        wl_callback_destroy(frameCallback_);
        frameCallback_ = nullptr;
    }
    frameWanted_ = true;
    drawLater();
}

void LayerShellSurface::handleClosed() {
    // The compositor took the surface away (its output is going, for one): start over on whichever
    // output suits now.
    destroySurface();
    reconcileLater();
}

void LayerShellSurface::applyInputRegion() {
    if (!inputRegion_) {
        // No region yet: the whole surface takes input, the compositor's default.
        wl_surface_set_input_region(surface_, nullptr);
        return;
    }
    wl_region* region = wl_compositor_create_region(compositor_);
    for (const QRect& rect : *inputRegion_)
        wl_region_add(region, rect.x(), rect.y(), rect.width(), rect.height());
    wl_surface_set_input_region(surface_, region);
    wl_region_destroy(region);
}

void LayerShellSurface::applyKeyboardInteractivity() {
    // On demand (focus like a window, given back when the user clicks elsewhere) exists from
    // version 4; before it, exclusive is the only way to receive keys at all.
    const auto interactivity =
        !keyboardInteractive_ ? ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE
        : layerShellVersion_ >= ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_ON_DEMAND_SINCE_VERSION
            ? ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_ON_DEMAND
            : ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE;
    zwlr_layer_surface_v1_set_keyboard_interactivity(layerSurface_, interactivity);
}

void LayerShellSurface::commit() {
    wl_surface_commit(surface_);
    pump_->flush();
}

// MARK: - Frames

void LayerShellSurface::drawLater() {
    // Drawing runs from the event loop, never inside a listener or a caller's own paint: the
    // callbacks may place, hide or resize the surface.
    if (drawQueued_ || !context_)
        return;
    drawQueued_ = true;
    QTimer::singleShot(0, context_.get(), [this] {
        drawQueued_ = false;
        draw();
    });
}

void LayerShellSurface::draw() {
    if (!frameWanted_ || !surface_ || !configured_ || frameCallback_ || connectionError_)
        return;
    const int scale = surfaceOutput_->scale;
    ShmBuffer* buffer = freeBuffer(configuredSize_ * scale, scale);
    if (!buffer)
        return;
    frameWanted_ = false;

    wl_surface* surface = surface_;
    drawing_ = true;
    if (onFrame)
        onFrame(monotonicSeconds());
    buffer->image().fill(Qt::transparent);
    {
        QPainter painter(&buffer->image());
        if (paint)
            paint(painter);
    }
    drawing_ = false;
    // The callbacks may have taken this surface down or replaced it.
    if (surface_ != surface || !configured_)
        return;

    if (scale != appliedScale_) {
        appliedScale_ = scale;
        wl_surface_set_buffer_scale(surface_, scale);
    }
    wl_surface_attach(surface_, buffer->buffer(), 0, 0);
    if (compositorVersion_ >= WL_SURFACE_DAMAGE_BUFFER_SINCE_VERSION)
        wl_surface_damage_buffer(surface_, 0, 0, buffer->pixelSize().width(), buffer->pixelSize().height());
    else
        wl_surface_damage(surface_, 0, 0, configuredSize_.width(), configuredSize_.height());
    frameCallback_ = wl_surface_frame(surface_);
    static const wl_callback_listener frameListener = {
        .done = [](void* data, wl_callback*,
                   std::uint32_t) { static_cast<LayerShellSurface*>(data)->handleFrameDone(); },
    };
    wl_callback_add_listener(frameCallback_, &frameListener, this);
    buffer->markBusy();
    commit();
}

void LayerShellSurface::handleFrameDone() {
    wl_callback_destroy(frameCallback_);
    frameCallback_ = nullptr;
    if (frameWanted_)
        drawLater();
}

ShmBuffer* LayerShellSurface::freeBuffer(QSize pixelSize, int scale) {
    std::erase_if(buffers_, [&](const auto& buffer) {
        return !buffer->busy() && (buffer->pixelSize() != pixelSize || buffer->scale() != scale);
    });
    for (const auto& buffer : buffers_)
        if (!buffer->busy())
            return buffer.get();
    if (buffers_.size() >= maxBuffers)
        buffers_.erase(buffers_.begin());
    auto created = ShmBuffer::create(shm_, pixelSize, scale);
    if (!created) {
        std::cerr << "vantaquill: cannot make a buffer for the island: " << created.error() << std::endl;
        return nullptr;
    }
    buffers_.push_back(std::move(*created));
    return buffers_.back().get();
}

// MARK: - Input

void LayerShellSurface::handlePointer(PointerEvent::Type type, std::uint32_t evdevButton) {
    if (onPointer)
        onPointer(PointerEvent{
            .type = type, .position = pointerPosition_, .button = qtButton(evdevButton), .angleDelta = {}});
}

void LayerShellSurface::handleKeymap(int fd, std::uint32_t size) {
    void* text = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (text == MAP_FAILED)
        return;
    if (!xkbContext_)
        xkbContext_ = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    xkb_keymap* keymap = xkb_keymap_new_from_string(xkbContext_, static_cast<const char*>(text),
                                                    XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS);
    munmap(text, size);
    if (!keymap)
        return;
    if (xkbState_)
        xkb_state_unref(xkbState_);
    if (keymap_)
        xkb_keymap_unref(keymap_);
    keymap_ = keymap;
    xkbState_ = xkb_state_new(keymap);
}

void LayerShellSurface::handleKey(std::uint32_t key, std::uint32_t state) {
    if (!keyboardFocused_ || !xkbState_ || state != WL_KEYBOARD_KEY_STATE_PRESSED || !onKey)
        return;
    const xkb_keycode_t code = key + evdevToXKBOffset;
    const xkb_keysym_t keysym = xkb_state_key_get_one_sym(xkbState_, code);
    std::array<char, 64> utf8{};
    xkb_state_key_get_utf8(xkbState_, code, utf8.data(), utf8.size());
    const QString text = QString::fromUtf8(utf8.data());

    Qt::KeyboardModifiers modifiers;
    const auto active = [this](const char* name) {
        return xkb_state_mod_name_is_active(xkbState_, name, XKB_STATE_MODS_EFFECTIVE) > 0;
    };
    if (active(XKB_MOD_NAME_SHIFT))
        modifiers |= Qt::ShiftModifier;
    if (active(XKB_MOD_NAME_CTRL))
        modifiers |= Qt::ControlModifier;
    if (active(XKB_MOD_NAME_ALT))
        modifiers |= Qt::AltModifier;
    if (active(XKB_MOD_NAME_LOGO))
        modifiers |= Qt::MetaModifier;
    onKey(KeyEvent{.key = qtKey(keysym, text), .modifiers = modifiers, .text = text});
}

} // namespace vq
