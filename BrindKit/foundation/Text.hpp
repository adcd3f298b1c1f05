#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace brind::Text {

/// Unicode helpers over UTF-8 text, built on ICU. "Characters" are user-perceived characters
/// (extended grapheme clusters): "é" written as e + combining accent is one, and so is a flag emoji.

std::size_t graphemeCount(std::string_view text);

/// The first `count` user-perceived characters (the whole text when it has fewer).
std::string graphemePrefix(std::string_view text, std::size_t count);

/// Full Unicode case mapping in the root locale ("Straße" upper-cases to "STRASSE").
std::string lowercased(std::string_view text);
/// `text` lower-cased in place, as `lowercased` would; ASCII text is not copied.
void lowercase(std::string& text);
std::string uppercased(std::string_view text);

/// Removes Unicode white space and line breaks from both ends.
std::string trimmed(std::string_view text);

bool isWhitespace(char32_t scalar);
bool isLetterOrDigit(char32_t scalar);

/// True when `text` is well-formed UTF-8.
bool isValidUTF8(std::string_view text);

/// Replaces every ill-formed UTF-8 sequence with U+FFFD.
std::string repairedUTF8(std::string_view text);

} // namespace brind::Text
