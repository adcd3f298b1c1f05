#include "BrindKit/island/HUDEvent.hpp"

#include "BrindKit/foundation/EnumTable.hpp"
#include "BrindKit/foundation/UnitInterval.hpp"

#include <utility>

namespace brind {

namespace {

constexpr double quietVolume = 0.34;
constexpr double mediumVolume = 0.67;
constexpr double brightLevel = 0.5;

} // namespace

HUDEvent HUDEvent::make(Kind kind, std::optional<double> value, bool muted, std::optional<std::string> symbol,
                        std::optional<std::string> label, std::optional<RGBA> tint) {
    if (value)
        value = UnitInterval::clamp(*value);
    return HUDEvent{kind, value, muted, std::move(symbol), std::move(label), tint};
}

std::string HUDEvent::resolvedSymbol() const {
    if (symbol)
        return *symbol;
    const double level = value.value_or(0);
    switch (kind) {
    case Kind::volume:
        if (muted || level <= 0)
            return "speaker.slash.fill";
        if (level < quietVolume)
            return "speaker.wave.1.fill";
        if (level < mediumVolume)
            return "speaker.wave.2.fill";
        return "speaker.wave.3.fill";
    case Kind::brightness:
        return level < brightLevel ? "sun.min.fill" : "sun.max.fill";
    case Kind::keyboardBacklight:
        return level <= 0 ? "light.min" : "light.max";
    case Kind::custom:
        return "info.circle.fill";
    }
    std::unreachable();
}

namespace {

constexpr auto kindRows = std::to_array<EnumTable::NameRow<HUDEvent::Kind>>({
    {HUDEvent::Kind::volume, "volume"},
    {HUDEvent::Kind::brightness, "brightness"},
    {HUDEvent::Kind::keyboardBacklight, "keyboardBacklight"},
    {HUDEvent::Kind::custom, "custom"},
});
static_assert(EnumTable::coversEveryCase(kindRows));

} // namespace

std::string_view name(HUDEvent::Kind kind) {
    return EnumTable::row(kindRows, kind).name;
}

std::optional<HUDEvent::Kind> hudEventKindNamed(std::string_view text) {
    return EnumTable::named(kindRows, text);
}

std::expected<HUDEvent, std::string> HUDEvent::fromJSON(const JSON& value) {
    if (!value.is_object())
        return std::unexpected(std::string("a HUD event must be a JSON object"));
    const auto kindText = JSONRead::string(value, "kind");
    if (!kindText)
        return std::unexpected(std::string("missing the string \"kind\""));
    const auto kind = hudEventKindNamed(*kindText);
    if (!kind)
        return std::unexpected("kind: unknown HUD kind " + *kindText);
    const auto muted = JSONRead::boolean(value, "muted");
    if (!muted)
        return std::unexpected(std::string("missing the boolean \"muted\""));

    auto tint = RGBA::fromJSONMember(value, "tint");
    if (!tint)
        return std::unexpected(tint.error());
    return HUDEvent{*kind,
                    JSONRead::number(value, "value"),
                    *muted,
                    JSONRead::string(value, "symbol"),
                    JSONRead::string(value, "label"),
                    *tint};
}

JSON HUDEvent::toJSON() const {
    JSON object = {{"kind", std::string(name(kind))}, {"muted", muted}};
    if (value)
        object["value"] = *value;
    if (symbol)
        object["symbol"] = *symbol;
    if (label)
        object["label"] = *label;
    if (tint)
        object["tint"] = tint->toJSON();
    return object;
}

} // namespace brind
