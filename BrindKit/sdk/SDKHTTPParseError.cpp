#include "BrindKit/sdk/SDKHTTPParseError.hpp"

#include <utility>

namespace brind {

std::string_view toString(SDKHTTPParseError error) {
    switch (error) {
    case SDKHTTPParseError::malformed:
        return "malformed";
    case SDKHTTPParseError::headersTooLarge:
        return "headersTooLarge";
    case SDKHTTPParseError::bodyTooLarge:
        return "bodyTooLarge";
    case SDKHTTPParseError::unsupportedTransferEncoding:
        return "unsupportedTransferEncoding";
    }
    std::unreachable();
}

} // namespace brind
