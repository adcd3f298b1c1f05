#include "BrindKit/system/LockWidget.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

namespace brind {

namespace {

constexpr auto lockWidgetRows = std::to_array<EnumTable::NameRow<LockWidget>>({
    {LockWidget::media, "media"},
    {LockWidget::battery, "battery"},
    {LockWidget::bluetooth, "bluetooth"},
    {LockWidget::meeting, "meeting"},
    {LockWidget::weather, "weather"},
    {LockWidget::timer, "timer"},
    {LockWidget::focus, "focus"},
    {LockWidget::stayAwake, "stayAwake"},
});
static_assert(EnumTable::coversEveryCase(lockWidgetRows));

} // namespace

std::string_view name(LockWidget widget) {
    return EnumTable::row(lockWidgetRows, widget).name;
}

std::optional<LockWidget> lockWidgetNamed(std::string_view text) {
    return EnumTable::named(lockWidgetRows, text);
}

} // namespace brind
