#include "BrindKit/foundation/SHA256.hpp"

#include "BrindKit/foundation/Hex.hpp"

namespace brind::SHA256 {

// Nettle's SHA-256: a small library that loads in a moment, where libcrypto cost the resting island
// megabytes of memory for the one digest it needs.

Hasher::Hasher() {
    sha256_init(&context_);
}

void Hasher::update(std::string_view data) {
    sha256_update(&context_, data.size(), reinterpret_cast<const std::uint8_t*>(data.data()));
}

Digest Hasher::finish() {
    Digest result{};
    sha256_digest(&context_, result.size(), result.data());
    return result;
}

Digest digest(std::string_view data) {
    Hasher hasher;
    hasher.update(data);
    return hasher.finish();
}

std::string hex(const Digest& digest) {
    std::string text;
    text.reserve(digest.size() * 2);
    for (const std::uint8_t byte : digest)
        Hex::appendByte(text, byte);
    return text;
}

std::string hex(std::string_view data) {
    return hex(digest(data));
}

} // namespace brind::SHA256
