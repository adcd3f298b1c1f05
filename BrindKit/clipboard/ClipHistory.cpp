#include "BrindKit/clipboard/ClipHistory.hpp"

#include "BrindKit/foundation/Text.hpp"

#include <algorithm>
#include <cstring>

namespace brind {

namespace {

constexpr double secondsPerDay = 86400;

} // namespace

ClipHistory::ClipHistory(std::vector<ClipItem> items) : items_(std::make_move_iterator(items.begin()),
                                                               std::make_move_iterator(items.end())) {
    // Back to front, so that of several items with one hash the front-most is remembered.
    for (auto item = items_.rbegin(); item != items_.rend(); ++item)
        added(*item);
}

// Every caller adds the item at the front.
void ClipHistory::added(const ClipItem& item) {
    HashUse& use = hashUses_[item.contentHash];
    ++use.count;
    use.front = item.id;
}

void ClipHistory::removedItem(const ClipItem& item) {
    const auto found = hashUses_.find(item.contentHash);
    if (found != hashUses_.end() && --found->second.count == 0)
        hashUses_.erase(found);
    searchCache_.erase(item.id);
}

std::deque<ClipItem>::iterator ClipHistory::itemWithHash(const std::string& contentHash) {
    const auto use = hashUses_.find(contentHash);
    if (use == hashUses_.end())
        return items_.end();
    // Ids sit inline at the start of each item, where a hash needs a second memory access.
    const auto byID = std::ranges::find(items_, use->second.front, &ClipItem::id);
    if (byID != items_.end() && byID->contentHash == contentHash)
        return byID;
    // The remembered item is gone while others with its hash remain (a list loaded with copies).
    return std::ranges::find(items_, contentHash, &ClipItem::contentHash);
}

std::size_t ClipHistory::IDHash::operator()(const UUID& id) const noexcept {
    // Random identifiers: their first eight bytes are already a good hash.
    std::size_t value = 0;
    std::memcpy(&value, id.bytes.data(), sizeof value);
    return value;
}

ClipHistory::InsertResult ClipHistory::insert(ClipItem item, const ClipSettings& settings, Date now) {
    InsertResult result;
    if (const auto existing = itemWithHash(item.contentHash); existing != items_.end()) {
        ClipItem refreshed = std::move(*existing);
        items_.erase(existing);
        refreshed.lastUsed = now;
        ++refreshed.useCount;
        if (!refreshed.sourceBundleID) {
            refreshed.sourceBundleID = item.sourceBundleID;
            refreshed.sourceAppName = item.sourceAppName;
        }
        // The source application's name may have changed, and search reads it.
        searchCache_.erase(refreshed.id);
        hashUses_[refreshed.contentHash].front = refreshed.id;
        items_.push_front(std::move(refreshed));
        result.deduped = true;
    } else {
        added(item);
        searchCache_.erase(item.id);
        items_.push_front(std::move(item));
    }
    result.removed = applyRetention(settings, now);
    result.item = items_.front();
    return result;
}

std::vector<ClipItem> ClipHistory::applyRetention(const ClipSettings& settings, Date now) {
    // Indices first, removal after: the age and count rules both read the list as it was.
    std::vector<std::size_t> aged;
    std::vector<std::size_t> excess;
    const bool ageLimited = settings.maxDays >= 1;
    const Date cutoff = now - static_cast<double>(settings.maxDays) * secondsPerDay;
    const auto limit = static_cast<std::size_t>(std::max<std::int64_t>(settings.maxItems, 1));
    // Without an age limit, a history within the count limit has nothing to drop: no need to look.
    if (!ageLimited && items_.size() <= limit)
        return {};
    std::size_t unpinned = 0;
    for (std::size_t index = 0; index < items_.size(); ++index) {
        const ClipItem& item = items_[index];
        if (item.pinned)
            continue;
        if (ageLimited && item.lastUsed < cutoff)
            aged.push_back(index);
        else if (++unpinned > limit)
            excess.push_back(index);
    }
    if (aged.empty() && excess.empty())
        return {};

    std::vector<ClipItem> removed;
    removed.reserve(aged.size() + excess.size());
    for (const std::size_t index : aged)
        removed.push_back(items_[index]);
    for (const std::size_t index : excess)
        removed.push_back(items_[index]);
    for (const ClipItem& item : removed)
        removedItem(item);

    std::vector<std::size_t> doomed = aged;
    doomed.insert(doomed.end(), excess.begin(), excess.end());
    std::ranges::sort(doomed);
    // A capture into a full history drops one item near the end, which the deque erases cheaply;
    // many removals at once rebuild the list in one pass instead.
    constexpr std::size_t eraseOneByOneLimit = 8;
    if (doomed.size() <= eraseOneByOneLimit) {
        for (auto index = doomed.rbegin(); index != doomed.rend(); ++index)
            items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(*index));
        return removed;
    }
    std::deque<ClipItem> kept;
    std::size_t next = 0;
    for (std::size_t index = 0; index < items_.size(); ++index) {
        if (next < doomed.size() && doomed[next] == index) {
            ++next;
            continue;
        }
        kept.push_back(std::move(items_[index]));
    }
    items_ = std::move(kept);
    return removed;
}

bool ClipHistory::touch(const UUID& id, Date now) {
    const auto found = std::ranges::find(items_, id, &ClipItem::id);
    if (found == items_.end())
        return false;
    ClipItem touched = std::move(*found);
    items_.erase(found);
    touched.lastUsed = now;
    ++touched.useCount;
    hashUses_[touched.contentHash].front = touched.id;
    items_.push_front(std::move(touched));
    return true;
}

bool ClipHistory::setPinned(const UUID& id, bool pinned) {
    const auto found = std::ranges::find(items_, id, &ClipItem::id);
    if (found == items_.end())
        return false;
    found->pinned = pinned;
    return true;
}

std::optional<ClipItem> ClipHistory::remove(const UUID& id) {
    const auto found = std::ranges::find(items_, id, &ClipItem::id);
    if (found == items_.end())
        return std::nullopt;
    ClipItem removed = std::move(*found);
    items_.erase(found);
    removedItem(removed);
    return removed;
}

std::vector<ClipItem> ClipHistory::clear(PinnedItems pinned) {
    std::vector<ClipItem> removed;
    std::deque<ClipItem> kept;
    for (ClipItem& item : items_) {
        if (pinned == PinnedItems::keep && item.pinned) {
            kept.push_back(std::move(item));
            continue;
        }
        removedItem(item);
        removed.push_back(std::move(item));
    }
    items_ = std::move(kept);
    return removed;
}

const ClipItem* ClipHistory::item(const UUID& id) const {
    const auto found = std::ranges::find(items_, id, &ClipItem::id);
    return found == items_.end() ? nullptr : &*found;
}

bool ClipHistory::contains(std::string_view contentHash) const {
    return hashUses_.contains(std::string(contentHash));
}

std::vector<const ClipItem*> ClipHistory::orderedPointers() const {
    std::vector<const ClipItem*> result;
    result.reserve(items_.size());
    for (const ClipItem& item : items_) {
        if (item.pinned)
            result.push_back(&item);
    }
    for (const ClipItem& item : items_) {
        if (!item.pinned)
            result.push_back(&item);
    }
    return result;
}

std::vector<ClipItem> ClipHistory::ordered() const {
    std::vector<ClipItem> result;
    result.reserve(items_.size());
    for (const ClipItem* item : orderedPointers())
        result.push_back(*item);
    return result;
}

std::vector<const ClipItem*> ClipHistory::search(std::string_view query, std::optional<ClipKind> kind) const {
    std::vector<const ClipItem*> candidates = orderedPointers();
    if (kind)
        std::erase_if(candidates, [&](const ClipItem* item) { return item->kind != *kind; });

    const auto queryTokens = ClipSearch::tokens(Text::trimmed(query));
    if (queryTokens.empty())
        return candidates;

    std::vector<std::pair<int, std::size_t>> scored;
    for (std::size_t position = 0; position < candidates.size(); ++position) {
        const ClipItem& item = *candidates[position];
        auto [entry, inserted] = searchCache_.try_emplace(item.id);
        if (inserted)
            entry->second = ClipSearch::prepare(item);
        const int points = ClipSearch::score(item, entry->second, queryTokens);
        if (points > 0)
            scored.emplace_back(points, position);
    }
    // Best score first; equal scores keep the display order.
    std::ranges::sort(scored, [](const auto& a, const auto& b) {
        return a.first != b.first ? a.first > b.first : a.second < b.second;
    });
    std::vector<const ClipItem*> result;
    result.reserve(scored.size());
    for (const auto& [points, position] : scored)
        result.push_back(candidates[position]);
    return result;
}

} // namespace brind
