#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace brind {

/// A widget that can sit in one of the island's wings.
enum class WidgetSideKind { date, nextEvent, weather, cpu, memory, gpu, network, disk, battery, pomodoro, stayAwake };

inline constexpr std::array<WidgetSideKind, 11> allWidgetSideKinds{
    WidgetSideKind::date,    WidgetSideKind::nextEvent, WidgetSideKind::weather,  WidgetSideKind::cpu,
    WidgetSideKind::memory,  WidgetSideKind::gpu,       WidgetSideKind::network,  WidgetSideKind::disk,
    WidgetSideKind::battery, WidgetSideKind::pomodoro,  WidgetSideKind::stayAwake};

/// The case name, which is also the kind's identifier and stored form.
std::string_view name(WidgetSideKind kind);
std::optional<WidgetSideKind> widgetSideKindNamed(std::string_view name);
/// "Date", "Next event", ... as the settings list them.
std::string_view title(WidgetSideKind kind);
/// The system symbol drawn for the kind.
std::string_view symbol(WidgetSideKind kind);
/// True for the kinds that need the system statistics sampler running.
bool usesStats(WidgetSideKind kind);

} // namespace brind
