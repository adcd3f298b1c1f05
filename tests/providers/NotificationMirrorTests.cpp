#include "vantaquill/providers/MirroredNotification.hpp"
#include "vantaquill/providers/NotificationMirror.hpp"
#include "vantaquill/providers/ScreenShareWatcher.hpp"

#include <dbus/dbus.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace vq {
namespace {

// What notify-send writes is read in the end-to-end tests; here, what a misbehaving sender writes.
TEST(NotificationMirror, RefusesCallsItCannotRead) {
    const auto call = [](const char* member) {
        return std::unique_ptr<DBusMessage, decltype(&dbus_message_unref)>(
            dbus_message_new_method_call("org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                                         "org.freedesktop.Notifications", member),
            &dbus_message_unref);
    };
    EXPECT_FALSE(NotificationMirror::read(call("CloseNotification").get()));
    const auto notify = call("Notify");
    const char* only = "just a summary";
    dbus_message_append_args(notify.get(), DBUS_TYPE_STRING, &only, DBUS_TYPE_INVALID);
    const auto refused = NotificationMirror::read(notify.get());
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error(), "Notify with arguments (s), not (susssasa{sv}i)");
}

TEST(MirroredNotification, BecomesOneAlertingActivityPerApplication) {
    const brind::Date now{1'000'000};
    const auto noImage = [](const std::string&) -> std::optional<std::string> { return std::nullopt; };
    struct Case {
        MirroredNotification notification;
        std::string id;
        brind::ActivityPriority priority;
        std::string title;
        std::optional<std::string> subtitle;
        brind::ActivityGlyph leading;
        double seconds;
    };
    const Case cases[] = {
        {{.appName = "Thunderbird Mail", .appIcon = "mail-unread", .summary = "Ada", .body = "<b>Lunch</b> &amp; tea?\n\n Yes"},
         "notifications.thunderbird-mail", brind::ActivityPriority::normal, "Ada", "Lunch & tea? Yes",
         brind::ActivityGlyph::symbol("mail-unread"), MirroredNotification::usualSeconds},
        {{.appName = "", .summary = "", .urgency = 0, .desktopEntry = "org.example.Clock", .expireTimeout = 2500},
         "notifications.unnamed", brind::ActivityPriority::ambient, "Notification", std::nullopt,
         brind::ActivityGlyph::appIcon("org.example.Clock"), 2.5},
        {{.appName = "Power", .summary = "Battery low", .urgency = 2, .expireTimeout = 600000},
         "notifications.power", brind::ActivityPriority::critical, "Battery low", std::nullopt,
         brind::ActivityGlyph::symbol("dialog-information"), MirroredNotification::longestSeconds},
        {{.appName = "Power", .summary = "Battery low", .urgency = 2, .expireTimeout = 0},
         "notifications.power", brind::ActivityPriority::critical, "Battery low", std::nullopt,
         brind::ActivityGlyph::symbol("dialog-information"), MirroredNotification::criticalSeconds},
    };
    for (const Case& c : cases) {
        const auto activity = c.notification.activity(now, noImage);
        EXPECT_EQ(activity.id, c.id);
        EXPECT_EQ(activity.source, "notifications");
        EXPECT_EQ(activity.priority, c.priority) << c.id;
        EXPECT_EQ(activity.title, c.title);
        EXPECT_EQ(activity.subtitle, c.subtitle);
        EXPECT_EQ(activity.leading, c.leading) << c.id;
        EXPECT_EQ(activity.expiresAt, now + c.seconds) << c.id;
        EXPECT_TRUE(activity.alert);
        EXPECT_EQ(activity.trailing.isNone(), c.notification.appName.empty());
    }

    // An image path (hint, file URI or path as the icon) is read for the leading slot; one that
    // cannot be read falls back to the icon name.
    const auto image = [](const std::string& path) -> std::optional<std::string> {
        return path == "/icons/ada.png" ? std::optional<std::string>("PNG") : std::nullopt;
    };
    EXPECT_EQ((MirroredNotification{.appIcon = "file:///icons/ada.png"}.activity(now, image).leading),
              brind::ActivityGlyph::image("PNG"));
    EXPECT_EQ((MirroredNotification{.appIcon = "mail", .imagePath = "/icons/ada.png"}.activity(now, image).leading),
              brind::ActivityGlyph::image("PNG"));
    EXPECT_EQ((MirroredNotification{.appIcon = "mail", .imagePath = "/icons/gone.png"}.activity(now, image).leading),
              brind::ActivityGlyph::symbol("mail"));
    EXPECT_EQ(MirroredNotification::plainBody("a < b &lt;c&gt; <a href=\"x\">link</a>&unknown;"),
              "a < b <c> link &unknown;");
}

TEST(ScreenShareWatcher, CountsProgramVideoSourcesButNotCameras) {
    using Properties = std::map<std::string, std::string, std::less<>>;
    const std::pair<Properties, bool> cases[] = {
        {{{"media.class", "Video/Source"}, {"node.name", "xdpw_stream"}}, true},
        {{{"media.class", "Stream/Output/Video"}, {"node.name", "gnome-shell-screencast"}}, true},
        {{{"media.class", "Video/Source"}, {"device.id", "41"}, {"node.name", "v4l2_input.pci-0000_00_14.0"}}, false},
        {{{"media.class", "Video/Source"}, {"media.role", "Camera"}}, false},
        {{{"media.class", "Stream/Input/Video"}, {"node.name", "obs"}}, false},
        {{{"media.class", "Audio/Source"}}, false},
        {{}, false},
    };
    for (const auto& [properties, capture] : cases)
        EXPECT_EQ(ScreenShareWatcher::isScreenCapture(properties), capture)
            << (properties.empty() ? std::string("(none)") : properties.begin()->second);
}

} // namespace
} // namespace vq
