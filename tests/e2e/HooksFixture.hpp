#pragma once

#include "tests/e2e/E2EFixture.hpp"

namespace vq::e2e {

// A standing rule lets Claude Code write files in the project without asking; approvals time out
// after two seconds so that a request nobody answers comes back quickly.
class HooksIsland : public IslandTest {
protected:
    std::vector<std::string> preferences() const override { return {"agents.approvalTimeout=2"}; }
    std::vector<std::pair<std::string, std::string>> dataFiles() const override {
        return {{"agent-rules.json",
                 R"({"rules":[{"agent":"claude-code","project":"/home/ada/src/lighthouse","tool":"Write","createdAt":0}]})"}};
    }

    // Answers the next approval the island holds from its console (allow, deny, ask, or always for
    // "Always allow"); the "approval waiting" line, or "" when none came.
    std::string answerNextRequest(const std::string& decision) {
        const auto waiting = island->waitForLine("approval waiting id=", std::chrono::seconds(5));
        if (!waiting)
            return {};
        const auto at = waiting->find("id=") + 3;
        const std::string id = waiting->substr(at, waiting->find(' ', at) - at);
        island->sendInput(decision == "always" ? "always " + id + "\n" : "answer " + id + " " + decision + "\n");
        return *waiting;
    }
};

} // namespace vq::e2e
