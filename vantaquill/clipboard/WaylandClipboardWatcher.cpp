#include "vantaquill/clipboard/WaylandClipboardWatcher.hpp"

#include "vantaquill/clipboard/ClipFlavourMapping.hpp"
#include "vantaquill/clipboard/ext-data-control-v1-client-protocol.h"
#include "vantaquill/clipboard/wlr-data-control-unstable-v1-client-protocol.h"
#include "vantaquill/wayland/WaylandEventPump.hpp"
#include "vantaquill/wayland/WaylandFlavourSender.hpp"

#include <QSocketNotifier>
#include <QTimer>

#include <wayland-client.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <utility>
#include <unistd.h>

namespace vq {

namespace {

// The two protocols are the same on the wire: one set of opcodes serves both, and the interfaces
// (which name the objects and give libwayland the message signatures) are chosen at bind time.
static_assert(ZWLR_DATA_CONTROL_MANAGER_V1_CREATE_DATA_SOURCE == EXT_DATA_CONTROL_MANAGER_V1_CREATE_DATA_SOURCE);
static_assert(ZWLR_DATA_CONTROL_MANAGER_V1_GET_DATA_DEVICE == EXT_DATA_CONTROL_MANAGER_V1_GET_DATA_DEVICE);
static_assert(ZWLR_DATA_CONTROL_DEVICE_V1_SET_SELECTION == EXT_DATA_CONTROL_DEVICE_V1_SET_SELECTION);
static_assert(ZWLR_DATA_CONTROL_DEVICE_V1_DESTROY == EXT_DATA_CONTROL_DEVICE_V1_DESTROY);
static_assert(ZWLR_DATA_CONTROL_SOURCE_V1_OFFER == EXT_DATA_CONTROL_SOURCE_V1_OFFER);
static_assert(ZWLR_DATA_CONTROL_SOURCE_V1_DESTROY == EXT_DATA_CONTROL_SOURCE_V1_DESTROY);
static_assert(ZWLR_DATA_CONTROL_OFFER_V1_RECEIVE == EXT_DATA_CONTROL_OFFER_V1_RECEIVE);
static_assert(ZWLR_DATA_CONTROL_OFFER_V1_DESTROY == EXT_DATA_CONTROL_OFFER_V1_DESTROY);

struct Interfaces {
    const wl_interface* manager;
    const wl_interface* device;
    const wl_interface* source;
    const wl_interface* offer;
};
constexpr Interfaces extInterfaces{&ext_data_control_manager_v1_interface, &ext_data_control_device_v1_interface,
                                   &ext_data_control_source_v1_interface, &ext_data_control_offer_v1_interface};
constexpr Interfaces wlrInterfaces{&zwlr_data_control_manager_v1_interface, &zwlr_data_control_device_v1_interface,
                                   &zwlr_data_control_source_v1_interface, &zwlr_data_control_offer_v1_interface};

// A source that does not finish writing in this time is given up on; its copy is not recorded.
constexpr int readTimeoutMs = 5000;
// Beyond the largest image the settings allow, the rest of a payload is not kept.
constexpr std::size_t readLimit = 64 * 1024 * 1024;

void destroyProxy(wl_proxy* proxy, std::uint32_t destroyOpcode) {
    if (proxy)
        wl_proxy_marshal_flags(proxy, destroyOpcode, nullptr, wl_proxy_get_version(proxy), WL_MARSHAL_FLAG_DESTROY);
}

} // namespace

struct WaylandClipboardWatcher::Connection {
    ClipboardStore& store;
    wl_display* display = nullptr;
    wl_registry* registry = nullptr;
    wl_proxy* seat = nullptr;
    wl_proxy* manager = nullptr;
    wl_proxy* device = nullptr;
    Interfaces interfaces{};
    std::uint32_t managerVersion = 1;
    std::unique_ptr<WaylandEventPump> pump;

    // Offers introduced and the types each lists so far.
    std::map<wl_proxy*, std::vector<std::string>> offers;

    // The reading of a selection: one pipe per type.
    struct Read {
        std::string type;
        int fd = -1;
        std::string data;
        std::unique_ptr<QSocketNotifier> notifier;

        Read() = default;
        Read(const Read&) = delete;
        Read& operator=(const Read&) = delete;
        // A read ends inside its notifier's own signal, where the notifier may not be deleted yet.
        ~Read() {
            if (fd >= 0)
                ::close(fd);
            notifier->setEnabled(false);
            notifier.release()->deleteLater();
        }
    };
    // One selection (the clipboard, or the primary one) and its reading: a newer offer abandons the
    // reading of an older one, and a source that has not finished in time is given up on.
    struct Slot {
        wl_proxy* offer = nullptr;
        std::vector<std::unique_ptr<Read>> reads;
        QTimer readTimer;
        // The primary selection is read once it has stayed the same a while (see `watchPrimary`).
        QTimer settle;
    };
    Slot clipboard;
    Slot primary;
    bool watchPrimary = false;

    // The island's own selections, and the flavours each writes.
    std::map<wl_proxy*, ClipFlavours> sources;

    explicit Connection(ClipboardStore& store) : store(store) {
        for (Slot* slot : {&clipboard, &primary}) {
            slot->readTimer.setSingleShot(true);
            QObject::connect(&slot->readTimer, &QTimer::timeout, [this, slot] { abandonReads(*slot); });
        }
        primary.settle.setSingleShot(true);
        primary.settle.setInterval(WaylandClipboardWatcher::primarySettleMs);
        QObject::connect(&primary.settle, &QTimer::timeout, [this] { read(primary); });
    }

    ~Connection() {
        abandonReads(clipboard);
        abandonReads(primary);
        for (auto& [source, flavours] : sources)
            destroyProxy(source, ZWLR_DATA_CONTROL_SOURCE_V1_DESTROY);
        for (auto& [offer, types] : offers)
            destroyProxy(offer, ZWLR_DATA_CONTROL_OFFER_V1_DESTROY);
        destroyProxy(device, ZWLR_DATA_CONTROL_DEVICE_V1_DESTROY);
        destroyProxy(manager, ZWLR_DATA_CONTROL_MANAGER_V1_DESTROY);
        if (seat)
            wl_proxy_destroy(seat);
        if (registry)
            wl_registry_destroy(registry);
        pump.reset();
        if (display) {
            wl_display_flush(display);
            wl_display_disconnect(display);
        }
    }

    void flush() { pump->flush(); }

    void abandonReads(Slot& slot) {
        slot.readTimer.stop();
        slot.reads.clear();
    }

    // Releases an offer no selection holds any more.
    void release(wl_proxy* offer) {
        if (!offer || offer == clipboard.offer || offer == primary.offer)
            return;
        offers.erase(offer);
        destroyProxy(offer, ZWLR_DATA_CONTROL_OFFER_V1_DESTROY);
    }

    // A new offer for the slot's selection (none: the selection was cleared).
    void replace(Slot& slot, wl_proxy* offer) {
        abandonReads(slot);
        slot.settle.stop();
        wl_proxy* previous = std::exchange(slot.offer, offer);
        if (previous != offer)
            release(previous);
    }

    static void global(void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t version) {
        auto* self = static_cast<Connection*>(data);
        const std::string_view offered(interface);
        if (offered == "wl_seat" && !self->seat) {
            self->seat = static_cast<wl_proxy*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
        } else if (offered == ext_data_control_manager_v1_interface.name) {
            if (self->manager)
                destroyProxy(self->manager, ZWLR_DATA_CONTROL_MANAGER_V1_DESTROY);
            self->interfaces = extInterfaces;
            self->managerVersion = 1;
            self->manager = static_cast<wl_proxy*>(wl_registry_bind(registry, name, extInterfaces.manager, 1));
        } else if (offered == zwlr_data_control_manager_v1_interface.name && !self->manager) {
            self->interfaces = wlrInterfaces;
            self->managerVersion = std::min<std::uint32_t>(version, 2);
            self->manager =
                static_cast<wl_proxy*>(wl_registry_bind(registry, name, wlrInterfaces.manager, self->managerVersion));
        }
    }
    static void globalRemove(void*, wl_registry*, std::uint32_t) {}
    static constexpr wl_registry_listener registryListener{&global, &globalRemove};

    // Device events: data_offer, selection, finished, primary_selection.
    static void dataOffer(void* data, wl_proxy*, wl_proxy* offer) {
        auto* self = static_cast<Connection*>(data);
        self->offers[offer];
        wl_proxy_add_listener(offer, reinterpret_cast<void (**)(void)>(const_cast<OfferListener*>(&offerListener)), self);
    }
    static void selectionChanged(void* data, wl_proxy*, wl_proxy* offer) {
        auto* self = static_cast<Connection*>(data);
        self->replace(self->clipboard, offer);
        self->read(self->clipboard);
    }
    static void finished(void* data, wl_proxy*) {
        auto* self = static_cast<Connection*>(data);
        destroyProxy(self->device, ZWLR_DATA_CONTROL_DEVICE_V1_DESTROY);
        self->device = nullptr;
    }
    static void primarySelection(void* data, wl_proxy*, wl_proxy* offer) {
        auto* self = static_cast<Connection*>(data);
        self->replace(self->primary, offer);
        // Unless it is recorded, the primary selection's offer is released at once.
        if (!self->watchPrimary) {
            self->replace(self->primary, nullptr);
            return;
        }
        // Each change restarts the wait: a selection being widened is read once it holds still.
        if (offer)
            self->primary.settle.start();
    }
    struct DeviceListener {
        void (*dataOffer)(void*, wl_proxy*, wl_proxy*);
        void (*selection)(void*, wl_proxy*, wl_proxy*);
        void (*finished)(void*, wl_proxy*);
        void (*primarySelection)(void*, wl_proxy*, wl_proxy*);
    };
    static constexpr DeviceListener deviceListener{&dataOffer, &selectionChanged, &finished, &primarySelection};

    static void offerType(void* data, wl_proxy* offer, const char* type) {
        static_cast<Connection*>(data)->offers[offer].emplace_back(type);
    }
    struct OfferListener {
        void (*offer)(void*, wl_proxy*, const char*);
    };
    static constexpr OfferListener offerListener{&offerType};

    static void send(void* data, wl_proxy* source, const char* type, std::int32_t fd) {
        WaylandFlavourSender::send(static_cast<Connection*>(data)->sources[source], type, fd);
    }
    static void cancelled(void* data, wl_proxy* source) {
        auto* self = static_cast<Connection*>(data);
        self->sources.erase(source);
        destroyProxy(source, ZWLR_DATA_CONTROL_SOURCE_V1_DESTROY);
    }
    struct SourceListener {
        void (*send)(void*, wl_proxy*, const char*, std::int32_t);
        void (*cancelled)(void*, wl_proxy*);
    };
    static constexpr SourceListener sourceListener{&send, &cancelled};

    // Reads the slot's offer, through one pipe per type the history uses.
    void read(Slot& slot) {
        abandonReads(slot);
        wl_proxy* offer = slot.offer;
        if (!offer)
            return;
        const std::vector<std::string>& types = offers[offer];
        // A secret's bytes are never fetched from its application.
        if (const auto marked = ClipFlavourMapping::markedSnapshot(types)) {
            store.capture(*marked);
            return;
        }
        for (const std::string& type : types) {
            if (!ClipFlavourMapping::isRead(type))
                continue;
            int pipe[2];
            if (::pipe2(pipe, O_CLOEXEC | O_NONBLOCK) != 0)
                continue;
            wl_proxy_marshal_flags(offer, ZWLR_DATA_CONTROL_OFFER_V1_RECEIVE, nullptr, wl_proxy_get_version(offer), 0,
                                   type.c_str(), pipe[1]);
            ::close(pipe[1]);
            auto read = std::make_unique<Read>();
            read->type = type;
            read->fd = pipe[0];
            read->notifier = std::make_unique<QSocketNotifier>(pipe[0], QSocketNotifier::Read);
            QObject::connect(read->notifier.get(), &QSocketNotifier::activated,
                             [this, &slot, raw = read.get()] { readMore(slot, raw); });
            slot.reads.push_back(std::move(read));
        }
        flush();
        if (slot.reads.empty()) {
            // Nothing the history can use, but a change all the same: the store says why it skips.
            store.capture(ClipFlavourMapping::snapshot({}, types));
            return;
        }
        slot.readTimer.start(readTimeoutMs);
    }

    void readMore(Slot& slot, Read* read) {
        char buffer[65536];
        for (;;) {
            const ssize_t count = ::read(read->fd, buffer, sizeof buffer);
            if (count > 0) {
                if (read->data.size() < readLimit)
                    read->data.append(buffer, static_cast<std::size_t>(count));
                continue;
            }
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0 && errno == EAGAIN)
                return;
            break; // the end, or an error: what was read stands
        }
        read->notifier->setEnabled(false);
        ::close(read->fd);
        read->fd = -1;
        if (std::ranges::all_of(slot.reads, [](const auto& each) { return each->fd < 0; }))
            readsDone(slot);
    }

    void readsDone(Slot& slot) {
        slot.readTimer.stop();
        ClipFlavours flavours;
        for (auto& read : slot.reads)
            flavours.push_back({read->type, std::move(read->data)});
        slot.reads.clear();
        const brind::ClipSnapshot snapshot = ClipFlavourMapping::snapshot(flavours, offers[slot.offer]);
        store.capture(snapshot);
    }
};

WaylandClipboardWatcher::WaylandClipboardWatcher(ClipboardStore&, std::unique_ptr<Connection> connection)
    : connection(std::move(connection)) {}

WaylandClipboardWatcher::~WaylandClipboardWatcher() = default;

std::expected<std::unique_ptr<WaylandClipboardWatcher>, std::string> WaylandClipboardWatcher::connect(ClipboardStore& store,
                                                                                                     bool watchPrimary) {
    auto connection = std::make_unique<Connection>(store);
    connection->watchPrimary = watchPrimary;
    connection->display = wl_display_connect(nullptr);
    if (!connection->display)
        return std::unexpected("no Wayland display to connect to");
    connection->registry = wl_display_get_registry(connection->display);
    wl_registry_add_listener(connection->registry, &Connection::registryListener, connection.get());
    if (wl_display_roundtrip(connection->display) < 0)
        return std::unexpected("the Wayland display did not answer");
    if (!connection->manager)
        return std::unexpected("the compositor offers no data control (ext_data_control_manager_v1 or "
                               "zwlr_data_control_manager_v1)");
    if (!connection->seat)
        return std::unexpected("the compositor offers no seat");
    connection->device = wl_proxy_marshal_flags(connection->manager, ZWLR_DATA_CONTROL_MANAGER_V1_GET_DATA_DEVICE,
                                                connection->interfaces.device, wl_proxy_get_version(connection->manager),
                                                0, nullptr, connection->seat);
    wl_proxy_add_listener(connection->device,
                          reinterpret_cast<void (**)(void)>(const_cast<Connection::DeviceListener*>(&Connection::deviceListener)),
                          connection.get());
    // A compositor that ends the connection ends the watching too: the pump stops by itself.
    connection->pump = std::make_unique<WaylandEventPump>(connection->display, [] {});
    // The current selection arrives with the device; it is read like any later one.
    wl_display_roundtrip(connection->display);
    return std::unique_ptr<WaylandClipboardWatcher>(new WaylandClipboardWatcher(store, std::move(connection)));
}

void WaylandClipboardWatcher::setWatchPrimary(bool watch) {
    connection->watchPrimary = watch;
    if (!watch)
        connection->replace(connection->primary, nullptr);
}

void WaylandClipboardWatcher::write(const ClipFlavours& flavours) {
    Connection& c = *connection;
    if (!c.device)
        return;
    wl_proxy* source = wl_proxy_marshal_flags(c.manager, ZWLR_DATA_CONTROL_MANAGER_V1_CREATE_DATA_SOURCE,
                                              c.interfaces.source, wl_proxy_get_version(c.manager), 0, nullptr);
    wl_proxy_add_listener(source,
                          reinterpret_cast<void (**)(void)>(const_cast<Connection::SourceListener*>(&Connection::sourceListener)),
                          &c);
    for (const ClipFlavour& flavour : flavours)
        wl_proxy_marshal_flags(source, ZWLR_DATA_CONTROL_SOURCE_V1_OFFER, nullptr, wl_proxy_get_version(source), 0,
                               flavour.mimeType.c_str());
    c.sources[source] = flavours;
    wl_proxy_marshal_flags(c.device, ZWLR_DATA_CONTROL_DEVICE_V1_SET_SELECTION, nullptr, wl_proxy_get_version(c.device), 0,
                           source);
    c.flush();
}

} // namespace vq
