#include "vantaquill/hud/X11HUDKeys.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

#include <X11/XF86keysym.h>

#include <array>
#include <vector>

namespace vq {

namespace {

using brind::HUDKey;
using brind::HUDKeyRules::KeyState;
using brind::HUDKeyRules::Modifiers;

struct KeyRow {
    HUDKey value;
    xcb_keysym_t keysym;
    std::string_view name;
};

constexpr auto keyRows = std::to_array<KeyRow>({
    {HUDKey::soundUp, XF86XK_AudioRaiseVolume, "XF86AudioRaiseVolume"},
    {HUDKey::soundDown, XF86XK_AudioLowerVolume, "XF86AudioLowerVolume"},
    {HUDKey::mute, XF86XK_AudioMute, "XF86AudioMute"},
    {HUDKey::brightnessUp, XF86XK_MonBrightnessUp, "XF86MonBrightnessUp"},
    {HUDKey::brightnessDown, XF86XK_MonBrightnessDown, "XF86MonBrightnessDown"},
    {HUDKey::illuminationUp, XF86XK_KbdBrightnessUp, "XF86KbdBrightnessUp"},
    {HUDKey::illuminationDown, XF86XK_KbdBrightnessDown, "XF86KbdBrightnessDown"},
    {HUDKey::illuminationToggle, XF86XK_KbdLightOnOff, "XF86KbdLightOnOff"},
});
static_assert(brind::EnumTable::coversEveryCase(keyRows));

// The combinations the island acts on (see HUDKeyRules::grid).
constexpr std::array<std::uint16_t, 3> actedOn = {0, XCB_MOD_MASK_SHIFT, XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_1};

Modifiers modifiersOf(std::uint16_t state) {
    return {.shift = (state & XCB_MOD_MASK_SHIFT) != 0,
            .option = (state & XCB_MOD_MASK_1) != 0,
            .command = (state & XCB_MOD_MASK_4) != 0,
            .control = (state & XCB_MOD_MASK_CONTROL) != 0};
}

} // namespace

std::expected<std::unique_ptr<X11HUDKeys>, std::string> X11HUDKeys::connect(Press press, Log log) {
    std::vector<X11KeyGrabs::Key> keys;
    for (const KeyRow& row : keyRows)
        keys.push_back({row.keysym, {actedOn.begin(), actedOn.end()}, std::string(row.name)});
    auto grabs = X11KeyGrabs::connect(
        std::move(keys),
        [press = std::move(press)](std::size_t index, bool down, std::uint16_t state) {
            press(keyRows[index].value, down ? KeyState::down : KeyState::up, modifiersOf(state));
        },
        std::move(log), [](const std::string& names) {
            return "vantaquill: the desktop already takes " + names +
                   "; the island leaves those keys to it and shows the levels they change";
        });
    if (!grabs)
        return std::unexpected(grabs.error());
    return std::unique_ptr<X11HUDKeys>(new X11HUDKeys(std::move(*grabs)));
}

X11HUDKeys::X11HUDKeys(std::unique_ptr<X11KeyGrabs> grabs) : grabs_(std::move(grabs)) {}

X11HUDKeys::~X11HUDKeys() = default;

} // namespace vq
