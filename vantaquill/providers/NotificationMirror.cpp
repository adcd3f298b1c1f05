#include "vantaquill/providers/NotificationMirror.hpp"

#include "BrindKit/foundation/Paths.hpp"

#include <dbus/dbus.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

namespace vq {

namespace {

constexpr const char* serverInterface = "org.freedesktop.Notifications";
constexpr const char* notifySignature = "susssasa{sv}i";
// Every call of Notify, whoever sends it and whichever server takes it; nothing else on the bus.
constexpr const char* notifyRule = "type='method_call',interface='org.freedesktop.Notifications',member='Notify'";
// An icon bigger than this is not an icon; the island leaves it to the desktop.
constexpr std::uintmax_t largestImage = 1024 * 1024;
constexpr int becomeMonitorTimeoutMs = 5000;

std::optional<std::string> readImage(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error) || std::filesystem::file_size(path, error) > largestImage || error)
        return std::nullopt;
    std::ifstream file(path, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!file.good() && !file.eof())
        return std::nullopt;
    return bytes;
}

std::string stringAt(DBusMessageIter* iter) {
    const char* text = nullptr;
    dbus_message_iter_get_basic(iter, &text);
    return text ? text : "";
}

// Urgency is a byte by the notification protocol; some senders write an integer instead.
std::optional<std::uint8_t> urgencyIn(DBusMessageIter* variant) {
    switch (dbus_message_iter_get_arg_type(variant)) {
    case DBUS_TYPE_BYTE: {
        unsigned char value = 0;
        dbus_message_iter_get_basic(variant, &value);
        return value;
    }
    case DBUS_TYPE_INT32:
    case DBUS_TYPE_UINT32: {
        dbus_uint32_t value = 0;
        dbus_message_iter_get_basic(variant, &value);
        return static_cast<std::uint8_t>(std::min<dbus_uint32_t>(value, 2));
    }
    default:
        return std::nullopt;
    }
}

void readHints(DBusMessageIter* array, MirroredNotification& notification) {
    DBusMessageIter entry;
    dbus_message_iter_recurse(array, &entry);
    for (; dbus_message_iter_get_arg_type(&entry) == DBUS_TYPE_DICT_ENTRY; dbus_message_iter_next(&entry)) {
        DBusMessageIter pair, variant;
        dbus_message_iter_recurse(&entry, &pair);
        const std::string key = stringAt(&pair);
        dbus_message_iter_next(&pair);
        dbus_message_iter_recurse(&pair, &variant);
        const bool text = dbus_message_iter_get_arg_type(&variant) == DBUS_TYPE_STRING;
        if (key == "urgency") {
            if (const auto urgency = urgencyIn(&variant))
                notification.urgency = *urgency;
        } else if ((key == "image-path" || key == "image_path") && text) {
            notification.imagePath = stringAt(&variant);
        } else if (key == "desktop-entry" && text) {
            notification.desktopEntry = stringAt(&variant);
        }
    }
}

} // namespace

/// The main thread's side, kept alive by what the bus thread posted; cleared by `stop`.
struct NotificationMirror::Shared {
    LiveActivityCenter* center = nullptr;
};

NotificationMirror::NotificationMirror(MainThread mainThread, Log log)
    : mainThread_(std::move(mainThread)), log_(std::move(log)) {}

NotificationMirror::~NotificationMirror() {
    stop();
}

std::expected<MirroredNotification, std::string> NotificationMirror::read(DBusMessage* message) {
    if (!message || !dbus_message_is_method_call(message, serverInterface, "Notify"))
        return std::unexpected("not a call of Notify");
    if (!dbus_message_has_signature(message, notifySignature))
        return std::unexpected(std::string("Notify with arguments (") + dbus_message_get_signature(message) +
                               "), not (" + notifySignature + ")");
    MirroredNotification notification;
    DBusMessageIter args;
    dbus_message_iter_init(message, &args);
    notification.appName = stringAt(&args);
    dbus_message_iter_next(&args); // replaces_id: the island keeps one activity per application anyway
    dbus_message_iter_next(&args);
    notification.appIcon = stringAt(&args);
    dbus_message_iter_next(&args);
    notification.summary = stringAt(&args);
    dbus_message_iter_next(&args);
    notification.body = stringAt(&args);
    dbus_message_iter_next(&args); // actions: the desktop's notification answers them
    dbus_message_iter_next(&args);
    readHints(&args, notification);
    dbus_message_iter_next(&args);
    dbus_int32_t timeout = -1;
    dbus_message_iter_get_basic(&args, &timeout);
    notification.expireTimeout = timeout;
    return notification;
}

void NotificationMirror::start(LiveActivityCenter& center) {
    const auto address = brind::Paths::sessionBusAddress();
    if (!address) {
        log_("vantaquill: notifications are not mirrored: there is no session bus to watch");
        return;
    }
    // Without a way to wake the bus thread it could never be stopped; better not to start it.
    wake_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wake_ < 0) {
        log_(std::string("vantaquill: notifications are not mirrored: ") + std::strerror(errno));
        return;
    }
    shared_ = std::make_shared<Shared>();
    shared_->center = &center;
    thread_ = std::thread(&NotificationMirror::watch, this, shared_, *address, wake_);
}

void NotificationMirror::stop() {
    if (shared_)
        shared_->center = nullptr;
    shared_.reset();
    if (wake_ >= 0) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = ::write(wake_, &one, sizeof one);
    }
    if (thread_.joinable())
        thread_.join();
    if (wake_ >= 0)
        ::close(wake_);
    wake_ = -1;
}

void NotificationMirror::later(const std::shared_ptr<Shared>& shared, std::function<void(LiveActivityCenter&)> work) {
    mainThread_([shared, work = std::move(work)] {
        if (shared->center)
            work(*shared->center);
    });
}

void NotificationMirror::watch(std::shared_ptr<Shared> shared, std::string address, int wake) {
    const auto fail = [&](const std::string& why) {
        later(shared, [log = log_, why](LiveActivityCenter&) { log("vantaquill: notifications are not mirrored: " + why); });
    };
    DBusError error;
    dbus_error_init(&error);
    DBusConnection* connection = dbus_connection_open_private(address.c_str(), &error);
    if (!connection) {
        fail(std::string("the session bus does not answer (") + error.message + ")");
        dbus_error_free(&error);
        return;
    }
    dbus_connection_set_exit_on_disconnect(connection, FALSE);
    const auto close = [connection] {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    };
    if (!dbus_bus_register(connection, &error)) {
        fail(std::string("the session bus does not answer (") + error.message + ")");
        dbus_error_free(&error);
        close();
        return;
    }
    DBusMessage* call = dbus_message_new_method_call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                     "org.freedesktop.DBus.Monitoring", "BecomeMonitor");
    DBusMessageIter args, rules;
    dbus_message_iter_init_append(call, &args);
    dbus_message_iter_open_container(&args, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING_AS_STRING, &rules);
    dbus_message_iter_append_basic(&rules, DBUS_TYPE_STRING, &notifyRule);
    dbus_message_iter_close_container(&args, &rules);
    const dbus_uint32_t flags = 0;
    dbus_message_iter_append_basic(&args, DBUS_TYPE_UINT32, &flags);
    DBusMessage* reply = dbus_connection_send_with_reply_and_block(connection, call, becomeMonitorTimeoutMs, &error);
    dbus_message_unref(call);
    if (!reply) {
        fail(std::string("the session bus does not let the island watch them (") + error.message + ")");
        dbus_error_free(&error);
        close();
        return;
    }
    dbus_message_unref(reply);

    int socket = -1;
    dbus_connection_get_unix_fd(connection, &socket);
    while (true) {
        while (DBusMessage* message = dbus_connection_pop_message(connection)) {
            // The bus's own greetings (NameAcquired, NameLost) come this way too and are passed over.
            if (auto notification = read(message)) {
                auto activity = notification->activity(brind::Date::now(), readImage);
                later(shared, [activity = std::move(activity)](LiveActivityCenter& center) mutable {
                    center.post(std::move(activity));
                });
            }
            dbus_message_unref(message);
        }
        if (!dbus_connection_get_is_connected(connection)) {
            fail("the session bus went away");
            break;
        }
        pollfd waiting[2] = {{socket, POLLIN, 0}, {wake, POLLIN, 0}};
        if (::poll(waiting, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            break;
        }
        if (waiting[1].revents != 0)
            break;
        dbus_connection_read_write(connection, 0);
    }
    close();
}

} // namespace vq
