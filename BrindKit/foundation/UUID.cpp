#include "BrindKit/foundation/UUID.hpp"

#include "BrindKit/foundation/Hex.hpp"
#include "BrindKit/foundation/SecureRandom.hpp"

namespace brind {

namespace {

constexpr std::size_t canonicalLength = 36;

bool isDashPosition(std::size_t index) {
    return index == 8 || index == 13 || index == 18 || index == 23;
}

} // namespace

UUID UUID::random() {
    UUID uuid;
    SecureRandom::fill(uuid.bytes.data(), uuid.bytes.size());
    uuid.bytes[6] = static_cast<std::uint8_t>((uuid.bytes[6] & 0x0F) | 0x40); // version 4
    uuid.bytes[8] = static_cast<std::uint8_t>((uuid.bytes[8] & 0x3F) | 0x80); // RFC 4122 variant
    return uuid;
}

std::optional<UUID> UUID::parse(std::string_view text) {
    if (text.size() != canonicalLength)
        return std::nullopt;
    UUID uuid;
    std::size_t byte = 0;
    for (std::size_t i = 0; i < canonicalLength;) {
        if (isDashPosition(i)) {
            if (text[i] != '-')
                return std::nullopt;
            ++i;
            continue;
        }
        const int value = Hex::byteValue(text[i], text[i + 1]);
        if (value < 0)
            return std::nullopt;
        uuid.bytes[byte++] = static_cast<std::uint8_t>(value);
        i += 2;
    }
    return uuid;
}

std::string UUID::string() const {
    std::string text;
    text.reserve(canonicalLength);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            text.push_back('-');
        Hex::appendByte(text, bytes[i], Hex::Letters::upper);
    }
    return text;
}

} // namespace brind
