#include "BrindKit/agents/AgentDecodeError.hpp"

#include <utility>

namespace brind {

std::string_view toString(AgentDecodeError error) {
    switch (error) {
    case AgentDecodeError::notJSON: return "The hook body is not a JSON object.";
    case AgentDecodeError::missingEvent: return "The hook call names no event.";
    }
    std::unreachable();
}

} // namespace brind
