#pragma once

#include <optional>
#include <string_view>

namespace brind {

/// The widgets the lock screen can show, in display order.
enum class LockWidget { media, battery, bluetooth, meeting, weather, timer, focus, stayAwake };

/// Every widget but media, which takes a wide row of its own.
constexpr bool isSmall(LockWidget widget) {
    return widget != LockWidget::media;
}

/// "media", "battery", ..., "stayAwake".
std::string_view name(LockWidget widget);

std::optional<LockWidget> lockWidgetNamed(std::string_view name);

} // namespace brind
