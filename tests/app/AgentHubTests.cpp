#include "vantaquill/AgentHub.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "vantaquill/AgentWaitingActivity.hpp"

#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace vq {

namespace {

constexpr double pruneInterval = 3600;

const brind::AgentAllowRule npmTest{.agent = brind::AgentKind::claudeCode,
                                    .project = "/home/ada/src/lighthouse",
                                    .tool = "Bash",
                                    .commandPrefix = "npm test",
                                    .createdAt = {}};

// A hub over a data folder, reporting on the calling thread as the main thread would.
struct Hub {
    explicit Hub(const std::filesystem::path& folder)
        : display([this](const std::string& line) { lines.push_back(line); },
                  [this](const std::string& line) { errors.push_back(line); }),
          center(scheduler), hub(scheduler, folder, display, center, [](std::function<void()> work) { work(); },
                                 pruneInterval) {
        hub.onChange = [this] { ++changes; };
    }

    std::vector<std::string> lines;
    std::vector<std::string> errors;
    ManualScheduler scheduler;
    HeadlessDisplay display;
    LiveActivityCenter center;
    AgentHub hub;
    int changes = 0;
};

} // namespace

TEST(AgentHub, RulesAreKeptInTheRuleBookFile) {
    brindtest::TemporaryFolder folder{"vq-agent-hub"};
    const auto file = folder.path() / brind::AgentRuleBook::fileName;
    {
        Hub first(folder.path());
        EXPECT_TRUE(first.hub.addRule(npmTest));
        EXPECT_EQ(first.changes, 1);
        // Adding the same rule again changes nothing.
        EXPECT_TRUE(first.hub.addRule(npmTest));
        EXPECT_EQ(first.changes, 1);
    }
    Hub second(folder.path());
    ASSERT_EQ(second.hub.rules().rules.size(), 1u);
    EXPECT_EQ(second.hub.broker().ruleBook(), second.hub.rules());
    EXPECT_TRUE(second.hub.removeRule(npmTest.id()));
    EXPECT_TRUE(brind::AgentRuleBook::load(file)->rules.empty());
}

// A hand-edited rule book with a typo must survive the user clicking "Always allow".
TEST(AgentHub, ARuleBookThatCannotBeReadIsNeverOverwritten) {
    brindtest::TemporaryFolder folder{"vq-agent-hub"};
    const auto file = folder.path() / brind::AgentRuleBook::fileName;
    const std::string typo = R"({"rules": [ {"tool": "Bash",, } ])";
    ASSERT_TRUE(brind::AtomicFile::write(file, typo));
    Hub hub(folder.path());
    ASSERT_EQ(hub.errors.size(), 1u);

    const auto added = hub.hub.addRule(npmTest);
    ASSERT_FALSE(added);
    EXPECT_NE(added.error().find("holds until vantaquill quits"), std::string::npos) << added.error();
    // The rule still holds for this run; the file is as the user left it.
    EXPECT_EQ(hub.hub.broker().ruleBook().rules.size(), 1u);
    EXPECT_EQ(brind::AtomicFile::read(file), typo);
}

// Stale sessions are swept while there are sessions; an island no agent has talked to, or whose
// sessions are all forgotten, keeps no timer for it.
TEST(AgentHub, SessionsAreSweptOnlyWhileThereAreAny) {
    brindtest::TemporaryFolder folder{"vq-agent-hub"};
    Hub hub(folder.path());
    EXPECT_EQ(hub.scheduler.pendingCount(), 0u);

    brind::AgentHookEvent event;
    event.agent = brind::AgentKind::claudeCode;
    event.kind = brind::AgentEventKind::sessionStart;
    event.rawName = "SessionStart";
    event.sessionID = "s1";
    event.date = hub.scheduler.now();
    hub.hub.apply(event);
    EXPECT_EQ(hub.scheduler.pendingCount(), 1u);

    const brind::AgentSessionTracker tracker;
    hub.scheduler.advance(tracker.staleAfter + tracker.endedMemory + 2 * pruneInterval);
    const std::string forgotten = "agent forgotten key=" + brind::AgentSession::key(event.agent, "s1");
    EXPECT_NE(std::find(hub.lines.begin(), hub.lines.end(), forgotten), hub.lines.end())
        << testing::PrintToString(hub.lines);
    EXPECT_EQ(hub.scheduler.pendingCount(), 0u);
}

TEST(AgentHub, AWaitingRequestIsShownAsOneActivityUntilAnswered) {
    brindtest::TemporaryFolder folder{"vq-agent-hub"};
    Hub hub(folder.path());
    asio::io_context io;
    brind::AgentHookEvent event;
    event.agent = brind::AgentKind::codex;
    event.kind = brind::AgentEventKind::permissionRequest;
    event.rawName = "PermissionRequest";
    event.sessionID = "s1";
    event.cwd = "/home/ada/src/lighthouse";
    event.toolName = "Bash";
    event.toolSummary = "make";
    for (const std::string id : {"r1", "r2"})
        asio::co_spawn(io, hub.hub.broker().request(event, 600, id, hub.scheduler.now()), asio::detached);
    io.poll();

    ASSERT_EQ(hub.center.activities().size(), 1u);
    const brind::LiveActivity& shown = hub.center.activities().front();
    EXPECT_EQ(shown.id, AgentWaitingActivity::activityID);
    EXPECT_EQ(shown.source, AgentWaitingActivity::source);
    EXPECT_EQ(shown.title, "Codex CLI needs approval");
    EXPECT_EQ(shown.subtitle, "lighthouse · make · 1 more waiting");
    EXPECT_EQ(shown.trailing, brind::ActivityGlyph::text("2", shown.tint));
    EXPECT_FALSE(shown.dismissible);

    hub.hub.broker().answer("r1", brind::AgentDecision::allow(), hub.scheduler.now());
    EXPECT_EQ(hub.center.activities().front().subtitle, "lighthouse · make");
    hub.hub.broker().answer("r2", brind::AgentDecision::deny(), hub.scheduler.now());
    EXPECT_TRUE(hub.center.activities().empty());
    io.poll();
}

} // namespace vq
