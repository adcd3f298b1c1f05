#include "tests/wayland/TestWindow.hpp"

#include "vantaquill/wayland/ShmBuffer.hpp"
#include "vantaquill/wayland/xdg-shell-client-protocol.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/input-event-codes.h>
#include <poll.h>
#include <unistd.h>
#include <wayland-client.h>

namespace vq::test {

namespace {

// The size asked for when the compositor leaves it to the window; sway tiles it anyway.
constexpr QSize fallbackSize(640, 480);
// XKB's real modifiers have fixed places: Control is the third.
constexpr std::uint32_t controlMask = 1u << 2;

bool offers(const std::vector<std::string>& types, const char* type) {
    return std::ranges::find(types, type) != types.end();
}

// The types each offer announced, kept beside the window: offers are made and destroyed in a stream.
std::vector<std::pair<wl_data_offer*, std::vector<std::string>>>& offeredTypes() {
    static std::vector<std::pair<wl_data_offer*, std::vector<std::string>>> types;
    return types;
}

std::vector<std::string> typesOf(wl_data_offer* offer) {
    for (const auto& [known, types] : offeredTypes())
        if (known == offer)
            return types;
    return {};
}

} // namespace

std::expected<std::unique_ptr<TestWindow>, std::string> TestWindow::open(const std::string& display) {
    std::unique_ptr<TestWindow> window(new TestWindow);
    window->display_ = wl_display_connect(display.c_str());
    if (!window->display_)
        return std::unexpected("cannot connect to " + display);
    static const wl_registry_listener registryListener = {
        .global =
            [](void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t) {
                auto* self = static_cast<TestWindow*>(data);
                if (std::strcmp(interface, wl_compositor_interface.name) == 0)
                    self->compositor_ = static_cast<wl_compositor*>(
                        wl_registry_bind(registry, name, &wl_compositor_interface, 4));
                else if (std::strcmp(interface, wl_shm_interface.name) == 0)
                    self->shm_ = static_cast<wl_shm*>(wl_registry_bind(registry, name, &wl_shm_interface, 1));
                else if (std::strcmp(interface, wl_seat_interface.name) == 0 && !self->seat_)
                    self->seat_ =
                        static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
                else if (std::strcmp(interface, wl_data_device_manager_interface.name) == 0)
                    self->dataDeviceManager_ = static_cast<wl_data_device_manager*>(
                        wl_registry_bind(registry, name, &wl_data_device_manager_interface, 3));
                else if (std::strcmp(interface, xdg_wm_base_interface.name) == 0)
                    self->wmBase_ = static_cast<xdg_wm_base*>(
                        wl_registry_bind(registry, name, &xdg_wm_base_interface, 1));
            },
        .global_remove = [](void*, wl_registry*, std::uint32_t) {},
    };
    window->registry_ = wl_display_get_registry(window->display_);
    wl_registry_add_listener(window->registry_, &registryListener, window.get());
    wl_display_roundtrip(window->display_);
    if (!window->compositor_ || !window->shm_ || !window->seat_ || !window->wmBase_ ||
        !window->dataDeviceManager_)
        return std::unexpected("the compositor lacks a global a window needs");

    static const xdg_wm_base_listener wmBaseListener = {
        .ping = [](void*, xdg_wm_base* base, std::uint32_t serial) { xdg_wm_base_pong(base, serial); },
    };
    xdg_wm_base_add_listener(window->wmBase_, &wmBaseListener, nullptr);
    // Version 1 of the seat: the pointer is asked for outright, the seat offering one already.
    window->pointer_ = wl_seat_get_pointer(window->seat_);
    static const wl_pointer_listener pointerListener = {
        .enter = [](void*, wl_pointer*, std::uint32_t, wl_surface*, wl_fixed_t, wl_fixed_t) {},
        .leave = [](void*, wl_pointer*, std::uint32_t, wl_surface*) {},
        .motion = [](void*, wl_pointer*, std::uint32_t, wl_fixed_t, wl_fixed_t) {},
        .button =
            [](void* data, wl_pointer*, std::uint32_t serial, std::uint32_t, std::uint32_t,
               std::uint32_t state) {
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
    wl_pointer_add_listener(window->pointer_, &pointerListener, window.get());

    // A keyboard once the seat has one (the test plugs a virtual one).
    static const wl_seat_listener seatListener = {
        .capabilities =
            [](void* data, wl_seat* seat, std::uint32_t capabilities) {
                auto* self = static_cast<TestWindow*>(data);
                if (!(capabilities & WL_SEAT_CAPABILITY_KEYBOARD) || self->keyboard_)
                    return;
                self->keyboard_ = wl_seat_get_keyboard(seat);
                static const wl_keyboard_listener keyboardListener = {
                    .keymap = [](void*, wl_keyboard*, std::uint32_t, std::int32_t fd,
                                 std::uint32_t) { ::close(fd); },
                    .enter = [](void* data, wl_keyboard*, std::uint32_t, wl_surface*,
                                wl_array*) { static_cast<TestWindow*>(data)->focused_ = true; },
                    .leave = [](void* data, wl_keyboard*, std::uint32_t,
                                wl_surface*) { static_cast<TestWindow*>(data)->focused_ = false; },
                    .key = [](void* data, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t key,
                              std::uint32_t state) { static_cast<TestWindow*>(data)->handleKey(key, state); },
                    .modifiers =
                        [](void* data, wl_keyboard*, std::uint32_t, std::uint32_t depressed,
                           std::uint32_t latched, std::uint32_t locked, std::uint32_t) {
                            static_cast<TestWindow*>(data)->modifiers_ = depressed | latched | locked;
                        },
                    .repeat_info = [](void*, wl_keyboard*, std::int32_t, std::int32_t) {},
                };
                wl_keyboard_add_listener(self->keyboard_, &keyboardListener, self);
            },
        .name = [](void*, wl_seat*, const char*) {},
    };
    wl_seat_add_listener(window->seat_, &seatListener, window.get());

    // The clipboard for pasting, drops onto the window, drags from it.
    window->dataDevice_ = wl_data_device_manager_get_data_device(window->dataDeviceManager_, window->seat_);
    static const wl_data_device_listener dataDeviceListener = {
        .data_offer =
            [](void*, wl_data_device*, wl_data_offer* offer) {
                offeredTypes().push_back({offer, {}});
                static const wl_data_offer_listener offerListener = {
                    .offer =
                        [](void*, wl_data_offer* offer, const char* type) {
                            for (auto& [known, types] : offeredTypes())
                                if (known == offer)
                                    types.emplace_back(type);
                        },
                    .source_actions = [](void*, wl_data_offer*, std::uint32_t) {},
                    .action = [](void*, wl_data_offer*, std::uint32_t) {},
                };
                wl_data_offer_add_listener(offer, &offerListener, nullptr);
            },
        .enter =
            [](void* data, wl_data_device*, std::uint32_t serial, wl_surface*, wl_fixed_t, wl_fixed_t,
               wl_data_offer* offer) {
                auto* self = static_cast<TestWindow*>(data);
                self->dragOffer_ = offer;
                if (!offer)
                    return;
                const bool takes = offers(typesOf(offer), "text/uri-list");
                wl_data_offer_accept(offer, serial, takes ? "text/uri-list" : nullptr);
                wl_data_offer_set_actions(offer, WL_DATA_DEVICE_MANAGER_DND_ACTION_COPY,
                                          WL_DATA_DEVICE_MANAGER_DND_ACTION_COPY);
            },
        .leave = [](void* data, wl_data_device*) { static_cast<TestWindow*>(data)->dragOffer_ = nullptr; },
        .motion = [](void*, wl_data_device*, std::uint32_t, wl_fixed_t, wl_fixed_t) {},
        .drop =
            [](void* data, wl_data_device*) {
                auto* self = static_cast<TestWindow*>(data);
                if (self->dragOffer_)
                    self->receive(std::exchange(self->dragOffer_, nullptr), "text/uri-list", &self->dropped_,
                                  true);
            },
        .selection = [](void* data, wl_data_device*,
                        wl_data_offer* offer) { static_cast<TestWindow*>(data)->selection_ = offer; },
    };
    wl_data_device_add_listener(window->dataDevice_, &dataDeviceListener, window.get());

    window->surface_ = wl_compositor_create_surface(window->compositor_);
    window->xdgSurface_ = xdg_wm_base_get_xdg_surface(window->wmBase_, window->surface_);
    static const xdg_surface_listener surfaceListener = {
        .configure = [](void* data, xdg_surface*,
                        std::uint32_t serial) { static_cast<TestWindow*>(data)->handleConfigure(serial); },
    };
    xdg_surface_add_listener(window->xdgSurface_, &surfaceListener, window.get());
    window->toplevel_ = xdg_surface_get_toplevel(window->xdgSurface_);
    static const xdg_toplevel_listener toplevelListener = {
        .configure =
            [](void* data, xdg_toplevel*, std::int32_t width, std::int32_t height, wl_array* states) {
                auto* self = static_cast<TestWindow*>(data);
                self->tiled_ = width > 0 && height > 0;
                self->size_ = self->tiled_ ? QSize(width, height) : fallbackSize;
                const auto* first = static_cast<const std::uint32_t*>(states->data);
                self->fullScreen_ = std::ranges::find(first, first + states->size / sizeof(std::uint32_t),
                                                      std::uint32_t(XDG_TOPLEVEL_STATE_FULLSCREEN)) !=
                                    first + states->size / sizeof(std::uint32_t);
            },
        .close = [](void*, xdg_toplevel*) {},
        .configure_bounds = [](void*, xdg_toplevel*, std::int32_t, std::int32_t) {},
        .wm_capabilities = [](void*, xdg_toplevel*, wl_array*) {},
    };
    xdg_toplevel_add_listener(window->toplevel_, &toplevelListener, window.get());
    xdg_toplevel_set_title(window->toplevel_, "below the island");
    wl_surface_commit(window->surface_);
    wl_display_flush(window->display_);
    return window;
}

TestWindow::~TestWindow() {
    buffer_.reset();
    for (const Reading& reading : readings_)
        ::close(reading.fd);
    if (dragSource_)
        wl_data_source_destroy(dragSource_);
    if (toplevel_)
        xdg_toplevel_destroy(toplevel_);
    if (xdgSurface_)
        xdg_surface_destroy(xdgSurface_);
    if (surface_)
        wl_surface_destroy(surface_);
    if (display_)
        wl_display_disconnect(display_);
}

void TestWindow::dispatch() {
    wl_display_flush(display_);
    while (wl_display_prepare_read(display_) != 0)
        wl_display_dispatch_pending(display_);
    pollfd ready{wl_display_get_fd(display_), POLLIN, 0};
    if (::poll(&ready, 1, 0) > 0)
        wl_display_read_events(display_);
    else
        wl_display_cancel_read(display_);
    wl_display_dispatch_pending(display_);
    readTransfers();
    wl_display_flush(display_);
}

void TestWindow::sync() {
    wl_display_roundtrip(display_);
    readTransfers();
}

void TestWindow::handlePress(std::uint32_t serial) {
    ++presses_;
    if (dragFlavours_.empty())
        return;
    if (dragSource_)
        wl_data_source_destroy(dragSource_);
    dragSource_ = wl_data_device_manager_create_data_source(dataDeviceManager_);
    sourceFlavours_ = std::exchange(dragFlavours_, {});
    dragEnded_.reset();
    for (const ClipFlavour& flavour : sourceFlavours_)
        wl_data_source_offer(dragSource_, flavour.mimeType.c_str());
    wl_data_source_set_actions(dragSource_, WL_DATA_DEVICE_MANAGER_DND_ACTION_COPY);
    static const wl_data_source_listener sourceListener = {
        .target = [](void*, wl_data_source*, const char*) {},
        .send =
            [](void* data, wl_data_source*, const char* type, std::int32_t fd) {
                auto* self = static_cast<TestWindow*>(data);
                for (const ClipFlavour& flavour : self->sourceFlavours_)
                    if (flavour.mimeType == type)
                        (void)!::write(fd, flavour.data.data(), flavour.data.size());
                ::close(fd);
            },
        .cancelled =
            [](void* data, wl_data_source*) {
                auto* self = static_cast<TestWindow*>(data);
                if (!self->dragEnded_)
                    self->dragEnded_ = false;
            },
        .dnd_drop_performed = [](void*, wl_data_source*) {},
        .dnd_finished = [](void* data,
                           wl_data_source*) { static_cast<TestWindow*>(data)->dragEnded_ = true; },
        .action = [](void*, wl_data_source*, std::uint32_t) {},
    };
    wl_data_source_add_listener(dragSource_, &sourceListener, this);
    wl_data_device_start_drag(dataDevice_, dragSource_, surface_, nullptr, serial);
}

void TestWindow::handleKey(std::uint32_t key, std::uint32_t state) {
    // Ctrl+V pastes the clipboard's text, as a text field does.
    if (key != KEY_V || state != WL_KEYBOARD_KEY_STATE_PRESSED || !(modifiers_ & controlMask) || !selection_)
        return;
    const auto types = typesOf(selection_);
    for (const char* type : {"text/plain;charset=utf-8", "text/plain"})
        if (offers(types, type)) {
            receive(selection_, type, &pasted_, false);
            return;
        }
}

void TestWindow::receive(wl_data_offer* offer, const char* type, std::string* into, bool finish) {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    wl_data_offer_receive(offer, type, fds[1]);
    wl_display_flush(display_);
    ::close(fds[1]);
    readings_.push_back({.fd = fds[0], .bytes = {}, .into = into, .finishOffer = finish ? offer : nullptr});
}

void TestWindow::readTransfers() {
    std::erase_if(readings_, [this](Reading& reading) {
        std::array<char, 4096> chunk{};
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

void TestWindow::handleConfigure(std::uint32_t serial) {
    xdg_surface_ack_configure(xdgSurface_, serial);
    if (size_.isEmpty())
        size_ = fallbackSize;
    if (!buffer_ || buffer_->pixelSize() != size_) {
        auto buffer = ShmBuffer::create(shm_, size_, 1);
        if (!buffer)
            return;
        buffer_ = std::move(*buffer);
        buffer_->image().fill(Qt::darkGray);
    }
    wl_surface_attach(surface_, buffer_->buffer(), 0, 0);
    wl_surface_damage(surface_, 0, 0, size_.width(), size_.height());
    wl_surface_commit(surface_);
    shown_ = tiled_;
}

} // namespace vq::test
