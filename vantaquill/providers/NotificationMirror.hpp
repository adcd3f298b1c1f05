#pragma once

#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/providers/MirroredNotification.hpp"

#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

struct DBusMessage;

namespace vq {

/// Mirrors the desktop's notifications into the island while switched on ("activities.notifications.
/// mirror", off unless the user asks). A notification is a method call from a program to the
/// notification server, not a broadcast, so the island watches for it as a bus monitor: a second
/// session-bus connection that asks the bus (`BecomeMonitor`) for a copy of every
/// `org.freedesktop.Notifications.Notify` call and may send nothing after that.
///
/// It is written on libdbus rather than QtDBus: QtDBus connections say Hello and keep sending
/// (match rules, name watches) on their own, which the bus answers by dropping a monitor, and a
/// raw socket would mean writing the wire format's authentication and unmarshalling by hand. The
/// connection lives on a thread of its own, so that connecting never blocks the island; each
/// notification reaches the main thread as a plain value, and its body is only ever held in
/// memory (the activity it becomes expires within a minute).
class NotificationMirror final : public LiveActivityCenter::Provider {
  public:
    static constexpr std::string_view providerID = MirroredNotification::source;
    using MainThread = std::function<void(std::function<void()>)>;
    using Log = std::function<void(const std::string&)>;

    NotificationMirror(MainThread mainThread, Log log);
    ~NotificationMirror() override;
    NotificationMirror(const NotificationMirror&) = delete;
    NotificationMirror& operator=(const NotificationMirror&) = delete;

    std::string id() const override { return std::string(providerID); }
    void start(LiveActivityCenter& center) override;
    void stop() override;

    /// The notification a Notify call carries; an error for any other message or one whose
    /// arguments are not (susssasa{sv}i).
    static std::expected<MirroredNotification, std::string> read(DBusMessage* message);

  private:
    struct Shared;
    void watch(std::shared_ptr<Shared> shared, std::string address, int wake);
    /// Runs on the main thread later (a line to log, an activity to post), unless stopped by then.
    void later(const std::shared_ptr<Shared>& shared, std::function<void(LiveActivityCenter&)> work);

    MainThread mainThread_;
    Log log_;
    std::shared_ptr<Shared> shared_;
    std::thread thread_;
    int wake_ = -1;
};

} // namespace vq
