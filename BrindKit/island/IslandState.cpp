#include "BrindKit/island/IslandState.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

namespace brind {

namespace {

constexpr auto islandStateRows = std::to_array<EnumTable::NameRow<IslandState>>({
    {IslandState::closed, "closed"},
    {IslandState::peek, "peek"},
    {IslandState::compact, "compact"},
    {IslandState::expanded, "expanded"},
});
static_assert(EnumTable::coversEveryCase(islandStateRows));

} // namespace

std::string_view name(IslandState state) {
    return EnumTable::row(islandStateRows, state).name;
}

std::optional<IslandState> islandStateNamed(std::string_view text) {
    return EnumTable::named(islandStateRows, text);
}

} // namespace brind
