#include "BrindKit/widgets/WidgetSideKind.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

namespace brind {

namespace {

struct SideKindRow {
    WidgetSideKind value;
    std::string_view name;
    std::string_view title;
    std::string_view symbol;
    bool usesStats;
};

constexpr auto sideKindRows = std::to_array<SideKindRow>({
    {WidgetSideKind::date, "date", "Date", "calendar", false},
    {WidgetSideKind::nextEvent, "nextEvent", "Next event", "calendar.badge.clock", false},
    {WidgetSideKind::weather, "weather", "Weather", "cloud.sun.fill", false},
    {WidgetSideKind::cpu, "cpu", "CPU", "cpu", true},
    {WidgetSideKind::memory, "memory", "Memory", "memorychip", true},
    {WidgetSideKind::gpu, "gpu", "GPU", "square.stack.3d.up.fill", true},
    {WidgetSideKind::network, "network", "Network", "arrow.up.arrow.down", true},
    {WidgetSideKind::disk, "disk", "Disk", "internaldrive", true},
    {WidgetSideKind::battery, "battery", "Battery", "battery.75percent", true},
    {WidgetSideKind::pomodoro, "pomodoro", "Pomodoro", "timer", false},
    {WidgetSideKind::stayAwake, "stayAwake", "Stay Awake", "cup.and.saucer.fill", false},
});
static_assert(EnumTable::coversEveryCase(sideKindRows));
static_assert(EnumTable::coversEveryCase(allWidgetSideKinds));

} // namespace

std::string_view name(WidgetSideKind kind) {
    return EnumTable::row(sideKindRows, kind).name;
}

std::optional<WidgetSideKind> widgetSideKindNamed(std::string_view text) {
    return EnumTable::named(sideKindRows, text);
}

std::string_view title(WidgetSideKind kind) {
    return EnumTable::row(sideKindRows, kind).title;
}

std::string_view symbol(WidgetSideKind kind) {
    return EnumTable::row(sideKindRows, kind).symbol;
}

bool usesStats(WidgetSideKind kind) {
    return EnumTable::row(sideKindRows, kind).usesStats;
}

} // namespace brind
