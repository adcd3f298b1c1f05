#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/ShelfAutoClear.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace vq;

namespace {

std::vector<std::string> titles(const ShelfStore& store) {
    std::vector<std::string> shown;
    for (const auto& entry : store.library().entries)
        shown.push_back(entry.title);
    return shown;
}

} // namespace

// Unpinned entries leave the shelf once older than the setting, each at its own moment, with one
// timer at a time and none when nothing can expire.
TEST(ShelfAutoClear, ClearsEachUnpinnedEntryWhenItExpiresWithOneTimerAtATime) {
    brindtest::TemporaryFolder folder;
    ManualScheduler scheduler;
    ShelfStore store(folder.path());
    ShelfAutoClear autoClear(store, scheduler);
    std::vector<std::string> cleared;
    store.onCleared = [&](const std::vector<brind::ShelfEntry>& entries) {
        for (const auto& entry : entries)
            cleared.push_back(entry.title);
    };
    store.onChange = [&] { autoClear.shelfChanged(); };

    store.addText("first note", scheduler.now());
    scheduler.advance(600);
    store.addText("second note", scheduler.now());
    EXPECT_EQ(scheduler.pendingCount(), 0u) << "the setting is 0: nothing ever expires";

    autoClear.setHours(1);
    EXPECT_EQ(scheduler.pendingCount(), 1u);
    scheduler.advance(3000); // the first note is exactly an hour old: kept until it is older
    EXPECT_TRUE(cleared.empty());
    scheduler.advance(ShelfAutoClear::margin);
    EXPECT_EQ(cleared, std::vector<std::string>{"first note"});
    EXPECT_EQ(titles(store), std::vector<std::string>{"second note"});
    EXPECT_EQ(scheduler.pendingCount(), 1u);
    scheduler.advance(600);
    EXPECT_EQ(cleared, (std::vector<std::string>{"first note", "second note"}));
    EXPECT_EQ(scheduler.pendingCount(), 0u);
    // Saved as it went: a new start reads the empty shelf.
    EXPECT_TRUE(titles(ShelfStore(folder.path())).empty());

    // Switched off, a new entry sets no timer.
    autoClear.setHours(0);
    store.addText("third note", scheduler.now());
    EXPECT_EQ(scheduler.pendingCount(), 0u);
}
