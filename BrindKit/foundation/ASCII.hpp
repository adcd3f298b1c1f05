#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace brind::ASCII {

/// Helpers for protocol text (HTTP fields, tokens, terminal headers), which is ASCII. They never
/// touch the Unicode tables, so a short-lived program such as the `vantaquill` command does not pay
/// for loading them.

constexpr bool isLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

constexpr bool isAlphanumeric(char c) {
    return isLetter(c) || isDigit(c);
}

/// "A" to "Z" lower-cased; every other byte kept.
constexpr char lowercased(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// "a" to "z" upper-cased; every other byte kept.
constexpr char uppercased(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

/// How many bytes at the start of `text` are ASCII. Protocol text is mostly ASCII, so it is passed
/// over eight bytes at a time.
inline std::size_t prefixLength(std::string_view text) {
    std::size_t length = 0;
    for (; length + 8 <= text.size(); length += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + length, 8);
        if (word & 0x8080808080808080ull)
            break;
    }
    while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80)
        ++length;
    return length;
}

/// Without spaces, tabs and line breaks at either end.
inline std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// "A" to "Z" lower-cased; every other byte kept.
inline std::string lowercased(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = lowercased(c);
    return result;
}

/// "a" to "z" upper-cased; every other byte kept.
inline std::string uppercased(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = uppercased(c);
    return result;
}

/// Equal once "A" to "Z" are lower-cased on both sides.
constexpr bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t index = 0; index < a.size(); ++index) {
        if (lowercased(a[index]) != lowercased(b[index]))
            return false;
    }
    return true;
}

} // namespace brind::ASCII
