#include "vantaquill/settings/PreferenceCatalog.hpp"

#include <algorithm>
#include <utility>

namespace vq {

std::string_view PreferenceKey::sectionName(Section section) {
    switch (section) {
    case Section::island: return "Island";
    case Section::hud: return "HUD";
    case Section::activities: return "Activities";
    case Section::clipboard: return "Clipboard";
    case Section::shelf: return "Shelf";
    case Section::widgets: return "Widgets";
    case Section::agents: return "Agents";
    case Section::sdk: return "SDK";
    }
    std::unreachable();
}

namespace {

using S = PreferenceKey::Section;
using K = PreferenceKey::Kind;

const std::vector<PreferenceKey>& catalog() {
    static const std::vector<PreferenceKey> keys{
        {"island.hoverToOpen", S::island, K::flag, "Open when the pointer rests on the island", "true"},
        {"island.hoverDelay", S::island, K::number, "Hover delay", "0.2", 0.04, 60, {}, "s"},
        {"island.clickToOpen", S::island, K::flag, "Open on a click", "true"},
        {"island.size", S::island, K::choice, "Size", "medium", 0, 0, {"small", "medium", "large"}},
        {"island.displayModes", S::island, K::choice, "Screens", "primary", 0, 0, {"primary", "all", "housing"},
         "primary: the primary screen; all: every screen; housing: screens with a camera housing"},
        {"island.cornerRadius", S::island, K::number, "Corner radius", "22", 0, 40, {}, "px"},
        {"island.notchWidthOffset", S::island, K::number, "Housing width adjustment", "0", -100, 100, {}, "px"},
        {"island.notchHeightOffset", S::island, K::number, "Housing height adjustment", "0", -40, 40, {}, "px"},
        {"island.housing", S::island, K::text, "Camera housing", "", 0, 0, {},
         "WIDTHxHEIGHT in logical pixels when the housing is not measured, e.g. 200x32"},
        {"island.hideInFullScreen", S::island, K::flag, "Hide while a window is full screen", "true"},
        {"island.hideWhenSharing", S::island, K::flag, "Hide while the screen is shared", "true"},
        {"island.reduceMotion", S::island, K::choice, "Reduce motion", "system", 0, 0, {"system", "on", "off"}},

        {"hud.enabled", S::hud, K::flag, "Show a HUD for the media keys", "true"},
        {"hud.volume", S::hud, K::flag, "Volume keys", "true"},
        {"hud.brightness", S::hud, K::flag, "Brightness keys", "true"},
        {"hud.keyboard", S::hud, K::flag, "Keyboard backlight keys", "true"},
        {"hud.volumeClick", S::hud, K::choice, "Click on volume steps", "system", 0, 0, {"system", "on", "off"},
         "system: when the desktop asks for sounds on volume changes"},
        {"activities.lockScreen", S::activities, K::flag, "Show the lock opening on unlock", "true"},

        {"activities.paused", S::activities, K::flag, "Pause notifications", "false", 0, 0, {},
         "Activities are still shown, but only important and critical ones pop the island open"},
        {"activities.focus.followDesktop", S::activities, K::flag, "Quiet while the desktop is in do not disturb", "true",
         0, 0, {}, "As while paused: only important and critical activities pop the island open"},
        {"activities.notifications.mirror", S::activities, K::flag, "Show the desktop's notifications", "false", 0, 0,
         {}, "Each application's latest notification in the island for a few seconds; never written to disk"},
        {"activities.stayAwake", S::activities, K::flag, "Keep the computer awake", "false", 0, 0, {},
         "Holds off idle and sleep through logind while on"},
        {"media.enabled", S::activities, K::flag, "Show what is playing", "true"},
        {"media.lyrics", S::activities, K::flag, "Synced lyrics for the playing track", "true"},
        {"media.lyricsHost", S::activities, K::text, "Lyrics service", "", 0, 0, {},
         "The lyrics service's scheme and host; empty: LRCLIB"},
        {"activities.downloads", S::activities, K::flag, "Downloads", "true", 0, 0, {},
         "Progress of files being downloaded to the download folder, and Open or Add to Shelf when done"},
        {"activities.micCamera", S::activities, K::flag, "Camera and microphone in use", "true", 0, 0, {},
         "A quiet activity naming the programs that use the camera or record from a microphone"},
        {"activities.bluetooth", S::activities, K::flag, "Bluetooth devices", "true", 0, 0, {},
         "A short peek when a device connects or disconnects, with its battery level"},
        {"activities.network.wifi", S::activities, K::flag, "Wi-Fi changes", "true"},
        {"activities.network.vpn", S::activities, K::flag, "VPN changes", "true"},
        {"activities.network.hotspot", S::activities, K::flag, "Hotspot changes", "true"},
        {"activities.network.internet", S::activities, K::flag, "Internet connection changes", "true"},
        {"activities.network.ssid", S::activities, K::flag, "Show the network's name", "false"},
        {"activities.battery", S::activities, K::flag, "Battery changes", "true", 0, 0, {},
         "Unplugging, plugging in, a full battery and a low one"},

        {"clipboard.enabled", S::clipboard, K::flag, "Keep a clipboard history", "true"},
        {"clipboard.maxItems", S::clipboard, K::integer, "Items kept", "300", 50, 5000,
         {"50", "100", "300", "500", "1000", "5000"}},
        {"clipboard.maxDays", S::clipboard, K::integer, "Days kept (0: no limit)", "30", 0, 365,
         {"1", "7", "30", "90", "365", "0"}},
        {"clipboard.captureImages", S::clipboard, K::flag, "Images", "true"},
        {"clipboard.captureFiles", S::clipboard, K::flag, "Files", "true"},
        {"clipboard.captureRichText", S::clipboard, K::flag, "Rich text", "true"},
        {"clipboard.maxImageBytes", S::clipboard, K::integer, "Largest image", "26214400", 1048576, 268435456, {},
         "bytes"},
        {"clipboard.excludedBundleIDs", S::clipboard, K::text, "Never record copies from", "", 0, 0, {},
         "window classes or app ids (spaces or commas)"},
        {"clipboard.hotkeyEnabled", S::clipboard, K::flag, "Open the history with its hot key", "true"},
        {"clipboard.pasteDirectly", S::clipboard, K::flag, "Paste the chosen clip", "true"},
        {"clipboard.watchPrimary", S::clipboard, K::flag, "Also record selected text (primary selection)", "false"},

        {"shelf.autoClearHours", S::shelf, K::integer, "Clear unpinned files after (0: never)", "0", 0, 720, {},
         "h"},
        {"shelf.shakeSensitivity", S::shelf, K::integer, "Shake to open: sensitivity", "1", 0, 2, {"0", "1", "2"},
         "0 opens on the gentlest shake, 2 needs the widest"},

        {"widgets.pomodoro.work", S::widgets, K::integer, "Focus session", "25", 1, 180, {}, "min"},
        {"widgets.pomodoro.short", S::widgets, K::integer, "Short break", "5", 1, 60, {}, "min"},
        {"widgets.pomodoro.long", S::widgets, K::integer, "Long break", "15", 1, 120, {}, "min"},
        {"widgets.pomodoro.every", S::widgets, K::integer, "Long break every", "4", 1, 12, {}, "sessions"},
        {"widgets.pomodoro.auto", S::widgets, K::flag, "Start the next phase by itself", "false"},
        {"widgets.pomodoro.sound", S::widgets, K::flag, "Sound when a phase ends", "true"},
        {"widgets.weather.unit", S::widgets, K::choice, "Temperature unit", "celsius", 0, 0, {"celsius", "fahrenheit"}},
        {"widgets.weather.city", S::widgets, K::text, "Weather for", "", 0, 0, {}, "a place name"},
        {"widgets.weather.useLocation", S::widgets, K::flag, "Use this computer's location", "false"},
        {"widgets.weather.forecastHost", S::widgets, K::text, "Forecast service", "", 0, 0, {},
         "The forecast service's host, or scheme and host; empty: Open-Meteo"},
        {"widgets.weather.geocodingHost", S::widgets, K::text, "Place search service", "", 0, 0, {},
         "The place search's host, or scheme and host; empty: Open-Meteo"},
        {"widgets.wings.enabled", S::widgets, K::flag, "Widgets in the wings while nothing else shows", "false"},
        {"widgets.wings.leading", S::widgets, K::text, "Left wing", "date", 0, 0, {},
         "up to two of date, weather, cpu, memory, network, pomodoro, stayAwake"},
        {"widgets.wings.trailing", S::widgets, K::text, "Right wing", "weather", 0, 0, {},
         "up to two of date, weather, cpu, memory, network, pomodoro, stayAwake"},
        {"widgets.lockPosition", S::widgets, K::choice, "Lock-screen widgets", "clock", 0, 0, {"clock", "bottom"}},

        {"agents.approvalsEnabled", S::agents, K::flag, "Show approvals in the island", "true"},
        {"agents.approveEveryTool", S::agents, K::flag, "Ask also for tools that only read", "false"},
        {"agents.answerQuestions", S::agents, K::flag, "Answer agents' questions in the island", "true"},
        {"agents.approvalTimeout", S::agents, K::number, "Approval waits", "60", 5, 3600, {}, "s"},
        {"agents.pruneInterval", S::agents, K::number, "Sweep stale sessions every", "60", 5, 3600, {}, "s"},

        {"sdk.registrationsEnabled", S::sdk, K::flag, "Ask me when a new app wants to connect", "true"},
        {"sdk.consentTimeout", S::sdk, K::number, "Connection prompt waits", "120", 10, 600, {}, "s"},
    };
    return keys;
}

} // namespace

namespace PreferenceCatalog {

std::span<const PreferenceKey> all() {
    return catalog();
}

const PreferenceKey* find(std::string_view key) {
    const auto& keys = catalog();
    const auto found = std::ranges::find(keys, key, &PreferenceKey::key);
    return found == keys.end() ? nullptr : &*found;
}

} // namespace PreferenceCatalog

} // namespace vq
