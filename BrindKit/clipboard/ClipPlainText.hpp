#pragma once

#include <string>
#include <string_view>

namespace brind::ClipPlainText {

/// Prepares text for pasting: unifies line endings to "\n", turns no-break spaces into blanks and
/// Unicode line and paragraph separators into newlines, and removes invisible zero-width
/// characters and soft hyphens.
std::string normalize(std::string_view text);

/// The visible text of an RTF document, trimmed. A small reader, not an RTF engine: it drops
/// font, colour, style, list, picture and other non-text groups, decodes "\'xx" escapes as
/// Windows-1252 and "\uN" as Unicode, and turns paragraph and line breaks into "\n". Bytes that
/// are not UTF-8 are read as Mac OS Roman. Never fails; unreadable input gives "".
std::string stripRTF(std::string_view data);

} // namespace brind::ClipPlainText
