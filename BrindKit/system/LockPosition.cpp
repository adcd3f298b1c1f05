#include "BrindKit/system/LockPosition.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

namespace brind {

namespace {

constexpr auto lockPositionRows = std::to_array<EnumTable::NameRow<LockPosition>>({
    {LockPosition::clock, "clock"},
    {LockPosition::bottom, "bottom"},
});
static_assert(EnumTable::coversEveryCase(lockPositionRows));

} // namespace

std::string_view name(LockPosition position) {
    return EnumTable::row(lockPositionRows, position).name;
}

std::optional<LockPosition> lockPositionNamed(std::string_view text) {
    return EnumTable::named(lockPositionRows, text);
}

} // namespace brind
