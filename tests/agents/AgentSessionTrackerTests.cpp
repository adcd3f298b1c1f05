#include "BrindKit/agents/AgentSessionTracker.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

using S = AgentSession::Status;
using Change = AgentSessionChange::Kind;
using K = AgentEventKind;

const Date t0{1'760'000'000};

AgentHookEvent event(K kind, double at, std::string sessionID = "abc",
                     AgentKind agent = AgentKind::claudeCode) {
    AgentHookEvent result;
    result.agent = agent;
    result.kind = kind;
    result.sessionID = std::move(sessionID);
    result.date = t0 + at;
    return result;
}

AgentHookEvent tool(K kind, double at, std::string name, std::optional<std::string> summary = {}) {
    AgentHookEvent result = event(kind, at);
    result.toolName = std::move(name);
    result.toolSummary = std::move(summary);
    return result;
}

const AgentSession& session(const AgentSessionTracker& tracker, const std::string& key = "claude.abc") {
    static const AgentSession missing;
    const auto found = tracker.sessions.find(key);
    EXPECT_NE(found, tracker.sessions.end()) << key;
    return found == tracker.sessions.end() ? missing : found->second;
}

// A tracker holding session "claude.abc" in `status`, last heard of at t0.
AgentSessionTracker trackerWith(S status) {
    AgentSessionTracker tracker;
    tracker.apply(event(K::prompt, 0));
    tracker.sessions["claude.abc"].status = status;
    return tracker;
}

} // namespace

// The first event creates the session and reports it started; later events keep what it carried
// until they carry something else.
TEST(AgentSessionTracker, FirstEventCreatesTheSessionAndLaterOnesKeepItsFields) {
    AgentSessionTracker tracker;
    AgentHookEvent first = event(K::status, 0);
    first.cwd = "/home/ada/src/lighthouse";
    first.title = "nightly";
    first.model = "opus";
    first.terminal = "kitty";
    first.terminalInfo = AgentTerminalInfo{"/dev/pts/1", "/tmp/tmux-1000/default", {}, {}};
    EXPECT_EQ(tracker.apply(first), (std::vector<AgentSessionChange>{{Change::started, "claude.abc"}}));
    EXPECT_EQ(session(tracker).status, S::working);
    EXPECT_EQ(session(tracker).startedAt, t0);
    EXPECT_EQ(session(tracker).turnStartedAt, t0);

    AgentHookEvent second = event(K::status, 5);
    second.cwd = "";
    second.terminal = "";
    second.terminalInfo = AgentTerminalInfo{{}, {}, "%4", {}};
    EXPECT_TRUE(tracker.apply(second).empty());
    const AgentSession& s = session(tracker);
    EXPECT_EQ(s.cwd, "/home/ada/src/lighthouse");
    EXPECT_EQ(s.project, "lighthouse");
    EXPECT_EQ(s.title, "nightly");
    EXPECT_EQ(s.model, "opus");
    EXPECT_EQ(s.terminal, "kitty");
    EXPECT_EQ(s.terminalInfo, (AgentTerminalInfo{"/dev/pts/1", "/tmp/tmux-1000/default", "%4", {}}));
    EXPECT_EQ(s.lastEventAt, t0 + 5);

    // Same identifier, other agent: a second session.
    EXPECT_EQ(tracker.apply(event(K::prompt, 1, "abc", AgentKind::codex)),
              (std::vector<AgentSessionChange>{{Change::started, "codex.abc"}}));
    EXPECT_EQ(tracker.sessions.size(), 2u);
    EXPECT_EQ(session(tracker, "codex.abc").project, "Codex CLI");
}

TEST(AgentSessionTracker, FollowsTheTransitionTable) {
    struct Case {
        const char* name;
        S before;
        AgentHookEvent event;
        S after;
        std::optional<Change> change;
    };
    AgentHookEvent needs = event(K::needsInput, 10);
    needs.message = "Waiting";
    const std::vector<Case> cases = {
        {"start", S::working, event(K::sessionStart, 10), S::finished, {}},
        {"prompt", S::finished, event(K::prompt, 10), S::working, {}},
        {"pre tool", S::needsInput, tool(K::preTool, 10, "Read"), S::working, {}},
        {"pre tool awaiting", S::awaitingApproval, tool(K::preTool, 10, "Read"), S::awaitingApproval, {}},
        // Questions and plans wait for the user although no permission request comes.
        {"question", S::working, tool(K::preTool, 10, "AskUserQuestion"), S::awaitingApproval, {}},
        {"post tool", S::awaitingApproval, tool(K::postTool, 10, "Read"), S::working, {}},
        {"permission", S::working, tool(K::permissionRequest, 10, "Bash"), S::awaitingApproval, {}},
        {"needs input", S::working, needs, S::needsInput, Change::needsInput},
        {"needs input again", S::needsInput, needs, S::needsInput, Change::needsInput},
        {"needs input while awaiting", S::awaitingApproval, needs, S::awaitingApproval, {}},
        {"notification", S::needsInput, event(K::notification, 10), S::needsInput, {}},
        {"stop", S::working, event(K::stop, 10), S::finished, Change::finished},
        {"subagent stop", S::awaitingApproval, event(K::subagentStop, 10), S::awaitingApproval, {}},
        {"status", S::finished, event(K::status, 10), S::working, {}},
    };
    for (const Case& c : cases) {
        AgentSessionTracker tracker = trackerWith(c.before);
        using Changes = std::vector<AgentSessionChange>;
        EXPECT_EQ(tracker.apply(c.event), (c.change ? Changes{{*c.change, "claude.abc"}} : Changes{}))
            << c.name;
        EXPECT_EQ(session(tracker).status, c.after) << c.name;
    }
}

TEST(AgentSessionTracker, StartsANewTurnOnlyAfterTheAgentWasIdle) {
    for (const S before : {S::working, S::awaitingApproval, S::needsInput, S::finished}) {
        for (const K kind : {K::preTool, K::postTool, K::permissionRequest, K::status}) {
            AgentSessionTracker tracker = trackerWith(before);
            tracker.apply(event(kind, 30));
            const bool idle = before == S::needsInput || before == S::finished;
            EXPECT_EQ(session(tracker).turnStartedAt, idle ? t0 + 30 : t0)
                << name(before) << " " << name(kind);
        }
    }
    AgentSessionTracker tracker = trackerWith(S::working);
    tracker.apply(event(K::sessionStart, 20));
    EXPECT_EQ(session(tracker).turnStartedAt, t0 + 20);
}

TEST(AgentSessionTracker, RecordsPromptsToolsAndMessages) {
    AgentSessionTracker tracker;
    AgentHookEvent prompt = event(K::prompt, 0);
    prompt.prompt = "\nFix the beam\nthen the tests";
    tracker.apply(prompt);
    tracker.sessions["claude.abc"].lastMessage = "old";
    tracker.apply(prompt);
    EXPECT_EQ(session(tracker).turns, 2);
    EXPECT_EQ(session(tracker).lastPrompt, "Fix the beam");
    EXPECT_EQ(session(tracker).lastMessage, std::nullopt);
    tracker.apply(event(K::prompt, 1));
    EXPECT_EQ(session(tracker).lastPrompt, "");

    tracker.apply(tool(K::preTool, 2, "Bash", "make"));
    tracker.apply(tool(K::postTool, 3, "Bash"));
    EXPECT_EQ(session(tracker).toolCount, 1);
    EXPECT_EQ(session(tracker).lastToolSummary, std::nullopt);
    tracker.apply(tool(K::preTool, 4, "Read", "main.cpp"));
    tracker.apply(event(K::preTool, 5)); // no tool name: nothing counted
    EXPECT_EQ(session(tracker).toolCount, 2);
    EXPECT_EQ(session(tracker).lastTool, "Read");

    AgentHookEvent permission = event(K::permissionRequest, 6);
    permission.toolSummary = "rm -rf build";
    tracker.apply(permission);
    EXPECT_EQ(session(tracker).lastTool, "Read");
    EXPECT_EQ(session(tracker).lastToolSummary, "rm -rf build");

    AgentHookEvent status = event(K::status, 7);
    status.progress = 0.4;
    status.message = "Linking";
    tracker.apply(status);
    EXPECT_EQ(session(tracker).progress, 0.4);
    tracker.apply(event(K::stop, 8));
    EXPECT_EQ(session(tracker).progress, std::nullopt);
    EXPECT_EQ(session(tracker).lastMessage, "Linking");
}

TEST(AgentSessionTracker, SessionEndRemovesTheSession) {
    AgentSessionTracker tracker;
    EXPECT_EQ(
        tracker.apply(event(K::sessionEnd, 0)),
        (std::vector<AgentSessionChange>{{Change::started, "claude.abc"}, {Change::ended, "claude.abc"}}));
    EXPECT_TRUE(tracker.sessions.empty());
    tracker.apply(event(K::prompt, 1));
    EXPECT_EQ(tracker.apply(event(K::sessionEnd, 2)),
              (std::vector<AgentSessionChange>{{Change::ended, "claude.abc"}}));
    EXPECT_TRUE(tracker.sessions.empty());

    // What an agent still sends after the end does not bring the session back ...
    for (const K late : {K::notification, K::subagentStop, K::unknown}) {
        EXPECT_TRUE(tracker.apply(event(late, 3)).empty());
        EXPECT_TRUE(tracker.sessions.empty());
    }
    // ... until the ended key is forgotten.
    tracker.prune(t0 + 2 + 600);
    tracker.apply(event(K::notification, 4));
    EXPECT_TRUE(tracker.sessions.empty());
    tracker.prune(t0 + 2 + 600.5);
    EXPECT_EQ(tracker.apply(event(K::notification, 5)),
              (std::vector<AgentSessionChange>{{Change::started, "claude.abc"}}));

    // A resumed conversation keeps its id: a new prompt after the end starts it afresh.
    tracker.apply(event(K::sessionEnd, 6));
    EXPECT_EQ(tracker.apply(event(K::prompt, 7)),
              (std::vector<AgentSessionChange>{{Change::started, "claude.abc"}}));
    EXPECT_EQ(session(tracker).status, S::working);
    tracker.apply(event(K::notification, 8));
    EXPECT_EQ(tracker.sessions.size(), 1u);
}

TEST(AgentSessionTracker, ApprovalResolvedOnlyWakesAwaitingSessions) {
    AgentSessionTracker tracker;
    tracker.apply(tool(K::permissionRequest, 0, "Bash"));
    tracker.approvalResolved("claude.abc", t0 + 9);
    EXPECT_EQ(session(tracker).status, S::working);
    EXPECT_EQ(session(tracker).lastEventAt, t0 + 9);
    tracker.apply(event(K::stop, 10));
    tracker.approvalResolved("claude.abc", t0 + 11);
    EXPECT_EQ(session(tracker).status, S::finished);
    EXPECT_EQ(session(tracker).lastEventAt, t0 + 10);
    tracker.approvalResolved("claude.missing", t0 + 12);
    EXPECT_EQ(tracker.sessions.size(), 1u);
}

TEST(AgentSessionTracker, PrunesSilentSessions) {
    AgentSessionTracker tracker;
    tracker.apply(event(K::stop, 0, "done"));
    tracker.apply(event(K::prompt, 0, "busy"));
    EXPECT_TRUE(tracker.prune(t0 + 2700).empty());
    EXPECT_EQ(tracker.prune(t0 + 2701), (std::vector<std::string>{"claude.done"}));
    EXPECT_TRUE(tracker.prune(t0 + 10800).empty());
    EXPECT_EQ(tracker.prune(t0 + 10800.5), (std::vector<std::string>{"claude.busy"}));
    EXPECT_TRUE(tracker.sessions.empty());
}

TEST(AgentSessionTracker, OrdersActiveFirstThenLatest) {
    AgentSessionTracker tracker;
    tracker.apply(event(K::stop, 50, "finishedLate"));
    tracker.apply(event(K::prompt, 10, "workingEarly"));
    tracker.apply(event(K::prompt, 30, "workingLate"));
    tracker.apply(event(K::stop, 20, "finishedEarly"));
    tracker.apply(tool(K::permissionRequest, 5, "Bash"));
    std::vector<std::string> ids;
    for (const AgentSession& s : tracker.ordered())
        ids.push_back(s.sessionID);
    EXPECT_EQ(ids, (std::vector<std::string>{"workingLate", "workingEarly", "abc", "finishedLate",
                                             "finishedEarly"}));
    EXPECT_EQ(tracker.activeCount(), 3);
    tracker.remove("claude.abc");
    EXPECT_EQ(tracker.activeCount(), 2);
}

TEST(AgentSessionTracker, ShowsFinishedSessionsInTheWingBriefly) {
    AgentSessionTracker tracker = trackerWith(S::finished);
    AgentSession s = session(tracker);
    EXPECT_TRUE(tracker.showsInWing(s, t0 + 7.9));
    EXPECT_FALSE(tracker.showsInWing(s, t0 + 8));
    s.status = S::needsInput;
    EXPECT_TRUE(tracker.showsInWing(s, t0 + 100000));
    s.status = S::ended;
    EXPECT_FALSE(tracker.showsInWing(s, t0));
}
