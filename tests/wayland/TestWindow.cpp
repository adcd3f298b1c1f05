#include "tests/wayland/TestWindow.hpp"

#include "vantaquill/wayland/ShmBuffer.hpp"
#include "vantaquill/wayland/xdg-shell-client-protocol.h"

#include <wayland-client.h>

#include <algorithm>
#include <cstring>
#include <poll.h>

namespace vq::test {

namespace {

// The size asked for when the compositor leaves it to the window; sway tiles it anyway.
constexpr QSize fallbackSize(640, 480);

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
            else if (std::strcmp(interface, xdg_wm_base_interface.name) == 0)
                self->m_wmBase = static_cast<xdg_wm_base*>(wl_registry_bind(registry, name, &xdg_wm_base_interface, 1));
        },
        .global_remove = [](void*, wl_registry*, std::uint32_t) {},
    };
    window->m_registry = wl_display_get_registry(window->m_display);
    wl_registry_add_listener(window->m_registry, &registryListener, window.get());
    wl_display_roundtrip(window->m_display);
    if (!window->m_compositor || !window->m_shm || !window->m_seat || !window->m_wmBase)
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
        .button = [](void* data, wl_pointer*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t state) {
            if (state == WL_POINTER_BUTTON_STATE_PRESSED)
                ++static_cast<TestWindow*>(data)->m_presses;
        },
        .axis = [](void*, wl_pointer*, std::uint32_t, std::uint32_t, wl_fixed_t) {},
        .frame = [](void*, wl_pointer*) {},
        .axis_source = [](void*, wl_pointer*, std::uint32_t) {},
        .axis_stop = [](void*, wl_pointer*, std::uint32_t, std::uint32_t) {},
        .axis_discrete = [](void*, wl_pointer*, std::uint32_t, std::int32_t) {},
        .axis_value120 = [](void*, wl_pointer*, std::uint32_t, std::int32_t) {},
    };
    wl_pointer_add_listener(window->m_pointer, &pointerListener, window.get());

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
    wl_display_flush(m_display);
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
