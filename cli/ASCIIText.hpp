#pragma once

#include <string>
#include <string_view>

namespace vq::ASCIIText {

/// Protocol text (HTTP field names and values, tokens) is ASCII: these helpers avoid loading the
/// Unicode tables, which would cost the command a measurable part of its start-up.

/// Removes spaces, tabs and line breaks from both ends.
inline std::string trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return std::string(text.substr(first, text.find_last_not_of(blanks) - first + 1));
}

inline std::string lowercased(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

} // namespace vq::ASCIIText
