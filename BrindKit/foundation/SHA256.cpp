#include "BrindKit/foundation/SHA256.hpp"

#include "BrindKit/foundation/Hex.hpp"

#include <openssl/evp.h>

namespace brind::SHA256 {

Digest digest(std::string_view data) {
    Digest result{};
    unsigned int length = 0;
    EVP_Digest(data.data(), data.size(), result.data(), &length, EVP_sha256(), nullptr);
    return result;
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
