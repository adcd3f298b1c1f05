#include "vantaquill/hud/KeyboardBacklight.hpp"

#include "vantaquill/hud/SessionBrightness.hpp"

#include "BrindKit/island/HUDKeyRules.hpp"

#include <QDBusConnection>
#include <QDBusMessage>

#include <algorithm>

namespace vq {

namespace {

const QString service = "org.freedesktop.UPower";
const QString path = "/org/freedesktop/UPower/KbdBacklight";
const QString interface = "org.freedesktop.UPower.KbdBacklight";
constexpr const char* hardwareChangeFile = "brightness_hw_changed";

std::expected<int, std::string> callUPower(const QString& method, const QVariantList& arguments = {}) {
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, method);
    call.setArguments(arguments);
    const QDBusMessage reply =
        QDBusConnection::systemBus().call(call, QDBus::Block, KeyboardBacklight::callTimeoutMilliseconds);
    if (reply.type() == QDBusMessage::ErrorMessage)
        return std::unexpected(reply.errorMessage().toStdString());
    if (reply.arguments().isEmpty())
        return 0;
    return reply.arguments().front().toInt();
}

} // namespace

KeyboardBacklight::KeyboardBacklight(std::filesystem::path classRoot, Changed changedElsewhere, Log log)
    : changedElsewhere_(std::move(changedElsewhere)) {
    if (const auto maximum = callUPower("GetMaxBrightness"); maximum && *maximum > 0) {
        upowerMaximum_ = *maximum;
        lastSeen_ = brightness();
        QDBusConnection::systemBus().connect(service, path, interface, "BrightnessChanged", &signal_,
                                             SLOT(relayBrightnessChanged(int)));
        QObject::connect(&signal_, &KeyboardLightSignal::brightnessChanged, [this](int value) {
            reported(std::clamp(static_cast<double>(value) / upowerMaximum_, 0.0, 1.0));
        });
        return;
    }
    const auto found = SysfsBrightness::keyboardLights(classRoot);
    if (found.empty()) {
        log("vantaquill: no keyboard light (neither UPower's KbdBacklight nor a kbd_backlight LED in " +
            (classRoot / "leds").string() + "), so the keyboard-light keys are left to the desktop");
        return;
    }
    led_ = found.front();
    lastSeen_ = brightness();
    // Only LEDs whose firmware changes them by itself have the file; others change only when written.
    const auto hardwareChanges = led_->folder / hardwareChangeFile;
    if (!std::filesystem::exists(hardwareChanges))
        return;
    watcher_.addPath(QString::fromStdString(hardwareChanges.string()));
    QObject::connect(&watcher_, &QFileSystemWatcher::fileChanged, [this] {
        if (const auto level = led_->level(hardwareChangeFile))
            reported(*level);
    });
}

std::optional<double> KeyboardBacklight::brightness() const {
    if (upowerMaximum_ > 0) {
        const auto value = callUPower("GetBrightness");
        if (!value)
            return std::nullopt;
        return std::clamp(static_cast<double>(*value) / upowerMaximum_, 0.0, 1.0);
    }
    if (led_)
        return led_->level();
    return std::nullopt;
}

std::expected<double, std::string> KeyboardBacklight::setBrightness(double level) {
    if (upowerMaximum_ > 0) {
        const auto current = callUPower("GetBrightness");
        if (!current)
            return std::unexpected(current.error());
        const int value = brind::HUDKeyRules::rawLevel(level, *current, upowerMaximum_);
        if (const auto done = callUPower("SetBrightness", {value}); !done)
            return std::unexpected(done.error());
        return static_cast<double>(value) / upowerMaximum_;
    }
    const auto maximum = led_ ? led_->maximum() : std::nullopt;
    const auto current = led_ ? led_->value() : std::nullopt;
    if (!maximum || !current)
        return std::unexpected("there is no keyboard light");
    const int value = brind::HUDKeyRules::rawLevel(level, *current, *maximum);
    if (auto set = SessionBrightness::set("leds", led_->name(), value); !set)
        return std::unexpected(set.error());
    return static_cast<double>(value) / *maximum;
}

void KeyboardBacklight::reported(double level) {
    if (level == lastSeen_)
        return;
    lastSeen_ = level;
    changedElsewhere_(level);
}

} // namespace vq
