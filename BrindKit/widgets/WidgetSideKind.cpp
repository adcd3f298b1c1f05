#include "BrindKit/widgets/WidgetSideKind.hpp"

#include <utility>

namespace brind {

std::string_view rawValue(WidgetSideKind kind) {
    switch (kind) {
    case WidgetSideKind::date:
        return "date";
    case WidgetSideKind::nextEvent:
        return "nextEvent";
    case WidgetSideKind::weather:
        return "weather";
    case WidgetSideKind::cpu:
        return "cpu";
    case WidgetSideKind::memory:
        return "memory";
    case WidgetSideKind::gpu:
        return "gpu";
    case WidgetSideKind::network:
        return "network";
    case WidgetSideKind::disk:
        return "disk";
    case WidgetSideKind::battery:
        return "battery";
    case WidgetSideKind::pomodoro:
        return "pomodoro";
    case WidgetSideKind::stayAwake:
        return "stayAwake";
    }
    std::unreachable();
}

std::optional<WidgetSideKind> widgetSideKind(std::string_view text) {
    for (const auto kind : allWidgetSideKinds) {
        if (rawValue(kind) == text)
            return kind;
    }
    return std::nullopt;
}

std::string_view title(WidgetSideKind kind) {
    switch (kind) {
    case WidgetSideKind::date:
        return "Date";
    case WidgetSideKind::nextEvent:
        return "Next event";
    case WidgetSideKind::weather:
        return "Weather";
    case WidgetSideKind::cpu:
        return "CPU";
    case WidgetSideKind::memory:
        return "Memory";
    case WidgetSideKind::gpu:
        return "GPU";
    case WidgetSideKind::network:
        return "Network";
    case WidgetSideKind::disk:
        return "Disk";
    case WidgetSideKind::battery:
        return "Battery";
    case WidgetSideKind::pomodoro:
        return "Pomodoro";
    case WidgetSideKind::stayAwake:
        return "Stay Awake";
    }
    std::unreachable();
}

std::string_view symbol(WidgetSideKind kind) {
    switch (kind) {
    case WidgetSideKind::date:
        return "calendar";
    case WidgetSideKind::nextEvent:
        return "calendar.badge.clock";
    case WidgetSideKind::weather:
        return "cloud.sun.fill";
    case WidgetSideKind::cpu:
        return "cpu";
    case WidgetSideKind::memory:
        return "memorychip";
    case WidgetSideKind::gpu:
        return "square.stack.3d.up.fill";
    case WidgetSideKind::network:
        return "arrow.up.arrow.down";
    case WidgetSideKind::disk:
        return "internaldrive";
    case WidgetSideKind::battery:
        return "battery.75percent";
    case WidgetSideKind::pomodoro:
        return "timer";
    case WidgetSideKind::stayAwake:
        return "cup.and.saucer.fill";
    }
    std::unreachable();
}

bool usesStats(WidgetSideKind kind) {
    switch (kind) {
    case WidgetSideKind::cpu:
    case WidgetSideKind::memory:
    case WidgetSideKind::gpu:
    case WidgetSideKind::network:
    case WidgetSideKind::disk:
    case WidgetSideKind::battery:
        return true;
    case WidgetSideKind::date:
    case WidgetSideKind::nextEvent:
    case WidgetSideKind::weather:
    case WidgetSideKind::pomodoro:
    case WidgetSideKind::stayAwake:
        return false;
    }
    std::unreachable();
}

} // namespace brind
