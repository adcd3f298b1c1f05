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

#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

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

namespace vq {

namespace {

// The newest version of each global whose requests and events this surface knows.
constexpr std::uint32_t compositorVersion = 4; // damage_buffer
constexpr std::uint32_t seatVersion = 5;       // release, pointer frames
constexpr std::uint32_t outputVersion = 4;     // name, to match Qt's screen names
constexpr std::uint32_t layerShellVersion = 4; // on-demand keyboard interactivity
constexpr std::uint32_t dataDeviceManagerVersion = 3; // drag actions
// A buffer that stays busy is still being read by the compositor; a few in flight are normal
// (double buffering plus one being released), more means the old ones are no longer needed.
constexpr std::size_t maxBuffers = 3;
constexpr const char* layerNamespace = "vantaquill-island";
// Keycodes on the wire are evdev codes; XKB numbers them from 8.
constexpr std::uint32_t evdevToXKBOffset = 8;

double monotonicSeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

Qt::MouseButton qtButton(std::uint32_t evdevButton)
{
    switch (evdevButton) {
    case BTN_LEFT: return Qt::LeftButton;
    case BTN_RIGHT: return Qt::RightButton;
    case BTN_MIDDLE: return Qt::MiddleButton;
    case BTN_SIDE: return Qt::BackButton;
    case BTN_EXTRA: return Qt::ForwardButton;
    }
    return Qt::NoButton;
}

// The keys the island reacts to by name; every other key is known by the character it types.
int qtKey(xkb_keysym_t keysym, const QString& text)
{
    static constexpr std::array<std::pair<xkb_keysym_t, int>, 17> named = {{
        {XKB_KEY_Escape, Qt::Key_Escape},       {XKB_KEY_Return, Qt::Key_Return},
        {XKB_KEY_KP_Enter, Qt::Key_Enter},      {XKB_KEY_BackSpace, Qt::Key_Backspace},
        {XKB_KEY_Tab, Qt::Key_Tab},             {XKB_KEY_ISO_Left_Tab, Qt::Key_Backtab},
        {XKB_KEY_Delete, Qt::Key_Delete},       {XKB_KEY_Home, Qt::Key_Home},
        {XKB_KEY_End, Qt::Key_End},             {XKB_KEY_Left, Qt::Key_Left},
        {XKB_KEY_Right, Qt::Key_Right},         {XKB_KEY_Up, Qt::Key_Up},
        {XKB_KEY_Down, Qt::Key_Down},           {XKB_KEY_Page_Up, Qt::Key_PageUp},
        {XKB_KEY_Page_Down, Qt::Key_PageDown},  {XKB_KEY_space, Qt::Key_Space},
        {XKB_KEY_Insert, Qt::Key_Insert},
    }};
    for (const auto& [sym, key] : named)
        if (sym == keysym)
            return key;
    if (!text.isEmpty() && text.at(0).isPrint())
        return text.at(0).toUpper().unicode();
    return Qt::Key_unknown;
}

std::string protocolErrorText(wl_display* display)
{
    const int error = wl_display_get_error(display);
    if (error != EPROTO)
        return std::string("the connection to the Wayland compositor was lost: ") + std::strerror(error);
    const wl_interface* interface = nullptr;
    std::uint32_t id = 0;
    const std::uint32_t code = wl_display_get_protocol_error(display, &interface, &id);
    return "the Wayland compositor ended the island's connection: protocol error " + std::to_string(code) + " on "
        + (interface ? interface->name : "an unknown object") + "@" + std::to_string(id);
}

} // namespace

// MARK: - Probe

LayerShellSurface::Probe LayerShellSurface::probe()
{
    const char* displayName = std::getenv("WAYLAND_DISPLAY");
    if (!displayName || !*displayName)
        return {.offered = false, .reason = "WAYLAND_DISPLAY is not set: not a Wayland session"};
    wl_display* display = wl_display_connect(nullptr);
    if (!display)
        return {.offered = false,
                .reason = std::string("cannot connect to the Wayland display \"") + displayName + "\""};

    std::uint32_t offeredVersion = 0;
    static const wl_registry_listener listener = {
        .global = [](void* data, wl_registry*, std::uint32_t, const char* interface, std::uint32_t version) {
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
            .reason = "the Wayland compositor offers zwlr_layer_shell_v1 version " + std::to_string(offeredVersion)};
}

// MARK: - Connection

std::expected<std::unique_ptr<LayerShellSurface>, std::string> LayerShellSurface::connect()
{
    if (!QCoreApplication::instance())
        return std::unexpected("the layer-shell surface needs a running Qt application");
    std::unique_ptr<LayerShellSurface> surface(new LayerShellSurface);
    surface->m_display = wl_display_connect(nullptr);
    if (!surface->m_display)
        return std::unexpected("cannot connect to the Wayland display");

    static const wl_registry_listener registryListener = {
        .global = [](void* data, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t version) {
            static_cast<LayerShellSurface*>(data)->handleGlobal(name, interface, version);
        },
        .global_remove = [](void* data, wl_registry*, std::uint32_t name) {
            static_cast<LayerShellSurface*>(data)->handleGlobalRemove(name);
        },
    };
    surface->m_registry = wl_display_get_registry(surface->m_display);
    wl_registry_add_listener(surface->m_registry, &registryListener, surface.get());
    // The first round trip lists the globals, the second brings the outputs' and the seat's state.
    for (int i = 0; i < 2; ++i)
        if (wl_display_roundtrip(surface->m_display) < 0)
            return std::unexpected(protocolErrorText(surface->m_display));

    if (!surface->m_compositor || surface->m_compositorVersion < 3)
        return std::unexpected("the Wayland compositor offers no wl_compositor of version 3 or later");
    if (!surface->m_shm)
        return std::unexpected("the Wayland compositor offers no wl_shm");
    if (!surface->m_layerShell)
        return std::unexpected("the Wayland compositor offers no zwlr_layer_shell_v1");

    LayerShellSurface* self = surface.get();
    self->m_context = std::make_unique<QObject>();
    self->m_pump = std::make_unique<WaylandEventPump>(self->m_display, [self] {
        self->m_connectionError = protocolErrorText(self->m_display);
        std::cerr << "vantaquill: " << *self->m_connectionError << std::endl;
    });
    // Without data devices the island still shows; only files cannot be dropped on it or dragged out.
    if (self->m_dataDeviceManager && self->m_seat) {
        self->m_dataDevice = std::make_unique<WaylandDataDevice>(
            self->m_dataDeviceManager, self->m_dataDeviceManagerVersion, self->m_seat,
            [self](wl_surface* target) { return target == self->m_surface; }, [self] { self->m_pump->flush(); });
        self->m_dataDevice->onDrop = [self](const DropEvent& event) { return self->onDrop && self->onDrop(event); };
    } else {
        std::cerr << "vantaquill: nothing can be dropped on the island: the Wayland compositor offers no "
                     "wl_data_device_manager" << std::endl;
    }
    return surface;
}

LayerShellSurface::~LayerShellSurface()
{
    // The island that owns the callbacks is going away too: tearing down says nothing to it.
    onFrame = nullptr;
    paint = nullptr;
    onPointer = nullptr;
    onKey = nullptr;
    onKeyboardLost = nullptr;
    onDrop = nullptr;
    m_context.reset();
    m_dataDevice.reset();
    m_pump.reset();
    destroySurface();
    m_buffers.clear();
    if (m_xkbState)
        xkb_state_unref(m_xkbState);
    if (m_keymap)
        xkb_keymap_unref(m_keymap);
    if (m_xkbContext)
        xkb_context_unref(m_xkbContext);
    if (m_pointer)
        wl_pointer_destroy(m_pointer);
    if (m_keyboard)
        wl_keyboard_destroy(m_keyboard);
    if (m_seat)
        wl_seat_destroy(m_seat);
    for (const auto& output : m_outputs)
        wl_output_destroy(output->output);
    if (m_dataDeviceManager)
        wl_data_device_manager_destroy(m_dataDeviceManager);
    if (m_layerShell)
        zwlr_layer_shell_v1_destroy(m_layerShell);
    if (m_shm)
        wl_shm_destroy(m_shm);
    if (m_compositor)
        wl_compositor_destroy(m_compositor);
    if (m_registry)
        wl_registry_destroy(m_registry);
    if (m_display) {
        wl_display_flush(m_display);
        wl_display_disconnect(m_display);
    }
}

// MARK: - Globals

void LayerShellSurface::handleGlobal(std::uint32_t name, const char* interface, std::uint32_t version)
{
    const auto is = [interface](const wl_interface& known) { return std::strcmp(interface, known.name) == 0; };
    if (is(wl_compositor_interface)) {
        m_compositorVersion = std::min(version, compositorVersion);
        m_compositor = static_cast<wl_compositor*>(
            wl_registry_bind(m_registry, name, &wl_compositor_interface, m_compositorVersion));
        return;
    }
    if (is(wl_shm_interface)) {
        m_shm = static_cast<wl_shm*>(wl_registry_bind(m_registry, name, &wl_shm_interface, 1));
        return;
    }
    if (is(wl_data_device_manager_interface)) {
        m_dataDeviceManagerVersion = std::min(version, dataDeviceManagerVersion);
        m_dataDeviceManager = static_cast<wl_data_device_manager*>(
            wl_registry_bind(m_registry, name, &wl_data_device_manager_interface, m_dataDeviceManagerVersion));
        return;
    }
    if (is(zwlr_layer_shell_v1_interface)) {
        m_layerShellVersion = std::min(version, layerShellVersion);
        m_layerShell = static_cast<zwlr_layer_shell_v1*>(
            wl_registry_bind(m_registry, name, &zwlr_layer_shell_v1_interface, m_layerShellVersion));
        return;
    }
    if (is(wl_seat_interface) && !m_seat) {
        m_seatVersion = std::min(version, seatVersion);
        m_seat = static_cast<wl_seat*>(wl_registry_bind(m_registry, name, &wl_seat_interface, m_seatVersion));
        static const wl_seat_listener seatListener = {
            .capabilities = [](void* data, wl_seat*, std::uint32_t capabilities) {
                static_cast<LayerShellSurface*>(data)->handleSeatCapabilities(capabilities);
            },
            .name = [](void*, wl_seat*, const char*) {},
        };
        wl_seat_add_listener(m_seat, &seatListener, this);
        return;
    }
    if (!is(wl_output_interface))
        return;

    auto output = std::make_unique<Output>();
    output->owner = this;
    output->registryName = name;
    output->version = std::min(version, outputVersion);
    output->output = static_cast<wl_output*>(wl_registry_bind(m_registry, name, &wl_output_interface, output->version));
    static const wl_output_listener outputListener = {
        .geometry = [](void* data, wl_output*, std::int32_t x, std::int32_t y, std::int32_t, std::int32_t,
                       std::int32_t, const char*, const char*,
                       std::int32_t) { static_cast<Output*>(data)->position = QPoint(x, y); },
        .mode = [](void*, wl_output*, std::uint32_t, std::int32_t, std::int32_t, std::int32_t) {},
        .done = [](void* data, wl_output*) {
            auto* output = static_cast<Output*>(data);
            output->owner->handleOutputDone(*output);
        },
        .scale = [](void* data, wl_output*, std::int32_t factor) {
            static_cast<Output*>(data)->pendingScale = std::max(1, factor);
        },
        .name = [](void* data, wl_output*, const char* outputName) { static_cast<Output*>(data)->name = outputName; },
        .description = [](void*, wl_output*, const char*) {},
    };
    wl_output_add_listener(output->output, &outputListener, output.get());
    // Before version 2 an output sends no "done": what it says at bind time is all there is.
    if (output->version < WL_OUTPUT_DONE_SINCE_VERSION)
        output->ready = true;
    m_outputs.push_back(std::move(output));
}

void LayerShellSurface::handleGlobalRemove(std::uint32_t name)
{
    const auto found = std::ranges::find_if(m_outputs, [name](const auto& output) { return output->registryName == name; });
    if (found == m_outputs.end())
        return;
    if (m_surfaceOutput == found->get())
        destroySurface();
    if ((*found)->version >= WL_OUTPUT_RELEASE_SINCE_VERSION)
        wl_output_release((*found)->output);
    else
        wl_output_destroy((*found)->output);
    m_outputs.erase(found);
    reconcileLater();
}

void LayerShellSurface::handleOutputDone(Output& output)
{
    const bool scaleChanged = output.scale != output.pendingScale;
    output.scale = output.pendingScale;
    output.ready = true;
    if (&output == m_surfaceOutput && scaleChanged) {
        m_frameWanted = true;
        drawLater();
    }
    // A screen the island waits for may just have come.
    reconcileLater();
}

void LayerShellSurface::handleSeatCapabilities(std::uint32_t capabilities)
{
    const bool hasPointer = capabilities & WL_SEAT_CAPABILITY_POINTER;
    if (hasPointer && !m_pointer) {
        m_pointer = wl_seat_get_pointer(m_seat);
        static const wl_pointer_listener pointerListener = {
            .enter = [](void* data, wl_pointer*, std::uint32_t, wl_surface* surface, wl_fixed_t x, wl_fixed_t y) {
                auto* self = static_cast<LayerShellSurface*>(data);
                if (!surface || surface != self->m_surface)
                    return;
                self->m_pointerInside = true;
                self->m_pointerPosition = QPointF(wl_fixed_to_double(x), wl_fixed_to_double(y));
                self->handlePointer(PointerEvent::Type::enter);
            },
            .leave = [](void* data, wl_pointer*, std::uint32_t, wl_surface*) {
                auto* self = static_cast<LayerShellSurface*>(data);
                if (!self->m_pointerInside)
                    return;
                self->m_pointerInside = false;
                self->m_pressSerial = 0;
                self->handlePointer(PointerEvent::Type::leave);
            },
            .motion = [](void* data, wl_pointer*, std::uint32_t, wl_fixed_t x, wl_fixed_t y) {
                auto* self = static_cast<LayerShellSurface*>(data);
                if (!self->m_pointerInside)
                    return;
                self->m_pointerPosition = QPointF(wl_fixed_to_double(x), wl_fixed_to_double(y));
                self->handlePointer(PointerEvent::Type::motion);
            },
            .button = [](void* data, wl_pointer*, std::uint32_t serial, std::uint32_t, std::uint32_t button,
                         std::uint32_t state) {
                auto* self = static_cast<LayerShellSurface*>(data);
                if (!self->m_pointerInside)
                    return;
                self->m_pressSerial = state == WL_POINTER_BUTTON_STATE_PRESSED && button == BTN_LEFT ? serial : 0;
                const auto type = state == WL_POINTER_BUTTON_STATE_PRESSED ? PointerEvent::Type::press
                                                                             : PointerEvent::Type::release;
                self->handlePointer(type, button);
            },
            .axis = [](void* data, wl_pointer*, std::uint32_t, std::uint32_t axis, wl_fixed_t value) {
                auto* self = static_cast<LayerShellSurface*>(data);
                if (!self->m_pointerInside)
                    return;
                (axis == WL_POINTER_AXIS_VERTICAL_SCROLL ? self->m_scroll.ry() : self->m_scroll.rx()) +=
                    wl_fixed_to_double(value);
            },
            .frame = [](void* data, wl_pointer*) {
                auto* self = static_cast<LayerShellSurface*>(data);
                if (self->m_scroll.isNull())
                    return;
                // Compositors send 15 surface pixels per wheel notch, growing downward; Qt's angle
                // delta is 120 per notch, growing upward.
                const QPointF scroll = std::exchange(self->m_scroll, QPointF());
                if (self->onPointer)
                    self->onPointer(PointerEvent{.type = PointerEvent::Type::scroll,
                                                 .position = self->m_pointerPosition,
                                                 .angleDelta = (-scroll * 8).toPoint()});
            },
            .axis_source = [](void*, wl_pointer*, std::uint32_t) {},
            .axis_stop = [](void*, wl_pointer*, std::uint32_t, std::uint32_t) {},
            .axis_discrete = [](void*, wl_pointer*, std::uint32_t, std::int32_t) {},
            .axis_value120 = [](void*, wl_pointer*, std::uint32_t, std::int32_t) {},
        };
        wl_pointer_add_listener(m_pointer, &pointerListener, this);
    } else if (!hasPointer && m_pointer) {
        wl_pointer_release(m_pointer);
        m_pointer = nullptr;
        m_pointerInside = false;
    }

    const bool hasKeyboard = capabilities & WL_SEAT_CAPABILITY_KEYBOARD;
    if (hasKeyboard && !m_keyboard) {
        m_keyboard = wl_seat_get_keyboard(m_seat);
        static const wl_keyboard_listener keyboardListener = {
            .keymap = [](void* data, wl_keyboard*, std::uint32_t format, std::int32_t fd, std::uint32_t size) {
                auto* self = static_cast<LayerShellSurface*>(data);
                if (format == WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1)
                    self->handleKeymap(fd, size);
                close(fd);
            },
            .enter = [](void* data, wl_keyboard*, std::uint32_t, wl_surface* surface, wl_array*) {
                auto* self = static_cast<LayerShellSurface*>(data);
                self->m_keyboardFocused = surface && surface == self->m_surface;
            },
            .leave = [](void* data, wl_keyboard*, std::uint32_t, wl_surface*) {
                auto* self = static_cast<LayerShellSurface*>(data);
                const bool lost = self->m_keyboardFocused && self->m_keyboardInteractive;
                self->m_keyboardFocused = false;
                if (lost && self->onKeyboardLost)
                    self->onKeyboardLost();
            },
            .key = [](void* data, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t key, std::uint32_t state) {
                static_cast<LayerShellSurface*>(data)->handleKey(key, state);
            },
            .modifiers = [](void* data, wl_keyboard*, std::uint32_t, std::uint32_t depressed, std::uint32_t latched,
                            std::uint32_t locked, std::uint32_t group) {
                auto* self = static_cast<LayerShellSurface*>(data);
                if (self->m_xkbState)
                    xkb_state_update_mask(self->m_xkbState, depressed, latched, locked, 0, 0, group);
            },
            .repeat_info = [](void*, wl_keyboard*, std::int32_t, std::int32_t) {},
        };
        wl_keyboard_add_listener(m_keyboard, &keyboardListener, this);
    } else if (!hasKeyboard && m_keyboard) {
        wl_keyboard_release(m_keyboard);
        m_keyboard = nullptr;
        m_keyboardFocused = false;
    }
}

// MARK: - The surface

void LayerShellSurface::place(QScreen* screen, const QRect& frame)
{
    m_screenName = screen ? screen->name() : QString();
    m_screenPosition = screen ? std::optional(screen->geometry().topLeft()) : std::nullopt;
    m_size = frame.size();
    reconcile();
}

void LayerShellSurface::setVisible(bool visible)
{
    m_visible = visible;
    reconcile();
}

void LayerShellSurface::setInputRegion(const QRegion& region)
{
    if (m_inputRegion == region)
        return;
    m_inputRegion = region;
    if (!m_surface)
        return;
    applyInputRegion();
    // The region is double-buffered: a frame on its way (an animation sets the region every frame)
    // carries it with its buffer, so the outline and the region that takes the pointer change together.
    if (m_configured && !m_frameWanted && !m_drawing)
        commit();
}

void LayerShellSurface::setKeyboardInteractive(bool interactive)
{
    m_keyboardInteractive = interactive;
    if (!m_layerSurface)
        return;
    applyKeyboardInteractivity();
    commit();
}

void LayerShellSurface::requestFrame()
{
    m_frameWanted = true;
    if (!m_frameCallback)
        drawLater();
}

bool LayerShellSurface::startDrag(const ClipFlavours& flavours, std::function<void()> finished)
{
    // The compositor starts a drag only from a press it still sees held on this surface.
    if (!m_dataDevice || !m_surface || m_pressSerial == 0 || m_connectionError)
        return false;
    return m_dataDevice->startDrag(m_surface, std::exchange(m_pressSerial, 0), flavours, std::move(finished));
}

std::string LayerShellSurface::outputName() const
{
    return m_surfaceOutput ? m_surfaceOutput->name : std::string();
}

LayerShellSurface::Output* LayerShellSurface::chooseOutput()
{
    std::vector<Output*> ready;
    for (const auto& output : m_outputs)
        if (output->ready)
            ready.push_back(output.get());
    if (ready.empty())
        return nullptr;
    // Qt on Wayland names its screens after the outputs; on other platforms (offscreen in tests,
    // XWayland) the names differ and the screen's position in the desktop is the next best match.
    const std::string wantedName = m_screenName.toStdString();
    for (Output* output : ready)
        if (!wantedName.empty() && output->name == wantedName)
            return output;
    for (Output* output : ready)
        if (m_screenPosition && output->position == *m_screenPosition)
            return output;
    return ready.front();
}

void LayerShellSurface::reconcileLater()
{
    if (m_reconcileQueued || !m_context)
        return;
    m_reconcileQueued = true;
    QTimer::singleShot(0, m_context.get(), [this] {
        m_reconcileQueued = false;
        reconcile();
    });
}

void LayerShellSurface::reconcile()
{
    if (m_connectionError)
        return;
    Output* target = m_visible && !m_size.isEmpty() ? chooseOutput() : nullptr;
    if (!target) {
        destroySurface();
        return;
    }
    if (m_surface && m_surfaceOutput != target)
        destroySurface();
    if (!m_surface) {
        createSurface(*target);
        return;
    }
    if (m_requestedSize == m_size)
        return;
    // The compositor answers with a configure for the new size, which draws.
    m_requestedSize = m_size;
    zwlr_layer_surface_v1_set_size(m_layerSurface, static_cast<std::uint32_t>(m_size.width()),
                                   static_cast<std::uint32_t>(m_size.height()));
    commit();
}

void LayerShellSurface::createSurface(Output& output)
{
    m_surface = wl_compositor_create_surface(m_compositor);
    m_layerSurface = zwlr_layer_shell_v1_get_layer_surface(m_layerShell, m_surface, output.output,
                                                           ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, layerNamespace);
    static const zwlr_layer_surface_v1_listener layerListener = {
        .configure = [](void* data, zwlr_layer_surface_v1*, std::uint32_t serial, std::uint32_t width,
                        std::uint32_t height) { static_cast<LayerShellSurface*>(data)->handleConfigure(serial, width, height); },
        .closed = [](void* data, zwlr_layer_surface_v1*) { static_cast<LayerShellSurface*>(data)->handleClosed(); },
    };
    zwlr_layer_surface_v1_add_listener(m_layerSurface, &layerListener, this);
    m_surfaceOutput = &output;
    m_requestedSize = m_size;
    zwlr_layer_surface_v1_set_size(m_layerSurface, static_cast<std::uint32_t>(m_size.width()),
                                   static_cast<std::uint32_t>(m_size.height()));
    zwlr_layer_surface_v1_set_anchor(m_layerSurface, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP);
    // The island hangs from the screen's very edge, over any panel there, and reserves no space:
    // windows and panels are not pushed away by it.
    zwlr_layer_surface_v1_set_exclusive_zone(m_layerSurface, -1);
    applyKeyboardInteractivity();
    applyInputRegion();
    m_appliedScale = output.scale;
    wl_surface_set_buffer_scale(m_surface, m_appliedScale);
    // The first commit carries no buffer: the compositor answers with the first configure.
    commit();
}

void LayerShellSurface::destroySurface()
{
    if (m_pointerInside) {
        m_pointerInside = false;
        handlePointer(PointerEvent::Type::leave);
    }
    m_keyboardFocused = false;
    if (m_frameCallback) {
        wl_callback_destroy(m_frameCallback);
        m_frameCallback = nullptr;
    }
    if (m_layerSurface) {
        zwlr_layer_surface_v1_destroy(m_layerSurface);
        m_layerSurface = nullptr;
    }
    if (m_surface) {
        wl_surface_destroy(m_surface);
        m_surface = nullptr;
    }
    m_surfaceOutput = nullptr;
    m_configured = false;
    m_requestedSize = QSize();
    m_configuredSize = QSize();
}

void LayerShellSurface::handleConfigure(std::uint32_t serial, std::uint32_t width, std::uint32_t height)
{
    zwlr_layer_surface_v1_ack_configure(m_layerSurface, serial);
    m_configured = true;
    // Zero leaves the size to us: the one asked for.
    m_configuredSize = QSize(width ? static_cast<int>(width) : m_requestedSize.width(),
                             height ? static_cast<int>(height) : m_requestedSize.height());
    // The acknowledged configure takes effect with a commit that carries a buffer of its size, so a
    // frame is drawn now whether or not one was asked for; a frame callback still pending belongs to
    // the old size and may never come.
    if (m_frameCallback) {
        wl_callback_destroy(m_frameCallback);
        m_frameCallback = nullptr;
    }
    m_frameWanted = true;
    drawLater();
}

void LayerShellSurface::handleClosed()
{
    // The compositor took the surface away (its output is going, for one): start over on whichever
    // output suits now.
    destroySurface();
    reconcileLater();
}

void LayerShellSurface::applyInputRegion()
{
    if (!m_inputRegion) {
        // No region yet: the whole surface takes input, the compositor's default.
        wl_surface_set_input_region(m_surface, nullptr);
        return;
    }
    wl_region* region = wl_compositor_create_region(m_compositor);
    for (const QRect& rect : *m_inputRegion)
        wl_region_add(region, rect.x(), rect.y(), rect.width(), rect.height());
    wl_surface_set_input_region(m_surface, region);
    wl_region_destroy(region);
}

void LayerShellSurface::applyKeyboardInteractivity()
{
    // On demand (focus like a window, given back when the user clicks elsewhere) exists from
    // version 4; before it, exclusive is the only way to receive keys at all.
    const auto interactivity = !m_keyboardInteractive
        ? ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE
        : m_layerShellVersion >= ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_ON_DEMAND_SINCE_VERSION
        ? ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_ON_DEMAND
        : ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE;
    zwlr_layer_surface_v1_set_keyboard_interactivity(m_layerSurface, interactivity);
}

void LayerShellSurface::commit()
{
    wl_surface_commit(m_surface);
    m_pump->flush();
}

// MARK: - Frames

void LayerShellSurface::drawLater()
{
    // Drawing runs from the event loop, never inside a listener or a caller's own paint: the
    // callbacks may place, hide or resize the surface.
    if (m_drawQueued || !m_context)
        return;
    m_drawQueued = true;
    QTimer::singleShot(0, m_context.get(), [this] {
        m_drawQueued = false;
        draw();
    });
}

void LayerShellSurface::draw()
{
    if (!m_frameWanted || !m_surface || !m_configured || m_frameCallback || m_connectionError)
        return;
    const int scale = m_surfaceOutput->scale;
    ShmBuffer* buffer = freeBuffer(m_configuredSize * scale, scale);
    if (!buffer)
        return;
    m_frameWanted = false;

    wl_surface* surface = m_surface;
    m_drawing = true;
    if (onFrame)
        onFrame(monotonicSeconds());
    buffer->image().fill(Qt::transparent);
    {
        QPainter painter(&buffer->image());
        if (paint)
            paint(painter);
    }
    m_drawing = false;
    // The callbacks may have taken this surface down or replaced it.
    if (m_surface != surface || !m_configured)
        return;

    if (scale != m_appliedScale) {
        m_appliedScale = scale;
        wl_surface_set_buffer_scale(m_surface, scale);
    }
    wl_surface_attach(m_surface, buffer->buffer(), 0, 0);
    if (m_compositorVersion >= WL_SURFACE_DAMAGE_BUFFER_SINCE_VERSION)
        wl_surface_damage_buffer(m_surface, 0, 0, buffer->pixelSize().width(), buffer->pixelSize().height());
    else
        wl_surface_damage(m_surface, 0, 0, m_configuredSize.width(), m_configuredSize.height());
    m_frameCallback = wl_surface_frame(m_surface);
    static const wl_callback_listener frameListener = {
        .done = [](void* data, wl_callback*, std::uint32_t) { static_cast<LayerShellSurface*>(data)->handleFrameDone(); },
    };
    wl_callback_add_listener(m_frameCallback, &frameListener, this);
    buffer->markBusy();
    commit();
}

void LayerShellSurface::handleFrameDone()
{
    wl_callback_destroy(m_frameCallback);
    m_frameCallback = nullptr;
    if (m_frameWanted)
        drawLater();
}

ShmBuffer* LayerShellSurface::freeBuffer(QSize pixelSize, int scale)
{
    std::erase_if(m_buffers, [&](const auto& buffer) {
        return !buffer->busy() && (buffer->pixelSize() != pixelSize || buffer->scale() != scale);
    });
    for (const auto& buffer : m_buffers)
        if (!buffer->busy())
            return buffer.get();
    if (m_buffers.size() >= maxBuffers)
        m_buffers.erase(m_buffers.begin());
    auto created = ShmBuffer::create(m_shm, pixelSize, scale);
    if (!created) {
        std::cerr << "vantaquill: cannot make a buffer for the island: " << created.error() << std::endl;
        return nullptr;
    }
    m_buffers.push_back(std::move(*created));
    return m_buffers.back().get();
}

// MARK: - Input

void LayerShellSurface::handlePointer(PointerEvent::Type type, std::uint32_t evdevButton)
{
    if (onPointer)
        onPointer(PointerEvent{.type = type, .position = m_pointerPosition, .button = qtButton(evdevButton), .angleDelta = {}});
}

void LayerShellSurface::handleKeymap(int fd, std::uint32_t size)
{
    void* text = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (text == MAP_FAILED)
        return;
    if (!m_xkbContext)
        m_xkbContext = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    xkb_keymap* keymap = xkb_keymap_new_from_string(m_xkbContext, static_cast<const char*>(text),
                                                    XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS);
    munmap(text, size);
    if (!keymap)
        return;
    if (m_xkbState)
        xkb_state_unref(m_xkbState);
    if (m_keymap)
        xkb_keymap_unref(m_keymap);
    m_keymap = keymap;
    m_xkbState = xkb_state_new(keymap);
}

void LayerShellSurface::handleKey(std::uint32_t key, std::uint32_t state)
{
    if (!m_keyboardFocused || !m_xkbState || state != WL_KEYBOARD_KEY_STATE_PRESSED || !onKey)
        return;
    const xkb_keycode_t code = key + evdevToXKBOffset;
    const xkb_keysym_t keysym = xkb_state_key_get_one_sym(m_xkbState, code);
    std::array<char, 64> utf8 {};
    xkb_state_key_get_utf8(m_xkbState, code, utf8.data(), utf8.size());
    const QString text = QString::fromUtf8(utf8.data());

    Qt::KeyboardModifiers modifiers;
    const auto active = [this](const char* name) {
        return xkb_state_mod_name_is_active(m_xkbState, name, XKB_STATE_MODS_EFFECTIVE) > 0;
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
