#pragma once

#include <string_view>

namespace brind {

/// Why a hook body could not be decoded. The hook route answers either with status 400 and the
/// agent carries on.
enum class AgentDecodeError {
    notJSON,      ///< the body is not JSON, or its top level is not an object
    missingEvent, ///< no event name in the body nor in the request
};

/// One sentence describing the error, for the error response.
std::string_view toString(AgentDecodeError error);

} // namespace brind
