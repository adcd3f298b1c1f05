#include "vantaquill/wayland/WaylandDataDevice.hpp"

#include "vantaquill/wayland/WaylandFlavourSender.hpp"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <QUrl>
#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <wayland-client.h>

namespace vq {

namespace {

// The newest version whose requests and events the device knows: drag actions and finish.
constexpr std::uint32_t knownVersion = 3;
// More than any list of dropped files or any snippet worth keeping: a bigger drop is refused.
constexpr std::size_t maxDropBytes = 4 * 1024 * 1024;
// A program that let go of its drop but never writes it is not waited for longer than this.
constexpr int dropReadTimeoutMs = 10'000;

std::string_view trimmed(std::string_view line) {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t'))
        line.remove_suffix(1);
    while (!line.empty() && (line.front() == ' ' || line.front() == '\t'))
        line.remove_prefix(1);
    return line;
}

} // namespace

struct WaylandDataDevice::Incoming {
    wl_data_offer* offer = nullptr;
    std::uint32_t serial = 0;
    std::string mimeType;
    QPointF position;
    std::string bytes;
    int fd = -1;
    std::unique_ptr<QSocketNotifier> notifier;
    std::unique_ptr<QTimer> timeout;
    /// Read to the end, with what it brought.
    std::optional<IslandSurface::DropEvent> content;
    /// The island was told of the drag (an enter), and whether it takes it.
    bool entered = false;
    bool taken = false;
    bool dropped = false;
    /// Not for the island: only kept until the drag leaves.
    bool refused = false;

    ~Incoming() {
        notifier.reset();
        if (fd >= 0)
            ::close(fd);
    }
};

const std::vector<std::string_view>& WaylandDataDevice::readableTypes() {
    static const std::vector<std::string_view> types = {uriList, "text/plain;charset=utf-8", "UTF8_STRING",
                                                        "text/plain"};
    return types;
}

IslandSurface::DropEvent WaylandDataDevice::content(std::string_view mimeType, std::string_view bytes) {
    IslandSurface::DropEvent drop;
    if (mimeType != uriList) {
        drop.text = std::string(bytes);
        return drop;
    }
    // One URI per line, lines starting with "#" are comments.
    while (!bytes.empty()) {
        const auto end = bytes.find('\n');
        const std::string_view line = trimmed(bytes.substr(0, end));
        bytes = end == std::string_view::npos ? std::string_view() : bytes.substr(end + 1);
        if (line.empty() || line.front() == '#')
            continue;
        const QUrl url(QString::fromUtf8(line.data(), static_cast<qsizetype>(line.size())), QUrl::StrictMode);
        if (!url.isValid() || url.scheme().isEmpty())
            continue;
        if (url.isLocalFile())
            drop.files.push_back(url.toLocalFile().toStdString());
        else if (drop.text.empty())
            drop.text = url.toString().toStdString();
    }
    if (!drop.files.empty())
        drop.text.clear();
    return drop;
}

WaylandDataDevice::WaylandDataDevice(wl_data_device_manager* manager, std::uint32_t managerVersion,
                                     wl_seat* seat, std::function<bool(wl_surface*)> isIsland,
                                     std::function<void()> flush)
    : manager_(manager), version_(std::min(managerVersion, knownVersion)), isIsland_(std::move(isIsland)),
      flush_(std::move(flush)), context_(std::make_unique<QObject>()) {
    device_ = wl_data_device_manager_get_data_device(manager_, seat);
    static const wl_data_device_listener listener = {
        .data_offer = [](void* data, wl_data_device*,
                         wl_data_offer* offer) { static_cast<WaylandDataDevice*>(data)->handleOffer(offer); },
        .enter =
            [](void* data, wl_data_device*, std::uint32_t serial, wl_surface* surface, wl_fixed_t x,
               wl_fixed_t y, wl_data_offer* offer) {
                static_cast<WaylandDataDevice*>(data)->handleEnter(
                    serial, surface, QPointF(wl_fixed_to_double(x), wl_fixed_to_double(y)), offer);
            },
        .leave = [](void* data, wl_data_device*) { static_cast<WaylandDataDevice*>(data)->handleLeave(); },
        .motion =
            [](void* data, wl_data_device*, std::uint32_t, wl_fixed_t x, wl_fixed_t y) {
                static_cast<WaylandDataDevice*>(data)->handleMotion(
                    QPointF(wl_fixed_to_double(x), wl_fixed_to_double(y)));
            },
        .drop = [](void* data, wl_data_device*) { static_cast<WaylandDataDevice*>(data)->handleDrop(); },
        .selection =
            [](void* data, wl_data_device*, wl_data_offer* offer) {
                // The clipboard is watched elsewhere: a selection offer is only let go of.
                auto* self = static_cast<WaylandDataDevice*>(data);
                if (self->selection_ && self->selection_ != offer) {
                    self->offered_.erase(self->selection_);
                    wl_data_offer_destroy(self->selection_);
                }
                self->selection_ = offer;
            },
    };
    wl_data_device_add_listener(device_, &listener, this);
}

WaylandDataDevice::~WaylandDataDevice() {
    onDrop = nullptr;
    sourceFinished_ = nullptr;
    context_.reset();
    incoming_.reset();
    for (const auto& [offer, types] : offered_)
        wl_data_offer_destroy(offer);
    if (source_)
        wl_data_source_destroy(source_);
    if (device_) {
        if (version_ >= WL_DATA_DEVICE_RELEASE_SINCE_VERSION)
            wl_data_device_release(device_);
        else
            wl_data_device_destroy(device_);
    }
}

// MARK: - Dropping in

void WaylandDataDevice::handleOffer(wl_data_offer* offer) {
    offered_[offer];
    static const wl_data_offer_listener listener = {
        .offer =
            [](void* data, wl_data_offer* offer, const char* type) {
                auto* self = static_cast<WaylandDataDevice*>(data);
                if (const auto found = self->offered_.find(offer); found != self->offered_.end())
                    found->second.emplace_back(type);
            },
        .source_actions = [](void*, wl_data_offer*, std::uint32_t) {},
        .action = [](void*, wl_data_offer*, std::uint32_t) {},
    };
    wl_data_offer_add_listener(offer, &listener, this);
}

void WaylandDataDevice::handleEnter(std::uint32_t serial, wl_surface* surface, QPointF position,
                                    wl_data_offer* offer) {
    endIncoming();
    if (!offer)
        return;
    const auto& offered = offered_[offer];
    const auto type = std::ranges::find_if(readableTypes(), [&](std::string_view wanted) {
        return std::ranges::find(offered, wanted) != offered.end();
    });
    incoming_ = std::make_unique<Incoming>();
    Incoming& incoming = *incoming_;
    incoming.offer = offer;
    incoming.serial = serial;
    // The island's own drag passing over it, something dropped elsewhere, or nothing it can read:
    // refused. The offer is kept until the drag leaves: a compositor takes an offer destroyed while
    // the drag is over its surface for the end of the drag, and cancels it for its source.
    int fds[2];
    if (source_ || !surface || !isIsland_(surface) || type == readableTypes().end() ||
        pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0) {
        incoming.refused = true;
        wl_data_offer_accept(offer, serial, nullptr);
        flush_();
        return;
    }
    incoming.mimeType = std::string(*type);
    incoming.position = position;
    incoming.fd = fds[0];
    // Taken tentatively while it is read: the answer follows once the island has seen it.
    wl_data_offer_accept(offer, serial, incoming.mimeType.c_str());
    if (version_ >= WL_DATA_OFFER_SET_ACTIONS_SINCE_VERSION)
        wl_data_offer_set_actions(offer, WL_DATA_DEVICE_MANAGER_DND_ACTION_COPY,
                                  WL_DATA_DEVICE_MANAGER_DND_ACTION_COPY);
    wl_data_offer_receive(offer, incoming.mimeType.c_str(), fds[1]);
    flush_();
    ::close(fds[1]);
    incoming.notifier = std::make_unique<QSocketNotifier>(incoming.fd, QSocketNotifier::Read);
    QObject::connect(incoming.notifier.get(), &QSocketNotifier::activated, context_.get(),
                     [this] { readAvailable(); });
}

void WaylandDataDevice::readAvailable() {
    if (!incoming_ || incoming_->content)
        return;
    Incoming& incoming = *incoming_;
    std::array<char, 16384> chunk{};
    for (;;) {
        const ssize_t count = ::read(incoming.fd, chunk.data(), chunk.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 && errno == EAGAIN)
            return;
        if (count > 0) {
            incoming.bytes.append(chunk.data(), static_cast<std::size_t>(count));
            if (incoming.bytes.size() <= maxDropBytes)
                continue;
            incoming.bytes.clear();
        }
        break;
    }
    // The end (or a failure, or too much, which bring nothing the island takes).
    incoming.notifier.reset();
    ::close(incoming.fd);
    incoming.fd = -1;
    incoming.timeout.reset();
    incoming.content = content(incoming.mimeType, incoming.bytes);
    deliverEnter();
    if (incoming_ && incoming_->dropped)
        deliverDrop();
}

void WaylandDataDevice::deliverEnter() {
    Incoming& incoming = *incoming_;
    IslandSurface::DropEvent event = *incoming.content;
    event.type = IslandSurface::DropEvent::Type::enter;
    event.position = incoming.position;
    incoming.entered = true;
    const bool empty = event.files.empty() && event.text.empty();
    accept(!empty && onDrop && onDrop(event));
}

void WaylandDataDevice::accept(bool taken) {
    if (!incoming_)
        return;
    incoming_->taken = taken;
    if (incoming_->dropped)
        return;
    wl_data_offer_accept(incoming_->offer, incoming_->serial, taken ? incoming_->mimeType.c_str() : nullptr);
    flush_();
}

void WaylandDataDevice::handleMotion(QPointF position) {
    if (!incoming_ || incoming_->dropped || incoming_->refused)
        return;
    incoming_->position = position;
    if (!incoming_->entered || !incoming_->taken)
        return;
    IslandSurface::DropEvent event = *incoming_->content;
    event.type = IslandSurface::DropEvent::Type::move;
    event.position = position;
    accept(onDrop && onDrop(event));
}

void WaylandDataDevice::handleLeave() {
    // After a drop the compositor says the drag left: the drop is still being read or handed over.
    if (!incoming_ || incoming_->dropped)
        return;
    const bool entered = incoming_->entered;
    endIncoming();
    if (entered && onDrop)
        onDrop(IslandSurface::DropEvent{
            .type = IslandSurface::DropEvent::Type::leave, .position = {}, .files = {}, .text = {}});
}

void WaylandDataDevice::handleDrop() {
    if (!incoming_)
        return;
    if (incoming_->refused) {
        endIncoming();
        return;
    }
    incoming_->dropped = true;
    if (incoming_->content) {
        deliverDrop();
        return;
    }
    // Still reading: the drop is handed over when the data is in, or forgotten after a while.
    incoming_->timeout = std::make_unique<QTimer>();
    incoming_->timeout->setSingleShot(true);
    QObject::connect(incoming_->timeout.get(), &QTimer::timeout, context_.get(), [this] {
        endIncoming();
        if (onDrop)
            onDrop(IslandSurface::DropEvent{
                .type = IslandSurface::DropEvent::Type::leave, .position = {}, .files = {}, .text = {}});
    });
    incoming_->timeout->start(dropReadTimeoutMs);
}

void WaylandDataDevice::deliverDrop() {
    IslandSurface::DropEvent event = *incoming_->content;
    event.type = IslandSurface::DropEvent::Type::drop;
    event.position = incoming_->position;
    const bool taken = incoming_->taken && onDrop && onDrop(event);
    // The other program learns that its copy is done (and may clean up); a refused drop is only let go.
    if (incoming_ && taken && version_ >= WL_DATA_OFFER_FINISH_SINCE_VERSION)
        wl_data_offer_finish(incoming_->offer);
    endIncoming();
}

void WaylandDataDevice::endIncoming() {
    if (!incoming_)
        return;
    wl_data_offer* offer = incoming_->offer;
    incoming_.reset();
    offered_.erase(offer);
    wl_data_offer_destroy(offer);
    flush_();
}

// MARK: - Dragging out

bool WaylandDataDevice::startDrag(wl_surface* origin, std::uint32_t serial, const ClipFlavours& flavours,
                                  std::function<void()> finished) {
    if (source_ || flavours.empty() || !origin)
        return false;
    source_ = wl_data_device_manager_create_data_source(manager_);
    sourceFlavours_ = flavours;
    sourceFinished_ = std::move(finished);
    for (const ClipFlavour& flavour : sourceFlavours_)
        wl_data_source_offer(source_, flavour.mimeType.c_str());
    if (version_ >= WL_DATA_SOURCE_SET_ACTIONS_SINCE_VERSION)
        wl_data_source_set_actions(source_, WL_DATA_DEVICE_MANAGER_DND_ACTION_COPY);
    static const wl_data_source_listener listener = {
        .target = [](void*, wl_data_source*, const char*) {},
        .send =
            [](void* data, wl_data_source*, const char* type, std::int32_t fd) {
                WaylandFlavourSender::send(static_cast<WaylandDataDevice*>(data)->sourceFlavours_, type, fd);
            },
        .cancelled = [](void* data, wl_data_source*) { static_cast<WaylandDataDevice*>(data)->endSource(); },
        .dnd_drop_performed = [](void*, wl_data_source*) {},
        .dnd_finished = [](void* data,
                           wl_data_source*) { static_cast<WaylandDataDevice*>(data)->endSource(); },
        .action = [](void*, wl_data_source*, std::uint32_t) {},
    };
    wl_data_source_add_listener(source_, &listener, this);
    wl_data_device_start_drag(device_, source_, origin, nullptr, serial);
    flush_();
    return true;
}

void WaylandDataDevice::endSource() {
    if (!source_)
        return;
    wl_data_source_destroy(source_);
    source_ = nullptr;
    sourceFlavours_.clear();
    // Told from the event loop: the listener that ends the drag runs inside the connection's dispatch.
    if (auto finished = std::exchange(sourceFinished_, nullptr))
        QTimer::singleShot(0, context_.get(), std::move(finished));
}

} // namespace vq
