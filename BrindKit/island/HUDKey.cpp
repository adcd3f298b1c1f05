#include "BrindKit/island/HUDKey.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

namespace brind {

namespace {

struct KeyRow {
    HUDKey value;
    HUDEvent::Kind kind;
    std::string_view step;
    std::string_view direction;
};

constexpr auto keyRows = std::to_array<KeyRow>({
    {HUDKey::soundUp, HUDEvent::Kind::volume, "volume", "up"},
    {HUDKey::soundDown, HUDEvent::Kind::volume, "volume", "down"},
    {HUDKey::mute, HUDEvent::Kind::volume, "volume", "mute"},
    {HUDKey::brightnessUp, HUDEvent::Kind::brightness, "brightness", "up"},
    {HUDKey::brightnessDown, HUDEvent::Kind::brightness, "brightness", "down"},
    {HUDKey::illuminationUp, HUDEvent::Kind::keyboardBacklight, "keyboard", "up"},
    {HUDKey::illuminationDown, HUDEvent::Kind::keyboardBacklight, "keyboard", "down"},
    {HUDKey::illuminationToggle, HUDEvent::Kind::keyboardBacklight, "keyboard", "toggle"},
});
static_assert(EnumTable::coversEveryCase(keyRows));
static_assert(EnumTable::coversEveryCase(allHUDKeys));

} // namespace

HUDEvent::Kind hudKind(HUDKey key) {
    return EnumTable::row(keyRows, key).kind;
}

std::string_view stepName(HUDKey key) {
    return EnumTable::row(keyRows, key).step;
}

std::string_view directionName(HUDKey key) {
    return EnumTable::row(keyRows, key).direction;
}

std::optional<HUDKey> hudKeyNamed(std::string_view step, std::string_view direction) {
    for (const KeyRow& row : keyRows) {
        if (row.step == step && row.direction == direction)
            return row.value;
    }
    return std::nullopt;
}

} // namespace brind
