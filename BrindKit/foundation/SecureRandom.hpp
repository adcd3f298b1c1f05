#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace brind::SecureRandom {

/// Fills `buffer` from the kernel's cryptographically secure generator (getrandom).
/// A generator that cannot deliver is unrecoverable for a program that issues secrets: it aborts.
void fill(std::uint8_t* buffer, std::size_t count);

std::vector<std::uint8_t> bytes(std::size_t count);

} // namespace brind::SecureRandom
