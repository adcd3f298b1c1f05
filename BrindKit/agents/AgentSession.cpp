#include "BrindKit/agents/AgentSession.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

namespace brind {

namespace {

struct StatusRow {
    AgentSession::Status value;
    std::string_view name;
    bool isActive;
};

constexpr auto statusRows = std::to_array<StatusRow>({
    {AgentSession::Status::working, "working", true},
    {AgentSession::Status::awaitingApproval, "awaitingApproval", true},
    {AgentSession::Status::needsInput, "needsInput", true},
    {AgentSession::Status::finished, "finished", false},
    {AgentSession::Status::ended, "ended", false},
});
static_assert(EnumTable::coversEveryCase(statusRows));

} // namespace

std::string AgentSession::key(AgentKind agent, std::string_view sessionID) {
    std::string result(keyWord(agent));
    result += '.';
    result += sessionID;
    return result;
}

bool AgentSession::isActive(Status status) {
    return EnumTable::row(statusRows, status).isActive;
}

std::string_view name(AgentSession::Status status) {
    return EnumTable::row(statusRows, status).name;
}

} // namespace brind
