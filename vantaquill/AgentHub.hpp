#pragma once

#include "BrindKit/agents/AgentAllowRule.hpp"
#include "BrindKit/agents/AgentApprovalBroker.hpp"
#include "BrindKit/agents/AgentRuleBook.hpp"
#include "BrindKit/agents/AgentSessionTracker.hpp"
#include "vantaquill/AgentUsageWatcher.hpp"
#include "vantaquill/HeadlessDisplay.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"

#include <expected>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

namespace vq {

/// The application's coding-agent state: the session tracker (main thread), the approval broker
/// (shared with the SDK thread) and the standing allow rules ("agent-rules.json" in the data folder).
/// Sessions silent for too long are swept on a timer. Every visible change is told to the display;
/// while a request waits, the activity centre holds one activity saying so (`AgentWaitingActivity`).
/// Claude Code's, Codex's and Gemini CLI's transcripts are followed for the sessions' token usage
/// (`AgentUsageWatcher`).
class AgentHub {
public:
    using MainThread = std::function<void(std::function<void()>)>;

    AgentHub(Scheduler& scheduler, std::filesystem::path dataFolder, HeadlessDisplay& display,
             LiveActivityCenter& center, MainThread mainThread, double pruneInterval);
    ~AgentHub();

    AgentHub(const AgentHub&) = delete;
    AgentHub& operator=(const AgentHub&) = delete;

    brind::AgentApprovalBroker& broker() { return broker_; }
    const brind::AgentSessionTracker& tracker() const { return tracker_; }

    /// Told on the main thread after the sessions, the open requests or the standing rules changed.
    std::function<void()> onChange;

    /// The standing allow rules, in the order they were added.
    brind::AgentRuleBook rules() const { return broker_.ruleBook(); }
    /// Adds a standing rule and writes the rule book. The rule holds from now on even when the file
    /// cannot be written (the error says so); a rule book that could not be read at start is never
    /// overwritten, so a hand-edited file with a typo loses nothing.
    std::expected<void, std::string> addRule(const brind::AgentAllowRule& rule);
    /// The user's "Always allow" on request `id`: adds `rule` (dated now), allows the request, and
    /// allows every other waiting request the rule covers, as it will cover later ones. `resumed` is
    /// false when `id` was no longer waiting; `saved` carries the rule book's write error, if any.
    struct AlwaysAllowed {
        bool resumed = false;
        std::expected<void, std::string> saved;
    };
    AlwaysAllowed alwaysAllow(const std::string& id, brind::AgentAllowRule rule);
    /// Removes the standing rule with this id and writes the rule book (same terms as `addRule`).
    std::expected<void, std::string> removeRule(std::string_view id);

    /// Folds a decoded hook event into its session (main thread).
    void apply(const brind::AgentHookEvent& event);

    /// Forgets stale sessions now (the timer calls it too).
    void prune();

private:
    void schedulePrune();
    void showSession(const std::string& key);
    void showApprovals();
    std::expected<void, std::string> saveRules(const brind::AgentRuleBook& book);
    void changed();
    void followUsage(const std::string& key);
    void showUsage(const std::string& key, const brind::AgentUsage& usage);

    Scheduler& scheduler;
    std::filesystem::path rulesFile;
    /// False when the rule book on disk could not be read: it is then left as the user wrote it.
    bool rulesFileReadable = true;
    HeadlessDisplay& display;
    LiveActivityCenter& center;
    MainThread onMain;
    double pruneInterval;
    brind::AgentSessionTracker tracker_;
    brind::AgentApprovalBroker broker_;
    std::unique_ptr<Scheduler::Timer> pruneTimer;
    std::map<std::string, std::string> shownSessions; ///< key -> last line shown
    std::set<std::string> shownApprovals;
    AgentUsageWatcher usage;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};

} // namespace vq
