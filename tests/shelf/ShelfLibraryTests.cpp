// Shelf entries, their expiry and the library file that holds them.

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/shelf/ShelfExpiry.hpp"
#include "BrindKit/shelf/ShelfLibrary.hpp"

#include <cmath>
#include <gtest/gtest.h>

using brind::Date;
using brind::JSON;
using brind::ShelfEntry;
using brind::ShelfLibrary;
using brind::UUID;
using Kind = ShelfEntry::Kind;
namespace ShelfExpiry = brind::ShelfExpiry;

namespace {

constexpr double hour = 3600;

ShelfEntry file(std::optional<std::string> path, Date addedAt = Date{1000}, bool pinned = false) {
    return {.id = UUID::random(), .path = std::move(path), .addedAt = addedAt, .pinned = pinned};
}

ShelfEntry textEntry(std::optional<std::string> text, Kind kind = Kind::text) {
    return {.id = UUID::random(), .kind = kind, .text = std::move(text)};
}

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

TEST(ShelfEntry, DerivesFileURLAndLowerCasedExtension) {
    EXPECT_EQ(file("/home/ana/Report Q1.PDF").fileURL(), "file:///home/ana/Report%20Q1.PDF");
    EXPECT_EQ(textEntry("hi").fileURL(), std::nullopt);

    const std::vector<std::pair<std::string, std::string>> extensions = {
        {"/tmp/Report.PDF", "pdf"}, {"/tmp/archive.tar.gz", "gz"}, {"/tmp/.profile", ""},
        {"/tmp/Makefile", ""},      {"/tmp/dir.d/notes", ""},      {"/tmp/Ünïcode.ÄÖ", "äö"},
    };
    for (const auto& [path, extension] : extensions)
        EXPECT_EQ(file(path).fileExtension(), extension) << path;

    auto link = textEntry("https://example.com/a.pdf", Kind::link);
    link.path = "/tmp/a.pdf";
    EXPECT_EQ(link.fileExtension(), "") << "only file entries have an extension";
}

TEST(ShelfEntry, TitlesTextByItsFirstNonBlankLine) {
    EXPECT_EQ(ShelfEntry::titleForText("\n   \r\n  Shopping list  \nmilk"), "Shopping list");
    EXPECT_EQ(ShelfEntry::titleForText("  \n\t\n"), "Text");
    EXPECT_EQ(ShelfEntry::titleForText(""), "Text");
    EXPECT_EQ(ShelfEntry::titleForText("abcdefgh", 3), "abc");
    // Cutting counts characters, so an accent written as a combining mark stays on its letter.
    EXPECT_EQ(ShelfEntry::titleForText("e\xCC\x81te\xCC\x81 long", 2), "e\xCC\x81t");
    EXPECT_EQ(ShelfEntry::titleForText(std::string(100, 'x')).size(), ShelfEntry::defaultTitleLimit);
}

TEST(ShelfEntry, TitlesLinksByHostWithoutWWW) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"https://www.example.com/path?q=1", "example.com"},
        {"https://docs.example.org", "docs.example.org"},
        {"http://wwwexample.com/", "wwwexample.com"},
        {"mailto:someone@example.com", "mailto:someone@example.com"},
        {"not a url at all", "not a url at all"},
        {"file:///tmp/x", "file:///tmp/x"},
    };
    for (const auto& [link, title] : cases)
        EXPECT_EQ(ShelfEntry::titleForLink(link), title) << link;
}

TEST(ShelfEntry, ComparesContentByKindTextAndAPathStandardisedWithoutTheDisk) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"/a/./b/../c", "/a/c"}, {"/../a", "/a"},    {"/a/b/..", "/a"}, {"/", "/"},
        {"a/../../b", "../b"},   {"./a//b/", "a/b"}, {"", "."},         {"/a/b/../../..", "/"},
    };
    for (const auto& [path, standard] : cases)
        EXPECT_EQ(ShelfEntry::standardisedPath(path), standard) << path;

    EXPECT_TRUE(file("/home//ana/a.txt").sameContent(file("/home/ana/./docs/../a.txt/")));
    EXPECT_FALSE(file("/home/ana/a.txt").sameContent(file("/home/ana/b.txt")));
    EXPECT_FALSE(file(std::nullopt).sameContent(file(std::nullopt)))
        << "a file without a path is never the same as another";
    EXPECT_TRUE(textEntry("hello").sameContent(textEntry("hello")));
    EXPECT_TRUE(textEntry(std::nullopt, Kind::link).sameContent(textEntry(std::nullopt, Kind::link)));
    EXPECT_FALSE(textEntry("hello").sameContent(textEntry(std::nullopt)));
    EXPECT_FALSE(textEntry("https://a.com").sameContent(textEntry("https://a.com", Kind::link)));
}

TEST(ShelfEntry, StoresExactlyItsFieldsAndReadsThemBack) {
    ShelfEntry entry = file("/tmp/a.png");
    entry.id = *UUID::parse("E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
    entry.bookmark = std::string("\x00\xFF\x10", 3);
    entry.title = "a.png";
    entry.addedAt = Date{1700000000};
    entry.owned = true;
    const JSON json = entry.json();
    std::vector<std::string> keys;
    for (const auto& item : json.items())
        keys.push_back(item.key());
    EXPECT_EQ(keys, (std::vector<std::string>{"addedAt", "bookmark", "id", "kind", "owned", "path", "pinned",
                                              "title"}));
    EXPECT_EQ(json["addedAt"], "2023-11-14T22:13:20Z");
    EXPECT_EQ(json["bookmark"], "AP8Q");
    EXPECT_EQ(json["kind"], "file");
    EXPECT_EQ(ShelfEntry::fromJSON(json), entry);
}

TEST(ShelfEntry, ReadsLenientlyButInsistsOnIdentityKindAndDate) {
    JSON minimal = {{"id", "E621E1F8-C36C-495A-93FC-0C247A3E6E5F"},
                    {"kind", "link"},
                    {"addedAt", "2025-03-01T17:30:00Z"}};
    minimal["pinned"] = "yes";
    minimal["text"] = 42;
    const auto entry = ShelfEntry::fromJSON(minimal);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->kind, Kind::link);
    EXPECT_FALSE(entry->pinned) << "a flag of the wrong type falls back to its default";
    EXPECT_EQ(entry->text, std::nullopt);
    EXPECT_EQ(entry->title, "");

    for (const auto& [key, bad] : std::vector<std::pair<std::string, JSON>>{
             {"id", "not-a-uuid"}, {"kind", "folder"}, {"addedAt", "yesterday"}, {"addedAt", 1700000000}}) {
        JSON broken = minimal;
        broken[key] = bad;
        EXPECT_FALSE(ShelfEntry::fromJSON(broken)) << key << " = " << bad.dump();
    }
    EXPECT_FALSE(ShelfEntry::fromJSON(JSON::array()));
}

TEST(ShelfExpiry, NextSweepIsTheEarliestUnpinnedExpiry) {
    const std::vector<ShelfEntry> entries = {file("/e", Date{5 * hour}), file("/e", Date{1 * hour}, true),
                                             file("/e", Date{3 * hour})};
    EXPECT_EQ(ShelfExpiry::next(entries, 2), Date{5 * hour});
    EXPECT_EQ(ShelfExpiry::next(entries, 0), std::nullopt);
    EXPECT_EQ(ShelfExpiry::next({file("/e", Date{hour}, true)}, 2), std::nullopt);
    EXPECT_EQ(ShelfExpiry::next({}, 2), std::nullopt);
}

TEST(ShelfExpiry, BadgeShowsCountsUpTo99) {
    const std::vector<std::pair<int, std::optional<std::string>>> cases = {
        {-3, std::nullopt}, {0, std::nullopt}, {1, "1"}, {42, "42"}, {99, "99"}, {100, "99+"}, {12345, "99+"},
    };
    for (const auto& [count, badge] : cases)
        EXPECT_EQ(ShelfExpiry::badge(count), badge) << count;
}

TEST(ShelfLibrary, InsertsNewContentAtTheFrontAndSkipsDuplicates) {
    ShelfLibrary library{.entries = {file("/old")}};
    const auto added = library.insert(
        {file("/a"), textEntry("note"), file("/home/../a"), file("/old/."), textEntry("note")});
    ASSERT_EQ(added.size(), 2u) << "duplicates of the shelf and of the same batch are skipped";
    EXPECT_EQ(added[0].path, "/a");
    EXPECT_EQ(added[1].text, "note");
    EXPECT_EQ(paths(library), (std::vector<std::string>{"/a", "note", "/old"}));

    // The same file through a second spelling of its path is on the shelf already.
    EXPECT_TRUE(library.contains(file("/tmp/../a")));
    EXPECT_TRUE(library.insert({file("/./a")}).empty());
    EXPECT_FALSE(library.contains(textEntry("other")));
}

TEST(ShelfLibrary, ExpiresUnpinnedEntriesStrictlyOlderThanTheLimit) {
    const Date now{1000 * hour};
    ShelfLibrary library{
        .entries = {file("/boundary", now - 24 * hour), file("/old", now - 24 * hour - 0.001),
                    file("/pinned", now - 7 * 24 * hour, true), file("/future", now + hour)}};
    EXPECT_EQ(ShelfExpiry::expired(library.entries, 0.5, now).size(), 2u) << "fractions of hours count";
    for (const double off : {0.0, -5.0, std::nan("")})
        EXPECT_TRUE(library.expire(off, now).empty()) << off;
    const auto removed = library.expire(24, now);
    ASSERT_EQ(removed.size(), 1u);
    EXPECT_EQ(removed[0].path, "/old");
    EXPECT_EQ(paths(library), (std::vector<std::string>{"/boundary", "/pinned", "/future"}));

    // Matching is by identity: a younger entry with the same content as an expired one stays.
    ShelfLibrary twins{.entries = {file("/same", now - 30 * hour), file("/same", now - hour)}};
    const auto young = twins.entries[1];
    EXPECT_EQ(twins.expire(24, now).size(), 1u);
    EXPECT_EQ(twins.entries, std::vector<ShelfEntry>{young});

    // A library read from disk may repeat an identifier: only the old entry of the two goes.
    ShelfLibrary shared{.entries = {file("/stale", now - 30 * hour), file("/new", now - hour)}};
    shared.entries[1].id = shared.entries[0].id;
    EXPECT_EQ(shared.expire(24, now).size(), 1u);
    EXPECT_EQ(paths(shared), std::vector<std::string>{"/new"});
}

TEST(ShelfLibrary, ReadingSaysWhyAndDecodingFallsBackToAnEmptyLibrary) {
    const std::vector<std::pair<std::string, ShelfLibrary::DecodeError>> cases = {
        {"", ShelfLibrary::DecodeError::notJSON},
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

// A newer, damaged or truncated library is refused whole; damaged entries are skipped one by one.
TEST(ShelfLibrary, RoundTripsAndKeepsOnlyTheReadableEntriesOfAFile) {
    ShelfLibrary library;
    library.insert({file("/a b/ç.txt", Date{1700000000}), textEntry("hello\nworld"), file("/c")});
    library.entries[0].pinned = true;
    const std::string bytes = library.encoded();
    EXPECT_EQ(JSON::parse(bytes)["version"], 1);
    EXPECT_EQ(ShelfLibrary::decode(bytes), library);
    for (std::size_t length = 0; length + 1 < bytes.size(); ++length)
        ASSERT_EQ(ShelfLibrary::read(std::string_view(bytes).substr(0, length)).error(),
                  ShelfLibrary::DecodeError::notJSON)
            << length;

    const auto damaged = ShelfLibrary::read(dataFile("damaged.json"));
    ASSERT_TRUE(damaged);
    EXPECT_EQ(paths(*damaged), (std::vector<std::string>{"a", "/c"}));
}
