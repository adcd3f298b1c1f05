#include "tests/wayland/TestWindow.hpp"

#include "vantaquill/wayland/ShmBuffer.hpp"
#include "vantaquill/wayland/xdg-shell-client-protocol.h"

#include <wayland-client.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/input-event-codes.h>
#include <poll.h>
#include <unistd.h>

namespace vq::test {

namespace {

// The size asked for when the compositor leaves it to the window; sway tiles it anyway.
constexpr QSize fallbackSize(640, 480);
// XKB's real modifiers have fixed places: Control is the third.
constexpr std::uint32_t controlMask = 1u << 2;

bool offers(const std::vector<std::string>& types, const char* type)
{
    return std::ranges::find(types, type) != types.end();
}

// The types each offer announced, kept beside the window: offers are made and destroyed in a stream.
std::vector<std::pair<wl_data_offer*, std::vector<std::string>>>& offeredTypes()
{
    static std::vector<std::pair<wl_data_offer*, std::vector<std::string>>> types;
    return types;
}

std::vector<std::string> typesOf(wl_data_offer* offer)
{
    for (const auto& [known, types] : offeredTypes())
        if (known == offer)
            return types;
    return {};
}

} // namespace

std::expected<std::unique_ptr<TestWindow>, std::string> TestWindow::open(const std::string& display)
{
    std::unique_ptr<TestWindow> window(new TestWindow);
    window->m_display = wl_display_connect(display.c_str());
    if (!window->m_display)
        return std::unexpected("cannot connect to " + display);
    static const wl_registry_listener registryListener = {
        .global = [](void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t) {
            auto* self = static_cast<TestWindow*>(data);
            if (std::strcmp(interface, wl_compositor_interface.name) == 0)
                self->m_compositor = static_cast<wl_compositor*>(wl_registry_bind(registry, name, &wl_compositor_interface, 4));
            else if (std::strcmp(interface, wl_shm_interface.name) == 0)
                self->m_shm = static_cast<wl_shm*>(wl_registry_bind(registry, name, &wl_shm_interface, 1));
            else if (std::strcmp(interface, wl_seat_interface.name) == 0 && !self->m_seat)
                self->m_seat = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
            else if (std::strcmp(interface, wl_data_device_manager_interface.name) == 0)
                self->m_dataDeviceManager = static_cast<wl_data_device_manager*>(
                    wl_registry_bind(registry, name, &wl_data_device_manager_interface, 3));
            else if (std::strcmp(interface, xdg_wm_base_interface.name) == 0)
                self->m_wmBase = static_cast<xdg_wm_base*>(wl_registry_bind(registry, name, &xdg_wm_base_interface, 1));
        },
        .global_remove = [](void*, wl_registry*, std::uint32_t) {},
    };
    window->m_registry = wl_display_get_registry(window->m_display);
    wl_registry_add_listener(window->m_registry, &registryListener, window.get());
    wl_display_roundtrip(window->m_display);
    if (!window->m_compositor || !window->m_shm || !window->m_seat || !window->m_wmBase || !window->m_dataDeviceManager)
        return std::unexpected("the compositor lacks a global a window needs");

    static const xdg_wm_base_listener wmBaseListener = {
        .ping = [](void*, xdg_wm_base* base, std::uint32_t serial) { xdg_wm_base_pong(base, serial); },
    };
    xdg_wm_base_add_listener(window->m_wmBase, &wmBaseListener, nullptr);
    // Version 1 of the seat: the pointer is asked for outright, the seat offering one already.
    window->m_pointer = wl_seat_get_pointer(window->m_seat);
    static const wl_pointer_listener pointerListener = {
        .enter = [](void*, wl_pointer*, std::uint32_t, wl_surface*, wl_fixed_t, wl_fixed_t) {},
        .leave = [](void*, wl_pointer*, std::uint32_t, wl_surface*) {},
        .motion = [](void*, wl_pointer*, std::uint32_t, wl_fixed_t, wl_fixed_t) {},
        .button = [](void* data, wl_pointer*, std::uint32_t serial, std::uint32_t, std::uint32_t, std::uint32_t state) {
            if (state == WL_POINTER_BUTTON_STATE_PRESSED)
                static_cast<TestWindow*>(data)->handlePress(serial);
        },
        .axis = [](void*, wl_pointer*, std::uint32_t, std::uint32_t, wl_fixed_t) {},
        .frame = [](void*, wl_pointer*) {},
        .axis_source = [](void*, wl_pointer*, std::uint32_t) {},
        .axis_stop = [](void*, wl_pointer*, std::uint32_t, std::uint32_t) {},
        .axis_discrete = [](void*, wl_pointer*, std::uint32_t, std::int32_t) {},
        .axis_value120 = [](void*, wl_pointer*, std::uint32_t, std::int32_t) {},
    };
    wl_pointer_add_listener(window->m_pointer, &pointerListener, window.get());

    // A keyboard once the seat has one (the test plugs a virtual one).
    static const wl_seat_listener seatListener = {
        .capabilities = [](void* data, wl_seat* seat, std::uint32_t capabilities) {
            auto* self = static_cast<TestWindow*>(data);
            if (!(capabilities & WL_SEAT_CAPABILITY_KEYBOARD) || self->m_keyboard)
                return;
            self->m_keyboard = wl_seat_get_keyboard(seat);
            static const wl_keyboard_listener keyboardListener = {
                .keymap = [](void*, wl_keyboard*, std::uint32_t, std::int32_t fd, std::uint32_t) { ::close(fd); },
                .enter = [](void* data, wl_keyboard*, std::uint32_t, wl_surface*, wl_array*) {
                    static_cast<TestWindow*>(data)->m_focused = true;
                },
                .leave = [](void* data, wl_keyboard*, std::uint32_t, wl_surface*) {
                    static_cast<TestWindow*>(data)->m_focused = false;
                },
                .key = [](void* data, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t key, std::uint32_t state) {
                    static_cast<TestWindow*>(data)->handleKey(key, state);
                },
                .modifiers = [](void* data, wl_keyboard*, std::uint32_t, std::uint32_t depressed, std::uint32_t latched,
                                std::uint32_t locked, std::uint32_t) {
                    static_cast<TestWindow*>(data)->m_modifiers = depressed | latched | locked;
                },
                .repeat_info = [](void*, wl_keyboard*, std::int32_t, std::int32_t) {},
            };
            wl_keyboard_add_listener(self->m_keyboard, &keyboardListener, self);
        },
        .name = [](void*, wl_seat*, const char*) {},
    };
    wl_seat_add_listener(window->m_seat, &seatListener, window.get());

    // The clipboard for pasting, drops onto the window, drags from it.
    window->m_dataDevice = wl_data_device_manager_get_data_device(window->m_dataDeviceManager, window->m_seat);
    static const wl_data_device_listener dataDeviceListener = {
        .data_offer = [](void*, wl_data_device*, wl_data_offer* offer) {
            offeredTypes().push_back({offer, {}});
            static const wl_data_offer_listener offerListener = {
                .offer = [](void*, wl_data_offer* offer, const char* type) {
                    for (auto& [known, types] : offeredTypes())
                        if (known == offer)
                            types.emplace_back(type);
                },
                .source_actions = [](void*, wl_data_offer*, std::uint32_t) {},
                .action = [](void*, wl_data_offer*, std::uint32_t) {},
            };
            wl_data_offer_add_listener(offer, &offerListener, nullptr);
        },
        .enter = [](void* data, wl_data_device*, std::uint32_t serial, wl_surface*, wl_fixed_t, wl_fixed_t,
                    wl_data_offer* offer) {
            auto* self = static_cast<TestWindow*>(data);
            self->m_dragOffer = offer;
            if (!offer)
                return;
            const bool takes = offers(typesOf(offer), "text/uri-list");
            wl_data_offer_accept(offer, serial, takes ? "text/uri-list" : nullptr);
            wl_data_offer_set_actions(offer, WL_DATA_DEVICE_MANAGER_DND_ACTION_COPY, WL_DATA_DEVICE_MANAGER_DND_ACTION_COPY);
        },
        .leave = [](void* data, wl_data_device*) { static_cast<TestWindow*>(data)->m_dragOffer = nullptr; },
        .motion = [](void*, wl_data_device*, std::uint32_t, wl_fixed_t, wl_fixed_t) {},
        .drop = [](void* data, wl_data_device*) {
            auto* self = static_cast<TestWindow*>(data);
            if (self->m_dragOffer)
                self->receive(std::exchange(self->m_dragOffer, nullptr), "text/uri-list", &self->m_dropped, true);
        },
        .selection = [](void* data, wl_data_device*, wl_data_offer* offer) {
            static_cast<TestWindow*>(data)->m_selection = offer;
        },
    };
    wl_data_device_add_listener(window->m_dataDevice, &dataDeviceListener, window.get());

    window->m_surface = wl_compositor_create_surface(window->m_compositor);
    window->m_xdgSurface = xdg_wm_base_get_xdg_surface(window->m_wmBase, window->m_surface);
    static const xdg_surface_listener surfaceListener = {
        .configure = [](void* data, xdg_surface*, std::uint32_t serial) {
            static_cast<TestWindow*>(data)->handleConfigure(serial);
        },
    };
    xdg_surface_add_listener(window->m_xdgSurface, &surfaceListener, window.get());
    window->m_toplevel = xdg_surface_get_toplevel(window->m_xdgSurface);
    static const xdg_toplevel_listener toplevelListener = {
        .configure = [](void* data, xdg_toplevel*, std::int32_t width, std::int32_t height, wl_array* states) {
            auto* self = static_cast<TestWindow*>(data);
            self->m_tiled = width > 0 && height > 0;
            self->m_size = self->m_tiled ? QSize(width, height) : fallbackSize;
            const auto* first = static_cast<const std::uint32_t*>(states->data);
            self->m_fullScreen = std::ranges::find(first, first + states->size / sizeof(std::uint32_t),
                                                   std::uint32_t(XDG_TOPLEVEL_STATE_FULLSCREEN))
                != first + states->size / sizeof(std::uint32_t);
        },
        .close = [](void*, xdg_toplevel*) {},
        .configure_bounds = [](void*, xdg_toplevel*, std::int32_t, std::int32_t) {},
        .wm_capabilities = [](void*, xdg_toplevel*, wl_array*) {},
    };
    xdg_toplevel_add_listener(window->m_toplevel, &toplevelListener, window.get());
    xdg_toplevel_set_title(window->m_toplevel, "below the island");
    wl_surface_commit(window->m_surface);
    wl_display_flush(window->m_display);
    return window;
}

TestWindow::~TestWindow()
{
    m_buffer.reset();
    for (const Reading& reading : m_readings)
        ::close(reading.fd);
    if (m_dragSource)
        wl_data_source_destroy(m_dragSource);
    if (m_toplevel)
        xdg_toplevel_destroy(m_toplevel);
    if (m_xdgSurface)
        xdg_surface_destroy(m_xdgSurface);
    if (m_surface)
        wl_surface_destroy(m_surface);
    if (m_display)
        wl_display_disconnect(m_display);
}

void TestWindow::dispatch()
{
    wl_display_flush(m_display);
    while (wl_display_prepare_read(m_display) != 0)
        wl_display_dispatch_pending(m_display);
    pollfd ready {wl_display_get_fd(m_display), POLLIN, 0};
    if (::poll(&ready, 1, 0) > 0)
        wl_display_read_events(m_display);
    else
        wl_display_cancel_read(m_display);
    wl_display_dispatch_pending(m_display);
    readTransfers();
    wl_display_flush(m_display);
}

void TestWindow::sync()
{
    wl_display_roundtrip(m_display);
    readTransfers();
}

void TestWindow::handlePress(std::uint32_t serial)
{
    ++m_presses;
    if (m_dragFlavours.empty())
        return;
    if (m_dragSource)
        wl_data_source_destroy(m_dragSource);
    m_dragSource = wl_data_device_manager_create_data_source(m_dataDeviceManager);
    m_sourceFlavours = std::exchange(m_dragFlavours, {});
    m_dragEnded.reset();
    for (const ClipFlavour& flavour : m_sourceFlavours)
        wl_data_source_offer(m_dragSource, flavour.mimeType.c_str());
    wl_data_source_set_actions(m_dragSource, WL_DATA_DEVICE_MANAGER_DND_ACTION_COPY);
    static const wl_data_source_listener sourceListener = {
        .target = [](void*, wl_data_source*, const char*) {},
        .send = [](void* data, wl_data_source*, const char* type, std::int32_t fd) {
            auto* self = static_cast<TestWindow*>(data);
            for (const ClipFlavour& flavour : self->m_sourceFlavours)
                if (flavour.mimeType == type)
                    (void)!::write(fd, flavour.data.data(), flavour.data.size());
            ::close(fd);
        },
        .cancelled = [](void* data, wl_data_source*) {
            auto* self = static_cast<TestWindow*>(data);
            if (!self->m_dragEnded)
                self->m_dragEnded = false;
        },
        .dnd_drop_performed = [](void*, wl_data_source*) {},
        .dnd_finished = [](void* data, wl_data_source*) { static_cast<TestWindow*>(data)->m_dragEnded = true; },
        .action = [](void*, wl_data_source*, std::uint32_t) {},
    };
    wl_data_source_add_listener(m_dragSource, &sourceListener, this);
    wl_data_device_start_drag(m_dataDevice, m_dragSource, m_surface, nullptr, serial);
}

void TestWindow::handleKey(std::uint32_t key, std::uint32_t state)
{
    // Ctrl+V pastes the clipboard's text, as a text field does.
    if (key != KEY_V || state != WL_KEYBOARD_KEY_STATE_PRESSED || !(m_modifiers & controlMask) || !m_selection)
        return;
    const auto types = typesOf(m_selection);
    for (const char* type : {"text/plain;charset=utf-8", "text/plain"})
        if (offers(types, type)) {
            receive(m_selection, type, &m_pasted, false);
            return;
        }
}

void TestWindow::receive(wl_data_offer* offer, const char* type, std::string* into, bool finish)
{
    int fds[2];
    if (pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    wl_data_offer_receive(offer, type, fds[1]);
    wl_display_flush(m_display);
    ::close(fds[1]);
    m_readings.push_back({.fd = fds[0], .bytes = {}, .into = into, .finishOffer = finish ? offer : nullptr});
}

void TestWindow::readTransfers()
{
    std::erase_if(m_readings, [this](Reading& reading) {
        std::array<char, 4096> chunk {};
        for (;;) {
            const ssize_t count = ::read(reading.fd, chunk.data(), chunk.size());
            if (count > 0) {
                reading.bytes.append(chunk.data(), static_cast<std::size_t>(count));
                continue;
            }
            if (count < 0 && (errno == EAGAIN || errno == EINTR))
                return false;
            break;
        }
        ::close(reading.fd);
        *reading.into = reading.bytes;
        if (reading.finishOffer) {
            wl_data_offer_finish(reading.finishOffer);
            wl_data_offer_destroy(reading.finishOffer);
        }
        return true;
    });
}

void TestWindow::handleConfigure(std::uint32_t serial)
{
    xdg_surface_ack_configure(m_xdgSurface, serial);
    if (m_size.isEmpty())
        m_size = fallbackSize;
    if (!m_buffer || m_buffer->pixelSize() != m_size) {
        auto buffer = ShmBuffer::create(m_shm, m_size, 1);
        if (!buffer)
            return;
        m_buffer = std::move(*buffer);
        m_buffer->image().fill(Qt::darkGray);
    }
    wl_surface_attach(m_surface, m_buffer->buffer(), 0, 0);
    wl_surface_damage(m_surface, 0, 0, m_size.width(), m_size.height());
    wl_surface_commit(m_surface);
    m_shown = m_tiled;
}

} // namespace vq::test
