#include "BrindKit/island/HUDKeyRules.hpp"

#include "BrindKit/foundation/UnitInterval.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace brind::HUDKeyRules {

namespace {

/// Where a keyboard light that was off comes back on.
constexpr double toggledOnLevel = 0.5;
/// The level assumed when the device does not say.
constexpr double unknownLevel = 0.5;

HUDSteps::Direction directionOf(HUDKey key) {
    switch (key) {
    case HUDKey::soundUp:
    case HUDKey::brightnessUp:
    case HUDKey::illuminationUp:
        return HUDSteps::Direction::up;
    case HUDKey::soundDown:
    case HUDKey::mute:
    case HUDKey::brightnessDown:
    case HUDKey::illuminationDown:
    case HUDKey::illuminationToggle:
        return HUDSteps::Direction::down;
    }
    std::unreachable();
}

} // namespace

std::optional<HUDSteps::Grid> grid(Modifiers modifiers) {
    if (modifiers.control)
        return std::nullopt;
    if (modifiers.shift) {
        if (modifiers.command)
            return std::nullopt;
        return modifiers.option ? HUDSteps::Grid::fine : HUDSteps::Grid::coarse;
    }
    if (modifiers.option || modifiers.command)
        return std::nullopt;
    return HUDSteps::Grid::coarse;
}

bool handles(HUDKey key, const Conditions& conditions) {
    switch (hudKind(key)) {
    case HUDEvent::Kind::volume:
        return conditions.volume && conditions.outputSettable;
    case HUDEvent::Kind::brightness:
        return conditions.brightness && conditions.displayReadable;
    case HUDEvent::Kind::keyboardBacklight:
        return conditions.keyboard && conditions.keyboardAvailable;
    case HUDEvent::Kind::custom:
        return false;
    }
    std::unreachable();
}

Decision decide(HUDKey key, KeyState state, Modifiers modifiers, const Conditions& conditions) {
    if (!conditions.enabled)
        return {};
    const auto chosen = grid(modifiers);
    if (!chosen || !handles(key, conditions))
        return {};
    switch (state) {
    case KeyState::up:
        return {Decision::Action::swallow, *chosen};
    case KeyState::down:
        return {Decision::Action::perform, *chosen};
    }
    std::unreachable();
}

OutputLevel volumeAfter(OutputLevel current, HUDKey key, HUDSteps::Grid grid) {
    if (key == HUDKey::mute)
        return {current.level, !current.muted};
    const double level = HUDSteps::step(current.level, directionOf(key), grid);
    return {level, current.muted && level <= 0};
}

double levelAfter(std::optional<double> current, HUDKey key, HUDSteps::Grid grid) {
    const double level = current.value_or(unknownLevel);
    switch (key) {
    case HUDKey::soundUp:
    case HUDKey::soundDown:
    case HUDKey::mute:
        return level;
    case HUDKey::illuminationToggle:
        return level > 0 ? 0 : toggledOnLevel;
    case HUDKey::brightnessUp:
    case HUDKey::brightnessDown:
    case HUDKey::illuminationUp:
    case HUDKey::illuminationDown:
        return UnitInterval::clamp(HUDSteps::step(level, directionOf(key), grid));
    }
    std::unreachable();
}

int rawLevel(double level, int current, int maximum) {
    if (maximum <= 0)
        return 0;
    const double wanted = UnitInterval::clamp(level) * maximum;
    int raw = static_cast<int>(std::lround(wanted));
    if (wanted > current && raw <= current)
        raw = current + 1;
    if (wanted < current && raw >= current)
        raw = current - 1;
    return std::clamp(raw, 0, maximum);
}

HUDEvent volumeEvent(OutputLevel output, std::optional<std::string> label) {
    return HUDEvent::make(HUDEvent::Kind::volume, output.level, output.muted || output.level <= 0, std::nullopt,
                          std::move(label), std::nullopt);
}

bool flashesChangeElsewhere(std::optional<Date> ownChange, Date now) {
    return !ownChange || now - *ownChange > ownChangeWindow;
}

} // namespace brind::HUDKeyRules
