#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace brind::ShelfNaming {

/// The longest file name, in bytes, that Linux file systems store.
inline constexpr std::size_t maxNameBytes = 255;

/// How many numbered names `unique` tries before it gives up.
inline constexpr long long maxNumberedAttempts = 100000;

/// A file name split at its last dot; a leading dot (".profile") or a final one ("notes.") does not
/// start an extension.
struct SplitName {
    std::string_view base;
    std::string_view extension; ///< without the dot; empty when there is none
};

SplitName split(std::string_view name);

/// `name` when `exists(name)` is false; otherwise the first free "base (k).ext". A base that ends
/// in " <digits>" continues from that number ("report 7.pdf" -> "report (8).pdf"); any other base
/// starts at 2. A base that already ends in a parenthesised number keeps it and gets another
/// ("report (2).pdf" -> "report (2) (2).pdf"). Nothing when no free name turns up.
std::optional<std::string> unique(std::string_view name, const std::function<bool(std::string_view)>& exists);

/// The name a rename should use: trimmed, "/" (and NUL) replaced by "-", leading dots removed so the
/// file cannot turn hidden, and cut to 255 bytes keeping the extension. Nothing when the result is
/// empty or equals `currentName` (there is nothing to rename).
std::optional<std::string> sanitisedRename(std::string_view proposedName, std::string_view currentName);

} // namespace brind::ShelfNaming
