#pragma once

#include "BrindKit/clipboard/ClipSettings.hpp"

#include <filesystem>

namespace vq::ClipboardPreferences {

/// The clipboard history's settings from the "clipboard.*" keys of the preferences file
/// ("clipboard.enabled", "clipboard.maxItems", "clipboard.maxDays", "clipboard.captureImages",
/// "clipboard.captureFiles", "clipboard.captureRichText", "clipboard.maxImageBytes",
/// "clipboard.excludedBundleIDs" (a comma-separated list of application ids), "clipboard.hotkeyEnabled",
/// "clipboard.pasteDirectly"). A missing or unreadable value keeps its default.
brind::ClipSettings read(const std::filesystem::path& file);

} // namespace vq::ClipboardPreferences
