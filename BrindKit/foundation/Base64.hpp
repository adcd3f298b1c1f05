#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brind::Base64 {

/// Standard base64 (RFC 4648 §4) with "=" padding.
std::string encode(std::string_view bytes);

/// Strict standard base64: the length is a multiple of four, only the alphabet, padding only at the
/// end. White space, the URL-safe alphabet and missing padding are refused.
std::optional<std::string> decode(std::string_view text);

/// base64url (RFC 4648 §5) without padding, as used for tokens.
std::string encodeURL(std::string_view bytes);

} // namespace brind::Base64
