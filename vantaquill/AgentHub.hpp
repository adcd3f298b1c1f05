#pragma once

#include "BrindKit/agents/AgentApprovalBroker.hpp"
#include "BrindKit/agents/AgentSessionTracker.hpp"
#include "vantaquill/HeadlessDisplay.hpp"
#include "vantaquill/Scheduler.hpp"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

namespace vq {

/// The application's coding-agent state: the session tracker (main thread), the approval broker
/// (shared with the SDK thread) and the standing allow rules ("agent-rules.json" in the data folder).
/// Sessions silent for too long are swept on a timer. Every visible change is told to the display.
class AgentHub {
public:
    using MainThread = std::function<void(std::function<void()>)>;

    AgentHub(Scheduler& scheduler, std::filesystem::path dataFolder, HeadlessDisplay& display,
             MainThread mainThread, double pruneInterval);
    ~AgentHub();

    AgentHub(const AgentHub&) = delete;
    AgentHub& operator=(const AgentHub&) = delete;

    brind::AgentApprovalBroker& broker() { return broker_; }
    const brind::AgentSessionTracker& tracker() const { return tracker_; }

    /// Folds a decoded hook event into its session (main thread).
    void apply(const brind::AgentHookEvent& event);

    /// Forgets stale sessions now (the timer calls it too).
    void prune();

private:
    void schedulePrune();
    void showSession(const std::string& key);
    void showApprovals();

    Scheduler& scheduler;
    std::filesystem::path rulesFile;
    HeadlessDisplay& display;
    MainThread onMain;
    double pruneInterval;
    brind::AgentSessionTracker tracker_;
    brind::AgentApprovalBroker broker_;
    std::unique_ptr<Scheduler::Timer> pruneTimer;
    std::map<std::string, std::string> shownSessions; ///< key -> last line shown
    std::set<std::string> shownApprovals;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};

} // namespace vq
