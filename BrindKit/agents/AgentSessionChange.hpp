#pragma once

#include <string>

namespace brind {

/// A change worth a peek in the island, reported by `AgentSessionTracker::apply` with the key of
/// the session it concerns.
struct AgentSessionChange {
    enum class Kind {
        started,
        finished,
        needsInput,
        ended,
    };

    Kind kind = Kind::started;
    std::string key;

    friend bool operator==(const AgentSessionChange&, const AgentSessionChange&) = default;
};

} // namespace brind
