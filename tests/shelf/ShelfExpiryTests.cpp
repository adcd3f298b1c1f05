#include "BrindKit/shelf/ShelfExpiry.hpp"

#include "tests/shelf/ShelfEntries.hpp"

#include <gtest/gtest.h>

#include <cmath>

using brind::Date;
using brind::ShelfEntry;
namespace ShelfExpiry = brind::ShelfExpiry;

namespace {

constexpr double hour = 3600;

ShelfEntry entry(Date addedAt, bool pinned = false) { return brindtest::fileEntry("/e", addedAt, pinned); }

} // namespace

TEST(ShelfExpiry, ExpiresUnpinnedEntriesStrictlyOlderThanTheLimit) {
    const Date now{1000 * hour};
    const std::vector<ShelfEntry> entries = {
        entry(now - 24 * hour),           // exactly at the limit: stays
        entry(now - 24 * hour - 0.001),   // just past it: goes
        entry(now - 7 * 24 * hour, true), // pinned: stays forever
        entry(now + hour),                // from the future: stays
    };
    const auto expired = ShelfExpiry::expired(entries, 24, now);
    ASSERT_EQ(expired.size(), 1u);
    EXPECT_EQ(expired[0].id, entries[1].id);

    for (const double off : {0.0, -5.0, std::nan("")})
        EXPECT_TRUE(ShelfExpiry::expired(entries, off, now).empty()) << off;
    EXPECT_EQ(ShelfExpiry::expired(entries, 0.5, now).size(), 2u) << "fractions of hours count";
}

TEST(ShelfExpiry, NextSweepIsTheEarliestUnpinnedExpiry) {
    const std::vector<ShelfEntry> entries = {entry(Date{5 * hour}), entry(Date{1 * hour}, true), entry(Date{3 * hour})};
    EXPECT_EQ(ShelfExpiry::next(entries, 2), Date{5 * hour});
    EXPECT_EQ(ShelfExpiry::next(entries, 0), std::nullopt);
    EXPECT_EQ(ShelfExpiry::next({entry(Date{hour}, true)}, 2), std::nullopt);
    EXPECT_EQ(ShelfExpiry::next({}, 2), std::nullopt);
}

TEST(ShelfExpiry, BadgeShowsCountsUpTo99) {
    const std::vector<std::pair<int, std::optional<std::string>>> cases = {
        {-3, std::nullopt}, {0, std::nullopt}, {1, "1"}, {42, "42"}, {99, "99"}, {100, "99+"}, {12345, "99+"},
    };
    for (const auto& [count, badge] : cases)
        EXPECT_EQ(ShelfExpiry::badge(count), badge) << count;
}
