#include "BrindKit/shelf/ShelfLibrary.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/shelf/ShelfEntries.hpp"

#include <gtest/gtest.h>

using brind::Date;
using brind::JSON;
using brind::ShelfEntry;
using brind::ShelfLibrary;

namespace {

ShelfEntry file(std::string path, Date addedAt = Date{1000}) {
    return brindtest::fileEntry(std::move(path), addedAt);
}
ShelfEntry snippet(std::string text) { return brindtest::textEntry(std::move(text)); }

std::vector<std::string> paths(const ShelfLibrary& library) {
    std::vector<std::string> result;
    for (const auto& entry : library.entries)
        result.push_back(entry.path.value_or(entry.text.value_or("?")));
    return result;
}

std::string dataFile(const std::string& name) {
    return brind::AtomicFile::read(std::string(BRIND_TEST_DATA) + "/shelf/" + name).value();
}

} // namespace

TEST(ShelfLibrary, InsertsNewContentAtTheFrontAndSkipsDuplicates) {
    ShelfLibrary library{.entries = {file("/old")}};
    const auto added = library.insert({file("/a"), snippet("note"), file("/home/../a"), file("/old/."), snippet("note")});
    ASSERT_EQ(added.size(), 2u) << "duplicates of the shelf and of the same batch are skipped";
    EXPECT_EQ(added[0].path, "/a");
    EXPECT_EQ(added[1].text, "note");
    EXPECT_EQ(paths(library), (std::vector<std::string>{"/a", "note", "/old"}));

    // The same file through a second spelling of its path is on the shelf already.
    EXPECT_TRUE(library.contains(file("/tmp/../a")));
    EXPECT_TRUE(library.insert({file("/./a")}).empty());
    EXPECT_FALSE(library.contains(snippet("other")));
}

TEST(ShelfLibrary, ExpireRemovesAndReturnsExactlyTheExpiredEntries) {
    const Date now{100 * 3600};
    auto pinned = file("/pinned", now - 7 * 24 * 3600);
    pinned.pinned = true;
    ShelfLibrary library{.entries = {file("/fresh", now - 3600), file("/old", now - 30 * 3600), pinned,
                                     file("/boundary", now - 24 * 3600)}};
    const auto removed = library.expire(24, now);
    ASSERT_EQ(removed.size(), 1u);
    EXPECT_EQ(removed[0].path, "/old");
    EXPECT_EQ(paths(library), (std::vector<std::string>{"/fresh", "/pinned", "/boundary"}));

    // Matching is by identity: a younger entry with the same content as an expired one stays.
    ShelfLibrary twins{.entries = {file("/same", now - 30 * 3600), file("/same", now - 3600)}};
    const auto young = twins.entries[1];
    EXPECT_EQ(twins.expire(0, now).size(), 0u) << "0 hours turns expiry off";
    EXPECT_EQ(twins.expire(24, now).size(), 1u);
    EXPECT_EQ(twins.entries, std::vector<ShelfEntry>{young});

    // A library read from disk may repeat an identifier: only the old entry of the two goes.
    ShelfLibrary shared{.entries = {file("/stale", now - 30 * 3600), file("/new", now - 3600)}};
    shared.entries[1].id = shared.entries[0].id;
    EXPECT_EQ(shared.expire(24, now).size(), 1u);
    EXPECT_EQ(paths(shared), std::vector<std::string>{"/new"});
}

TEST(ShelfLibrary, RoundTripsThroughItsStoredForm) {
    ShelfLibrary library;
    library.insert({file("/a b/ç.txt", Date{1700000000}), snippet("hello\nworld")});
    library.entries[0].pinned = true;
    const std::string bytes = library.encoded();
    const auto json = JSON::parse(bytes);
    EXPECT_EQ(json["version"], 1);
    EXPECT_EQ(json["entries"][0]["addedAt"], "2023-11-14T22:13:20Z");
    EXPECT_EQ(ShelfLibrary::decode(bytes), library);
}

TEST(ShelfLibrary, ReadingSaysWhyAndDecodingFallsBackToAnEmptyLibrary) {
    const std::vector<std::pair<std::string, ShelfLibrary::DecodeError>> cases = {
        {"", ShelfLibrary::DecodeError::notJSON},
        {"{\"version\": 1, \"entries\": [", ShelfLibrary::DecodeError::notJSON},
        {"[]", ShelfLibrary::DecodeError::notALibrary},
        {"{\"entries\": []}", ShelfLibrary::DecodeError::notALibrary},
        {"{\"version\": \"1\", \"entries\": []}", ShelfLibrary::DecodeError::notALibrary},
        {"{\"version\": 1.5, \"entries\": []}", ShelfLibrary::DecodeError::notALibrary},
        {"{\"version\": 1, \"entries\": {}}", ShelfLibrary::DecodeError::notALibrary},
        // A newer library is never half read, however readable its entries look.
        {dataFile("newer.json"), ShelfLibrary::DecodeError::newerVersion},
        {"{\"version\": 18446744073709551615, \"entries\": []}", ShelfLibrary::DecodeError::newerVersion},
    };
    for (const auto& [bytes, error] : cases) {
        const auto read = ShelfLibrary::read(bytes);
        ASSERT_FALSE(read) << bytes;
        EXPECT_EQ(read.error(), error) << bytes;
        EXPECT_FALSE(brind::toString(error).empty());
        EXPECT_EQ(ShelfLibrary::decode(bytes), ShelfLibrary{}) << bytes;
    }
}

TEST(ShelfLibrary, ATruncatedFileIsRefusedWhole) {
    ShelfLibrary library;
    library.insert({file("/a"), snippet("b"), file("/c")});
    const std::string bytes = library.encoded();
    for (std::size_t length = 0; length + 1 < bytes.size(); ++length)
        ASSERT_EQ(ShelfLibrary::read(std::string_view(bytes).substr(0, length)).error(),
                  ShelfLibrary::DecodeError::notJSON)
            << length;
}

TEST(ShelfLibrary, KeepsTheReadableEntriesOfADamagedLibrary) {
    const auto library = ShelfLibrary::read(dataFile("damaged.json"));
    ASSERT_TRUE(library);
    EXPECT_EQ(paths(*library), (std::vector<std::string>{"a", "/c"}));
}
