#pragma once

#include "vantaquill/AgentHub.hpp"
#include "vantaquill/HeadlessDisplay.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"

#include <string_view>

namespace vq {

/// What a user would do on the island, typed on standard input while the application runs
/// headless: one command per line.
///
///     press ACTIVITY ACTION     press a button of an activity (its tap action, too)
///     dismiss ACTIVITY          dismiss an activity
///     answer REQUEST DECISION   answer an agent's request: allow, deny or ask
///     always REQUEST            allow it and every later one like it (the rule "Always allow" adds)
///
/// Each command is acknowledged, or refused with a reason, on the display.
class HeadlessConsole {
public:
    HeadlessConsole(LiveActivityCenter& center, AgentHub& agents, Scheduler& scheduler, HeadlessDisplay& display)
        : center(center), agents(agents), scheduler(scheduler), display(display) {}

    void handle(std::string_view line);

private:
    LiveActivityCenter& center;
    void alwaysAllow(const std::string& id);

    AgentHub& agents;
    Scheduler& scheduler;
    HeadlessDisplay& display;
};

} // namespace vq
