#pragma once

#include "vantaquill/Scheduler.hpp"
#include "vantaquill/ShelfStore.hpp"

#include <memory>

namespace vq {

/// Clears the shelf's unpinned entries once they are older than "shelf.autoClearHours": a sweep at
/// start, at each change of the shelf or the setting, and one timer set for the moment the oldest
/// unpinned entry expires, so nothing wakes the island in between and nothing at all while the
/// setting is 0 (never) or every entry is pinned. The store tells of what a sweep took off
/// (`ShelfStore::onCleared`).
class ShelfAutoClear {
  public:
    /// A sweep runs this long after the oldest entry's expiry: an entry is kept until it is strictly
    /// older than the limit, so a sweep at the very moment would find nothing and set the same moment.
    static constexpr double margin = 1;

    ShelfAutoClear(ShelfStore& store, Scheduler& scheduler) : store_(store), scheduler_(scheduler) {}

    /// Follows the setting: hours after which unpinned entries go; 0 or less clears nothing.
    void setHours(double hours);
    /// Sweeps and sets the timer again; called after every change of the shelf.
    void shelfChanged();

  private:
    void sweep();

    ShelfStore& store_;
    Scheduler& scheduler_;
    double hours_ = 0;
    bool sweeping_ = false;
    std::unique_ptr<Scheduler::Timer> timer_;
};

} // namespace vq
