#pragma once

#include <string>
#include <string_view>

namespace brind::ASCII {

/// Helpers for protocol text (HTTP fields, tokens, terminal headers), which is ASCII. They never
/// touch the Unicode tables, so a short-lived program such as the `vantaquill` command does not pay
/// for loading them.

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
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

} // namespace brind::ASCII
