#include "BrindKit/shelf/ShelfEntry.hpp"

#include "tests/shelf/ShelfEntries.hpp"

#include <gtest/gtest.h>

using brind::Date;
using brind::JSON;
using brind::ShelfEntry;
using brind::UUID;

namespace {

using brindtest::textEntry;

brind::ShelfEntry file(std::optional<std::string> path) { return brindtest::fileEntry(std::move(path)); }

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

    auto link = textEntry("https://example.com/a.pdf", ShelfEntry::Kind::link);
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

TEST(ShelfEntry, ComparesContentByKindTextAndStandardisedPath) {
    using Kind = ShelfEntry::Kind;
    EXPECT_TRUE(file("/home/ana/a.txt").sameContent(file("/home/ana/./docs/../a.txt")));
    EXPECT_TRUE(file("/home//ana/a.txt").sameContent(file("/home/ana/a.txt/")));
    EXPECT_FALSE(file("/home/ana/a.txt").sameContent(file("/home/ana/b.txt")));
    EXPECT_FALSE(file(std::nullopt).sameContent(file(std::nullopt)))
        << "a file without a path is never the same as another";

    EXPECT_TRUE(textEntry("hello").sameContent(textEntry("hello")));
    EXPECT_TRUE(textEntry(std::nullopt, Kind::link).sameContent(textEntry(std::nullopt, Kind::link)));
    EXPECT_FALSE(textEntry("hello").sameContent(textEntry(std::nullopt)));
    EXPECT_FALSE(textEntry("https://a.com").sameContent(textEntry("https://a.com", Kind::link)));
}

TEST(ShelfEntry, StandardisesPathsWithoutTheDisk) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"/a/./b/../c", "/a/c"}, {"/../a", "/a"},   {"/a/b/..", "/a"},  {"/", "/"},
        {"a/../../b", "../b"},   {"./a//b/", "a/b"}, {"", "."},          {"/a/b/../../..", "/"},
    };
    for (const auto& [path, standard] : cases)
        EXPECT_EQ(ShelfEntry::standardisedPath(path), standard) << path;
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
    EXPECT_EQ(keys, (std::vector<std::string>{"addedAt", "bookmark", "id", "kind", "owned", "path", "pinned", "title"}));
    EXPECT_EQ(json["addedAt"], "2023-11-14T22:13:20Z");
    EXPECT_EQ(json["bookmark"], "AP8Q");
    EXPECT_EQ(json["kind"], "file");
    EXPECT_EQ(ShelfEntry::fromJSON(json), entry);
}

TEST(ShelfEntry, ReadsLenientlyButInsistsOnIdentityKindAndDate) {
    JSON minimal = {{"id", "E621E1F8-C36C-495A-93FC-0C247A3E6E5F"}, {"kind", "link"}, {"addedAt", "2025-03-01T17:30:00Z"}};
    minimal["pinned"] = "yes";
    minimal["text"] = 42;
    const auto entry = ShelfEntry::fromJSON(minimal);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->kind, ShelfEntry::Kind::link);
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
