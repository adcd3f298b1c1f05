#pragma once

#include <cstdint>
#include <string>

namespace brind::Hex {

/// The value of one hexadecimal digit in either case, or -1 for any other character.
constexpr int digitValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

/// The byte written as two hexadecimal digits, or -1 when either is not one.
constexpr int byteValue(char high, char low) {
    const int highValue = digitValue(high);
    const int lowValue = digitValue(low);
    if (highValue < 0 || lowValue < 0)
        return -1;
    return highValue << 4 | lowValue;
}

enum class Letters { lower, upper };

/// Appends the two hexadecimal digits of a byte.
inline void appendByte(std::string& out, std::uint8_t byte, Letters letters = Letters::lower) {
    const char* digits = letters == Letters::upper ? "0123456789ABCDEF" : "0123456789abcdef";
    out.push_back(digits[byte >> 4]);
    out.push_back(digits[byte & 0x0F]);
}

} // namespace brind::Hex
