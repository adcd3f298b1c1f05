#include "BrindKit/agents/AgentSessionChange.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

namespace brind {

namespace {

constexpr auto kindRows = std::to_array<EnumTable::NameRow<AgentSessionChange::Kind>>({
    {AgentSessionChange::Kind::started, "started"},
    {AgentSessionChange::Kind::finished, "finished"},
    {AgentSessionChange::Kind::needsInput, "needsInput"},
    {AgentSessionChange::Kind::ended, "ended"},
});
static_assert(EnumTable::coversEveryCase(kindRows));

} // namespace

std::string_view name(AgentSessionChange::Kind kind) {
    return EnumTable::row(kindRows, kind).name;
}

} // namespace brind
