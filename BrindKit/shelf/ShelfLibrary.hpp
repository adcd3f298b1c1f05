#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/shelf/ShelfEntry.hpp"

#include <expected>
#include <string>
#include <string_view>
#include <vector>

namespace brind {

/// The persisted shelf: its entries in tray order (newest first) and the format version they were
/// written with.
struct ShelfLibrary {
    static constexpr int currentVersion = 1;

    enum class DecodeError { notJSON, notALibrary, newerVersion };

    int version = currentVersion;
    std::vector<ShelfEntry> entries{};

    /// Adds the entries whose content is not on the shelf yet (nor earlier in the same batch), in
    /// their given order, in front of the existing ones; returns those that were added.
    std::vector<ShelfEntry> insert(const std::vector<ShelfEntry>& newEntries);

    /// True when an entry with the same content is already on the shelf.
    bool contains(const ShelfEntry& entry) const;

    /// Removes the unpinned entries older than `hours` and returns them, so that the caller can
    /// delete the files the shelf owns. Nothing expires when `hours` is 0 or less.
    std::vector<ShelfEntry> expire(double olderThanHours, Date now);

    /// The stored form: {"version": 1, "entries": [...]}, dates in ISO 8601.
    std::string encoded() const;

    /// Reads the stored form, saying why when it cannot: the caller may want to keep an unreadable
    /// or newer file aside instead of overwriting it. Unreadable entries are left out; the others are
    /// kept.
    static std::expected<ShelfLibrary, DecodeError> read(std::string_view bytes);

    /// Reads the stored form; anything unreadable, and anything written by a newer version, gives an
    /// empty library of the current version so that a newer file is never half-read.
    static ShelfLibrary decode(std::string_view bytes);

    friend bool operator==(const ShelfLibrary&, const ShelfLibrary&) = default;
};

std::string_view toString(ShelfLibrary::DecodeError error);

} // namespace brind
