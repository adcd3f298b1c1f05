#include "vantaquill/providers/MirroredNotification.hpp"
#include "vantaquill/providers/NotificationMirror.hpp"
#include "vantaquill/providers/ScreenShareWatcher.hpp"

#include <dbus/dbus.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vq {
namespace {

using Message = std::unique_ptr<DBusMessage, decltype(&dbus_message_unref)>;

struct Hint {
    const char* key;
    int type; // DBUS_TYPE_STRING, DBUS_TYPE_BYTE or DBUS_TYPE_UINT32
    std::string text;
    std::uint32_t number = 0;
};

// A Notify call as libnotify writes it.
Message notifyCall(const std::string& appName, const std::string& icon, const std::string& summary,
                   const std::string& body, const std::vector<Hint>& hints, std::int32_t timeout,
                   const char* member = "Notify") {
    Message message(dbus_message_new_method_call("org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                                                 "org.freedesktop.Notifications", member),
                    &dbus_message_unref);
    DBusMessageIter args, array, entry, variant;
    dbus_message_iter_init_append(message.get(), &args);
    const auto text = [](DBusMessageIter* iter, const std::string& value) {
        const char* raw = value.c_str();
        dbus_message_iter_append_basic(iter, DBUS_TYPE_STRING, &raw);
    };
    text(&args, appName);
    const dbus_uint32_t replaces = 0;
    dbus_message_iter_append_basic(&args, DBUS_TYPE_UINT32, &replaces);
    text(&args, icon);
    text(&args, summary);
    text(&args, body);
    dbus_message_iter_open_container(&args, DBUS_TYPE_ARRAY, "s", &array);
    dbus_message_iter_close_container(&args, &array);
    dbus_message_iter_open_container(&args, DBUS_TYPE_ARRAY, "{sv}", &array);
    for (const Hint& hint : hints) {
        dbus_message_iter_open_container(&array, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
        text(&entry, hint.key);
        const char signature[2] = {static_cast<char>(hint.type), '\0'};
        dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, signature, &variant);
        if (hint.type == DBUS_TYPE_STRING) {
            text(&variant, hint.text);
        } else if (hint.type == DBUS_TYPE_BYTE) {
            const unsigned char byte = static_cast<unsigned char>(hint.number);
            dbus_message_iter_append_basic(&variant, DBUS_TYPE_BYTE, &byte);
        } else {
            const dbus_uint32_t number = hint.number;
            dbus_message_iter_append_basic(&variant, DBUS_TYPE_UINT32, &number);
        }
        dbus_message_iter_close_container(&entry, &variant);
        dbus_message_iter_close_container(&array, &entry);
    }
    dbus_message_iter_close_container(&args, &array);
    const dbus_int32_t expires = timeout;
    dbus_message_iter_append_basic(&args, DBUS_TYPE_INT32, &expires);
    return message;
}

TEST(NotificationMirror, ReadsTheNotifyCallAndItsHints) {
    const auto call = notifyCall("Mail", "mail-unread", "3 new messages", "From <b>Ada</b>",
                                 {{"urgency", DBUS_TYPE_BYTE, {}, 2},
                                  {"desktop-entry", DBUS_TYPE_STRING, "org.example.Mail"},
                                  {"image-path", DBUS_TYPE_STRING, "/tmp/avatar.png"},
                                  {"category", DBUS_TYPE_STRING, "email.arrived"}},
                                 5000);
    const auto read = NotificationMirror::read(call.get());
    ASSERT_TRUE(read) << read.error();
    EXPECT_EQ(*read, (MirroredNotification{.appName = "Mail",
                                           .appIcon = "mail-unread",
                                           .summary = "3 new messages",
                                           .body = "From <b>Ada</b>",
                                           .urgency = 2,
                                           .imagePath = "/tmp/avatar.png",
                                           .desktopEntry = "org.example.Mail",
                                           .expireTimeout = 5000}));

    // Some senders write the urgency as a 32-bit number.
    const auto wide = NotificationMirror::read(notifyCall("a", "", "s", "", {{"urgency", DBUS_TYPE_UINT32, {}, 0}}, -1).get());
    ASSERT_TRUE(wide);
    EXPECT_EQ(wide->urgency, 0);

    EXPECT_FALSE(NotificationMirror::read(notifyCall("a", "", "s", "", {}, -1, "CloseNotification").get()));
    Message wrongArguments(dbus_message_new_method_call("org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                                                        "org.freedesktop.Notifications", "Notify"),
                           &dbus_message_unref);
    const auto refused = NotificationMirror::read(wrongArguments.get());
    ASSERT_FALSE(refused);
    EXPECT_NE(refused.error().find("susssasa{sv}i"), std::string::npos) << refused.error();
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
