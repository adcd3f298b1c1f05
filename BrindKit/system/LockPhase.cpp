#include "BrindKit/system/LockPhase.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

namespace brind {

namespace {

constexpr auto lockPhaseRows = std::to_array<EnumTable::NameRow<LockPhase>>({
    {LockPhase::hidden, "hidden"},
    {LockPhase::locked, "locked"},
    {LockPhase::unlocking, "unlocking"},
    {LockPhase::collapsing, "collapsing"},
});
static_assert(EnumTable::coversEveryCase(lockPhaseRows));

} // namespace

std::string_view name(LockPhase phase) {
    return EnumTable::row(lockPhaseRows, phase).name;
}

std::optional<LockPhase> lockPhaseNamed(std::string_view text) {
    return EnumTable::named(lockPhaseRows, text);
}

} // namespace brind
