#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace brind::SHA256 {

using Digest = std::array<std::uint8_t, 32>;

Digest digest(std::string_view data);

/// The digest as 64 lower-case hexadecimal characters.
std::string hex(std::string_view data);

std::string hex(const Digest& digest);

} // namespace brind::SHA256
