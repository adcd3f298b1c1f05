#pragma once

#include <string_view>

namespace brind {

/// Why bytes on a connection can never become an acceptable request.
enum class SDKHTTPParseError {
    malformed,                   ///< not an HTTP/1.x request we can read
    headersTooLarge,             ///< the head runs past `SDKHTTPParser::maxHeaderBytes`
    bodyTooLarge,                ///< Content-Length above `SDKHTTPParser::maxBodyBytes`
    unsupportedTransferEncoding, ///< a transfer coding other than identity (chunked bodies are refused)
};

/// The case name ("malformed", "headersTooLarge", ...), for logs and test output.
std::string_view name(SDKHTTPParseError error);

} // namespace brind
