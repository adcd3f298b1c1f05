#include "BrindKit/system/LockWidget.hpp"

#include <utility>

namespace brind {

std::string_view name(LockWidget widget) {
    switch (widget) {
    case LockWidget::media:
        return "media";
    case LockWidget::battery:
        return "battery";
    case LockWidget::bluetooth:
        return "bluetooth";
    case LockWidget::meeting:
        return "meeting";
    case LockWidget::weather:
        return "weather";
    case LockWidget::timer:
        return "timer";
    case LockWidget::focus:
        return "focus";
    case LockWidget::stayAwake:
        return "stayAwake";
    }
    std::unreachable();
}

std::optional<LockWidget> lockWidgetNamed(std::string_view text) {
    for (const LockWidget widget : allLockWidgets) {
        if (name(widget) == text)
            return widget;
    }
    return std::nullopt;
}

} // namespace brind
