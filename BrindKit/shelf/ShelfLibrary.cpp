#include "BrindKit/shelf/ShelfLibrary.hpp"

#include "BrindKit/shelf/ShelfExpiry.hpp"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

namespace brind {

std::string_view toString(ShelfLibrary::DecodeError error) {
    switch (error) {
    case ShelfLibrary::DecodeError::notJSON:
        return "The shelf library is not valid JSON.";
    case ShelfLibrary::DecodeError::notALibrary:
        return "The shelf library has no version or no list of entries.";
    case ShelfLibrary::DecodeError::newerVersion:
        return "The shelf library was written by a newer version of vantaquill.";
    }
    std::unreachable();
}

std::vector<ShelfEntry> ShelfLibrary::insert(const std::vector<ShelfEntry>& newEntries) {
    std::vector<ShelfEntry> added;
    for (const auto& entry : newEntries) {
        const auto same = [&](const ShelfEntry& other) { return other.sameContent(entry); };
        if (contains(entry) || std::ranges::any_of(added, same))
            continue;
        added.push_back(entry);
    }
    entries.insert(entries.begin(), added.begin(), added.end());
    return added;
}

bool ShelfLibrary::contains(const ShelfEntry& entry) const {
    // Spelling the candidate's path the standard way once spares each comparison the work; the
    // paths on the shelf are nearly always standard already.
    ShelfEntry candidate = entry;
    if (candidate.path)
        candidate.path = ShelfEntry::standardisedPath(*candidate.path);
    return std::ranges::any_of(entries, [&](const ShelfEntry& other) { return other.sameContent(candidate); });
}

std::vector<ShelfEntry> ShelfLibrary::expire(double olderThanHours, Date now) {
    // Decided per entry, not by matching identifiers afterwards: a library read from disk may hold two
    // entries with one identifier, and only the old one may go.
    const auto gone = std::ranges::stable_partition(entries, [&](const ShelfEntry& entry) {
        return !ShelfExpiry::isExpired(entry, olderThanHours, now);
    });
    std::vector<ShelfEntry> expired(std::make_move_iterator(gone.begin()),
                                    std::make_move_iterator(gone.end()));
    entries.erase(gone.begin(), gone.end());
    return expired;
}

std::string ShelfLibrary::encoded() const {
    JSON list = JSON::array();
    for (const auto& entry : entries)
        list.push_back(entry.json());
    JSON object = JSON::object();
    object["version"] = version;
    object["entries"] = std::move(list);
    return JSONText::pretty(object);
}

std::expected<ShelfLibrary, ShelfLibrary::DecodeError> ShelfLibrary::read(std::string_view bytes) {
    const auto parsed = JSONText::parse(bytes);
    if (!parsed)
        return std::unexpected(DecodeError::notJSON);
    const JSON* version = JSONRead::member(*parsed, "version");
    const JSON* list = JSONRead::member(*parsed, "entries");
    if (!version || !version->is_number_integer() || !list || !list->is_array())
        return std::unexpected(DecodeError::notALibrary);
    // Compare in the JSON's own integer type so that a huge version cannot wrap into a small one.
    if (version->is_number_unsigned() ? version->get<std::uint64_t>() > currentVersion
                                      : version->get<std::int64_t>() > currentVersion)
        return std::unexpected(DecodeError::newerVersion);

    ShelfLibrary library;
    for (const auto& item : *list) {
        if (auto entry = ShelfEntry::fromJSON(item))
            library.entries.push_back(std::move(*entry));
    }
    return library;
}

ShelfLibrary ShelfLibrary::decode(std::string_view bytes) {
    return read(bytes).value_or(ShelfLibrary{});
}

} // namespace brind
