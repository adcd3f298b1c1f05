#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/foundation/UUID.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// One item on the shelf: a dropped file, a text snippet or a link.
struct ShelfEntry {
    enum class Kind { file, text, link };

    /// Titles of new text entries are cut to this many characters unless the caller says otherwise.
    static constexpr std::size_t defaultTitleLimit = 60;

    UUID id{};
    Kind kind = Kind::file;
    std::optional<std::string> path{};     ///< absolute file path (files)
    std::optional<std::string> bookmark{}; ///< opaque bytes that find the file again after a move
    std::optional<std::string> text{};     ///< the snippet (text) or the URL text (link)
    std::string title{};
    Date addedAt{};
    bool owned = false;  ///< the shelf created the file itself (a copy or a conversion)
    bool pinned = false; ///< never expires and survives clearing

    /// The "file://" URL of `path`, when there is one.
    std::optional<std::string> fileURL() const;

    /// The lower-cased extension of a file entry's path ("pdf"), or "" for anything else.
    std::string fileExtension() const;

    /// The first non-blank line, trimmed and cut to `limit` characters; "Text" when there is none.
    static std::string titleForText(std::string_view text, std::size_t limit = defaultTitleLimit);

    /// The URL's host without a leading "www."; the text itself when it is not a URL with a host.
    static std::string titleForLink(std::string_view link);

    /// True when both entries hold the same thing: equal texts, or the same file however its path
    /// is spelled ("/a/./b" and "/a/c/../b" are one file).
    bool sameContent(const ShelfEntry& other) const;

    /// "/a/c/../b/./d" -> "/a/b/d": "." and ".." resolved and repeated or trailing "/" dropped,
    /// without touching the disk.
    static std::string standardisedPath(std::string_view path);

    /// The stored form: exactly the fields' names as keys, absent optionals left out, the date in
    /// ISO 8601 and the bookmark in base64.
    JSON json() const;

    /// Reads the stored form. The identifier, kind and date must be readable; flags and title fall
    /// back to their defaults; optional texts of the wrong type count as absent.
    static std::optional<ShelfEntry> fromJSON(const JSON& value);

    friend bool operator==(const ShelfEntry&, const ShelfEntry&) = default;
};

std::string_view name(ShelfEntry::Kind kind);
std::optional<ShelfEntry::Kind> shelfEntryKindNamed(std::string_view name);

} // namespace brind
