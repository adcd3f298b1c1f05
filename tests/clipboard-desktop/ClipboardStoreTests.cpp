#include "BrindKit/clipboard/ClipPrivacy.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/clipboard/ClipFlavourMapping.hpp"
#include "vantaquill/clipboard/ClipboardStore.hpp"

#include <gtest/gtest.h>

namespace vq {
namespace {

namespace fs = std::filesystem;

brind::ClipSnapshot textCopy(const std::string& text, std::optional<std::string> source = std::nullopt) {
    brind::ClipSnapshot snapshot;
    snapshot.types = snapshot.allTypes = {"public.utf8-plain-text"};
    snapshot.string = text;
    snapshot.sourceBundleID = std::move(source);
    return snapshot;
}

brind::ClipSnapshot pngCopy(const std::string& bytes) {
    brind::ClipSnapshot snapshot;
    snapshot.types = snapshot.allTypes = {"public.png"};
    snapshot.image = bytes;
    snapshot.imageType = "public.png";
    return snapshot;
}

// The whole file; empty when it cannot be read.
std::string contents(const fs::path& file) {
    return brind::AtomicFile::read(file).value_or("");
}

std::vector<std::string> sideFilesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (brind::ClipArchive::isSafeName(entry.path().filename().string()))
            names.push_back(entry.path().filename().string());
    }
    return names;
}

class ClipboardStoreTests : public ::testing::Test {
  protected:
    brindtest::TemporaryFolder temporary{"vantaquill-clipboard"};
    fs::path folder = temporary.path() / "Clipboard";
    ManualScheduler scheduler;
};

TEST_F(ClipboardStoreTests, SavesABurstOfCopiesOnceAfterTheDebounceAndLoadsThemAgain) {
    {
        ClipboardStore store({folder}, scheduler, {});
        store.capture(textCopy("first"));
        scheduler.advance(0.5);
        store.capture(textCopy("second"));
        scheduler.advance(0.7);
        EXPECT_FALSE(fs::exists(folder / "index.json")) << "the second copy restarts the wait";
        scheduler.advance(0.1);
        ASSERT_TRUE(fs::exists(folder / "index.json"));
        EXPECT_NE(contents(folder / "index.json").find("second"), std::string::npos);
        store.capture(textCopy("third"));
    } // quitting writes the pending save
    ClipboardStore reloaded({folder}, scheduler, {});
    ASSERT_EQ(reloaded.history().items().size(), 3u);
    EXPECT_EQ(reloaded.history().items().front().text, "third");
}

// Marker types, the island's own writes and KeePassXC by its window class are skipped in the
// watchers' tests.
TEST_F(ClipboardStoreTests, CopiesFromLinuxPasswordManagersLeaveTheHistoryAndTheDiskAlone) {
    ClipboardStore store({folder}, scheduler, {});
    std::optional<brind::ClipSkipReason> heard;
    store.onSkip = [&](brind::ClipSkipReason reason) { heard = reason; };
    EXPECT_FALSE(store.capture(textCopy("hunter2", "org.gnome.World.Secrets")));
    EXPECT_EQ(store.lastSkip(), brind::ClipSkipReason::passwordManager);
    EXPECT_EQ(heard, brind::ClipSkipReason::passwordManager);
    EXPECT_TRUE(store.history().items().empty());
    store.flush();
    EXPECT_FALSE(fs::exists(folder)) << "nothing is written for a skipped copy";
    EXPECT_TRUE(store.capture(textCopy("hello", "keepassxcfan")));
}

TEST_F(ClipboardStoreTests, ImageSideFilesFollowTheirItems) {
    ClipboardStore store({folder}, scheduler, {});
    const auto first = store.capture(pngCopy("png bytes one"));
    ASSERT_TRUE(first && first->imageFile);
    EXPECT_EQ(contents(folder / *first->imageFile), "png bytes one");

    const auto again = store.capture(pngCopy("png bytes one"));
    ASSERT_TRUE(again);
    EXPECT_EQ(again->id, first->id);
    EXPECT_EQ(sideFilesIn(folder).size(), 1u) << "a copy of a kept image writes no second file";

    store.capture(pngCopy("png bytes two"));
    EXPECT_EQ(sideFilesIn(folder).size(), 2u);
    auto settings = store.settings();
    settings.maxItems = 1;
    store.setSettings(settings);
    ASSERT_EQ(store.history().items().size(), 1u);
    EXPECT_EQ(sideFilesIn(folder), std::vector{*store.history().items().front().imageFile});
}

TEST_F(ClipboardStoreTests, CopyBackOffersEveryKeptFlavourWithTheMarkerAndMovesTheItemUp) {
    ClipboardStore store({folder}, scheduler, {});
    const auto image = store.capture(pngCopy("png bytes"));
    const auto text = store.capture(textCopy("some text"));
    ASSERT_TRUE(image && text);

    scheduler.advance(5);
    const auto flavours = store.copyBack(image->id);
    ASSERT_TRUE(flavours);
    EXPECT_EQ(*flavours,
              (ClipFlavours{{"image/png", "png bytes"},
                            {std::string(ClipFlavourMapping::ownMarkerMimeType), image->id.string()}}));
    EXPECT_EQ(store.history().items().front().id, image->id);
    EXPECT_EQ(store.history().items().front().useCount, 1);

    fs::remove(folder / *image->imageFile);
    EXPECT_FALSE(store.copyBack(image->id)) << "an image whose file has gone cannot be offered";
    EXPECT_FALSE(store.copyBack(brind::UUID::random()));
}

} // namespace
} // namespace vq
