#include "BrindKit/agents/AgentEventKind.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

namespace brind {

namespace {

constexpr auto eventKindRows = std::to_array<EnumTable::NameRow<AgentEventKind>>({
    {AgentEventKind::sessionStart, "sessionStart"},
    {AgentEventKind::sessionEnd, "sessionEnd"},
    {AgentEventKind::prompt, "prompt"},
    {AgentEventKind::preTool, "preTool"},
    {AgentEventKind::postTool, "postTool"},
    {AgentEventKind::permissionRequest, "permissionRequest"},
    {AgentEventKind::needsInput, "needsInput"},
    {AgentEventKind::notification, "notification"},
    {AgentEventKind::stop, "stop"},
    {AgentEventKind::subagentStop, "subagentStop"},
    {AgentEventKind::status, "status"},
    {AgentEventKind::unknown, "unknown"},
});
static_assert(EnumTable::coversEveryCase(eventKindRows));

} // namespace

std::string_view name(AgentEventKind kind) {
    return EnumTable::row(eventKindRows, kind).name;
}

} // namespace brind
