#include "BrindKit/foundation/SHA256.hpp"

#include "BrindKit/foundation/Hex.hpp"

#include <bit>
#include <cstring>

namespace brind::SHA256 {

// Written out rather than taken from libcrypto: hashing tokens and clipboard items is all the
// program needs from it, and loading and initialising libcrypto for that cost the resting island
// megabytes of memory.

namespace {

constexpr std::array<std::uint32_t, 64> roundConstants = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2,
};

constexpr std::array<std::uint32_t, 8> initialState = {
    0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a, 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19,
};

std::uint32_t bigEndian32(const std::uint8_t* bytes) {
    return (std::uint32_t{bytes[0]} << 24) | (std::uint32_t{bytes[1]} << 16) | (std::uint32_t{bytes[2]} << 8) |
           std::uint32_t{bytes[3]};
}

} // namespace

Hasher::Hasher() : state_(initialState) {}

void Hasher::compress(const std::uint8_t* block) {
    std::array<std::uint32_t, 64> w{};
    for (std::size_t i = 0; i < 16; ++i)
        w[i] = bigEndian32(block + 4 * i);
    for (std::size_t i = 16; i < 64; ++i) {
        const std::uint32_t s0 = std::rotr(w[i - 15], 7) ^ std::rotr(w[i - 15], 18) ^ (w[i - 15] >> 3);
        const std::uint32_t s1 = std::rotr(w[i - 2], 17) ^ std::rotr(w[i - 2], 19) ^ (w[i - 2] >> 10);
        w[i] = w[i - 16] + s0 + w[i - 7] + s1;
    }
    auto [a, b, c, d, e, f, g, h] = state_;
    for (std::size_t i = 0; i < 64; ++i) {
        const std::uint32_t t1 = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) + ((e & f) ^ (~e & g)) +
                                 roundConstants[i] + w[i];
        const std::uint32_t t2 = (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + t1;
        d = c;
        c = b;
        b = a;
        a = t1 + t2;
    }
    const std::array<std::uint32_t, 8> added = {a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < 8; ++i)
        state_[i] += added[i];
}

void Hasher::update(std::string_view data) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(data.data());
    std::size_t size = data.size();
    totalSize_ += size;
    if (pendingSize_ > 0) {
        const std::size_t taken = std::min(size, pending_.size() - pendingSize_);
        std::memcpy(pending_.data() + pendingSize_, bytes, taken);
        pendingSize_ += taken;
        bytes += taken;
        size -= taken;
        if (pendingSize_ < pending_.size())
            return;
        compress(pending_.data());
        pendingSize_ = 0;
    }
    for (; size >= 64; bytes += 64, size -= 64)
        compress(bytes);
    std::memcpy(pending_.data(), bytes, size);
    pendingSize_ = size;
}

Digest Hasher::finish() {
    const std::uint64_t bits = totalSize_ * 8;
    // A one bit, zeros up to 56 bytes into a block, then the length in bits, big-endian.
    std::array<std::uint8_t, 72> tail{};
    tail[0] = 0x80;
    const std::size_t zeros = (pendingSize_ < 56 ? 56 : 120) - pendingSize_;
    for (std::size_t i = 0; i < 8; ++i)
        tail[zeros + i] = static_cast<std::uint8_t>(bits >> (56 - 8 * i));
    update(std::string_view(reinterpret_cast<const char*>(tail.data()), zeros + 8));
    Digest result{};
    for (std::size_t i = 0; i < 8; ++i) {
        for (std::size_t j = 0; j < 4; ++j)
            result[4 * i + j] = static_cast<std::uint8_t>(state_[i] >> (24 - 8 * j));
    }
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
