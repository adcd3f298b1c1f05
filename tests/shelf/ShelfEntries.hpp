#pragma once

// Shelf entries as the tests build them: a fresh identity, and only the fields a test names.

#include "BrindKit/shelf/ShelfEntry.hpp"

namespace brindtest {

inline brind::ShelfEntry fileEntry(std::optional<std::string> path, brind::Date addedAt = brind::Date{1000},
                                   bool pinned = false) {
    return {.id = brind::UUID::random(), .path = std::move(path), .addedAt = addedAt, .pinned = pinned};
}

inline brind::ShelfEntry textEntry(std::optional<std::string> text,
                                   brind::ShelfEntry::Kind kind = brind::ShelfEntry::Kind::text) {
    return {.id = brind::UUID::random(), .kind = kind, .text = std::move(text)};
}

} // namespace brindtest
