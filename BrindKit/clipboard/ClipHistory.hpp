#pragma once

#include "BrindKit/clipboard/ClipItem.hpp"
#include "BrindKit/clipboard/ClipSearch.hpp"
#include "BrindKit/clipboard/ClipSettings.hpp"
#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/UUID.hpp"

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace brind {

/// The clipboard history, newest first. It de-duplicates by content hash, never drops pinned
/// items, and keeps unpinned ones within the item and age limits of the settings.
class ClipHistory {
public:
    struct InsertResult {
        ClipItem item;            ///< the item as stored
        bool deduped = false;     ///< an item with the same content was refreshed instead
        std::vector<ClipItem> removed; ///< dropped by the limits; their side files must go too

        friend bool operator==(const InsertResult&, const InsertResult&) = default;
    };

    enum class PinnedItems { remove, keep };

    ClipHistory() = default;
    explicit ClipHistory(std::vector<ClipItem> items);

    /// Newest first.
    const std::deque<ClipItem>& items() const { return items_; }

    /// Puts a new capture at the front, or refreshes the item with the same content hash and moves
    /// it there, then applies retention.
    InsertResult insert(ClipItem item, const ClipSettings& settings, Date now);

    /// Removes unpinned items older than `maxDays` days, then unpinned items beyond `maxItems`;
    /// returns them, age removals first.
    std::vector<ClipItem> applyRetention(const ClipSettings& settings, Date now);

    /// Marks an item as used again (pasted from the history): it moves to the front.
    /// False when no item has that id.
    bool touch(const UUID& id, Date now);

    bool setPinned(const UUID& id, bool pinned);
    std::optional<ClipItem> remove(const UUID& id);
    std::vector<ClipItem> clear(PinnedItems pinned);

    const ClipItem* item(const UUID& id) const;
    bool contains(std::string_view contentHash) const;

    /// Pinned items first, each group in list order.
    std::vector<ClipItem> ordered() const;

    /// `ordered` items of the given kind (all kinds without one), ranked by the query; an empty
    /// query keeps the order. The results point into the history: they are valid until it next
    /// changes, and cost no copy of texts that may run to megabytes.
    std::vector<const ClipItem*> search(std::string_view query, std::optional<ClipKind> kind = std::nullopt) const;

    friend bool operator==(const ClipHistory& a, const ClipHistory& b) { return a.items_ == b.items_; }

private:
    std::deque<ClipItem> items_;
    // Content hashes of the items, counted, so a new capture is told apart without a scan; with the
    // id of the front-most item carrying each, so a copy is found by comparing ids, not hashes.
    struct HashUse {
        std::size_t count = 0;
        UUID front;
    };
    std::unordered_map<std::string, HashUse> hashUses_;
    // Search data per item, by id. An item's text never changes once captured; every change that
    // adds, refreshes or removes an item drops its entry.
    struct IDHash {
        std::size_t operator()(const UUID& id) const noexcept;
    };
    mutable std::unordered_map<UUID, ClipSearch::Prepared, IDHash> searchCache_;

    void added(const ClipItem& item);
    void removedItem(const ClipItem& item);
    std::deque<ClipItem>::iterator itemWithHash(const std::string& contentHash);
    std::vector<const ClipItem*> orderedPointers() const;
};

} // namespace brind
