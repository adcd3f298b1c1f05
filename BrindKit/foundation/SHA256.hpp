#pragma once

#include <nettle/sha2.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace brind::SHA256 {

using Digest = std::array<std::uint8_t, 32>;

/// SHA-256 fed in pieces, so that joined inputs need not be copied into one buffer.
class Hasher {
public:
    Hasher();
    void update(std::string_view data);
    /// The digest of everything fed; the hasher is spent afterwards.
    Digest finish();

private:
    sha256_ctx context_{};
};

Digest digest(std::string_view data);

/// The digest as 64 lower-case hexadecimal characters.
std::string hex(std::string_view data);

std::string hex(const Digest& digest);

} // namespace brind::SHA256
