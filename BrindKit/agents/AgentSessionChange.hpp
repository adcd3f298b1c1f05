#pragma once

#include <string>
#include <string_view>

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

/// "started", "finished", "needsInput" or "ended".
std::string_view name(AgentSessionChange::Kind kind);

} // namespace brind
