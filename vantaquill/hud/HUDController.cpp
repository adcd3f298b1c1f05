#include "vantaquill/hud/HUDController.hpp"

#include <utility>

namespace vq {

using brind::HUDEvent;
using brind::HUDKey;
using brind::HUDStepFailure;
using Outcome = std::expected<HUDEvent, HUDStepFailure>;
namespace Rules = brind::HUDKeyRules;

namespace {

HUDEvent levelEvent(HUDEvent::Kind kind, double level) {
    return HUDEvent::make(kind, level, false, std::nullopt, std::nullopt, std::nullopt);
}

} // namespace

HUDController::HUDController(LiveActivityCenter& center, Scheduler& scheduler, Devices devices)
    : center_(center), scheduler_(scheduler), devices_(devices) {}

bool HUDController::handle(HUDKey key, Rules::KeyState state, Rules::Modifiers modifiers) {
    Rules::Conditions conditions{.enabled = switches_.enabled,
                                 .volume = switches_.volume,
                                 .brightness = switches_.brightness,
                                 .keyboard = switches_.keyboard};
    // Only the device the key is for is asked: reading the output is a round trip to the sound server.
    switch (brind::hudKind(key)) {
    case HUDEvent::Kind::volume:
        conditions.outputSettable = devices_.volume.read().has_value();
        break;
    case HUDEvent::Kind::brightness:
        conditions.displayReadable = devices_.display.available();
        break;
    case HUDEvent::Kind::keyboardBacklight:
        conditions.keyboardAvailable = devices_.keyboard.available();
        break;
    case HUDEvent::Kind::custom:
        break;
    }
    const auto decision = Rules::decide(key, state, modifiers, conditions);
    switch (decision.action) {
    case Rules::Decision::Action::pass:
        return false;
    case Rules::Decision::Action::swallow:
        return true;
    case Rules::Decision::Action::perform:
        (void)press(key, decision.grid);
        return true;
    }
    std::unreachable();
}

Outcome HUDController::press(HUDKey key, brind::HUDSteps::Grid grid) {
    auto outcome = [&] {
        switch (brind::hudKind(key)) {
        case HUDEvent::Kind::volume:
            return volumeKey(key, grid);
        case HUDEvent::Kind::brightness:
            return brightnessKey(key, grid);
        case HUDEvent::Kind::keyboardBacklight:
        case HUDEvent::Kind::custom:
            return backlightKey(key, grid);
        }
        std::unreachable();
    }();
    if (outcome && switchedOn(outcome->kind))
        center_.flash(*outcome);
    return outcome;
}

Outcome HUDController::volumeKey(HUDKey key, brind::HUDSteps::Grid grid) {
    const auto output = devices_.volume.read();
    if (!output)
        return std::unexpected(HUDStepFailure{output.error()});
    recordOwnChange(HUDEvent::Kind::volume);
    const auto level = Rules::volumeAfter(output->level, key, grid);
    if (auto written = devices_.volume.write(*output, level); !written)
        return std::unexpected(HUDStepFailure{written.error()});
    if (key != HUDKey::mute && onVolumeStep)
        onVolumeStep();
    return Rules::volumeEvent(level, output->label);
}

Outcome HUDController::brightnessKey(HUDKey key, brind::HUDSteps::Grid grid) {
    const auto current = devices_.display.level();
    if (!current)
        return std::unexpected(HUDStepFailure{"There is no backlight whose brightness can be read."});
    recordOwnChange(HUDEvent::Kind::brightness);
    const auto written = devices_.display.setLevel(Rules::levelAfter(current, key, grid));
    if (!written)
        return std::unexpected(HUDStepFailure{"Couldn't set the brightness: " + written.error()});
    return levelEvent(HUDEvent::Kind::brightness, *written);
}

Outcome HUDController::backlightKey(HUDKey key, brind::HUDSteps::Grid grid) {
    if (!devices_.keyboard.available())
        return std::unexpected(HUDStepFailure{"There is no keyboard light."});
    recordOwnChange(HUDEvent::Kind::keyboardBacklight);
    const auto written = devices_.keyboard.setBrightness(Rules::levelAfter(devices_.keyboard.brightness(), key, grid));
    if (!written)
        return std::unexpected(HUDStepFailure{"Couldn't set the keyboard light: " + written.error()});
    return levelEvent(HUDEvent::Kind::keyboardBacklight, *written);
}

bool HUDController::switchedOn(HUDEvent::Kind kind) const {
    if (!switches_.enabled)
        return false;
    switch (kind) {
    case HUDEvent::Kind::volume:
        return switches_.volume;
    case HUDEvent::Kind::brightness:
        return switches_.brightness;
    case HUDEvent::Kind::keyboardBacklight:
        return switches_.keyboard;
    case HUDEvent::Kind::custom:
        return true;
    }
    std::unreachable();
}

bool HUDController::flashesChangeElsewhere(HUDEvent::Kind kind) const {
    return switchedOn(kind) && Rules::flashesChangeElsewhere(ownChange(kind), scheduler_.now());
}

void HUDController::changedElsewhere(HUDEvent::Kind kind, double level) {
    if (flashesChangeElsewhere(kind))
        center_.flash(levelEvent(kind, level));
}

void HUDController::recordOwnChange(HUDEvent::Kind kind) {
    ownChanges_.insert_or_assign(kind, scheduler_.now());
}

std::optional<brind::Date> HUDController::ownChange(HUDEvent::Kind kind) const {
    const auto found = ownChanges_.find(kind);
    if (found == ownChanges_.end())
        return std::nullopt;
    return found->second;
}

} // namespace vq
