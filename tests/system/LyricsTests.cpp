#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/system/LRCLyrics.hpp"
#include "BrindKit/system/LyricWing.hpp"
#include "BrindKit/system/LyricsStore.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

namespace brind {

// Readable failures: "4.6 'We folded…'" instead of raw bytes.
void PrintTo(const LRCLyrics::Line& line, std::ostream* out) {
    *out << line.time << " '" << line.text << "'";
}

namespace {

using Lines = std::vector<LRCLyrics::Line>;

// The parsed lines, or none when the text does not parse. Times are compared exactly: every
// expected time below is the nearest double to the stamp minus the offset.
Lines linesOf(std::string_view lrc) {
    return LRCLyrics::parse(lrc).value_or(LRCLyrics{}).lines;
}

std::string fixture(const std::string& name) {
    return AtomicFile::read(std::string(BRIND_TEST_DATA) + "/lyrics/" + name).value();
}

TEST(LRCLyrics, ParsesHandWrittenFiles) {
    // Offset 500 ms: everything half a second earlier, the 0.2 s intro floored at 0. A line with
    // three stamps appears three times; comma decimals and an hours part are read.
    EXPECT_EQ(linesOf(fixture("paper-boats.lrc")),
              (Lines{{0, "Intro"},
                     {4.6, "We folded paper boats and let them go"},
                     {11.5, "Row, row, the river's running slow"},
                     {17.9, "Down past the mill where the willows grow"},
                     {68.5, "Second verse, a little lower now"},
                     {75, "Row, row, the river's running slow"},
                     {140.25, "Bridge: every boat finds its way somehow"},
                     {149.5, "Row, row, the river's running slow"},
                     {1470, "Coda on the far side of the show"}}));
    // Byte-order mark, CRLF, upper-case tags, a negative offset, untagged and malformed lines,
    // a second tag that is not a time, two lines sharing a time kept in file order.
    EXPECT_EQ(linesOf(fixture("night-bus.lrc")), (Lines{{3.25, "Night bus humming under orange glass"},
                                                        {9.25, "Every stop a name I used to know"},
                                                        {14.25, ""},
                                                        {14.25, "Same time as the gap above"},
                                                        {20.25, "Last call"}}));
}

TEST(LRCLyrics, FailsWithoutAnyTimedLine) {
    // The last input: a tag only counts at the start of a line.
    for (const std::string& input :
         {fixture("metadata-only.lrc"), std::string(), std::string("text [00:12.00] a")}) {
        const auto lyrics = LRCLyrics::parse(input);
        ASSERT_FALSE(lyrics.has_value()) << input;
        EXPECT_EQ(lyrics.error(), LRCLyrics::ParseError::noTimedLines);
        EXPECT_FALSE(toString(lyrics.error()).empty());
    }
}

TEST(LRCLyrics, StampReadsPointCommaAndHours) {
    const std::vector<std::pair<std::string, double>> valid = {{"01:02.5", 62.5},    {"01:02,5", 62.5},
                                                               {"00:01:02.5", 62.5}, {"1:00:00", 3600},
                                                               {"00:05.", 5},        {"00:.5", 0.5}};
    for (const auto& [content, seconds] : valid)
        EXPECT_EQ(LRCLyrics::stamp(content), seconds) << content;
    const std::vector<std::string> invalid = {"62.5", "1:", ":02", "1:2:3:4", "ar:Someone", "-1:02",
                                              "1:02.5.1", "1e1:00", " 1:02", "inf:00", "nan:00", "1:.",
                                              // Hundreds of digits overflow to infinity, which is no time.
                                              std::string(400, '9') + ":00"};
    for (const std::string& content : invalid)
        EXPECT_EQ(LRCLyrics::stamp(content), std::nullopt) << content;
}

TEST(LRCLyrics, OffsetTagsLineBreaksAndTextAreRead) {
    const std::vector<std::pair<std::string, Lines>> cases = {
        {"[00:10.00]b\n[offset:-1500]", {{11.5, "b"}}}, // a trailing offset still applies
        {"[Offset: +250 ]\n[00:01.00]a", {{0.75, "a"}}},
        {"[offset:100][00:01.00]a", {{0.9, "a"}}},
        {"[offset:abc]\n[00:01.00]a", {{1, "a"}}},                 // an unreadable offset is dropped
        {"[offset:100]\n[offset:200]\n[00:01.00]a", {{0.8, "a"}}}, // the last offset wins
        // The floor at 0 keeps both lines in their original order.
        {"[offset:5000]\n[00:02.00]first\n[00:03.00]second", {{0, "first"}, {0, "second"}}},
        // "\n" and "\r\n" are in the files above.
        {"[00:01.00]a\r[00:02.00]b", {{1, "a"}, {2, "b"}}},
        {"[00:01.00]a\u2028[00:02.00]b", {{1, "a"}, {2, "b"}}},
        {"[00:01.00]a\u2029[00:02.00]b", {{1, "a"}, {2, "b"}}},
        {"[00:01.00]a\u0085[00:02.00]b", {{1, "a"}, {2, "b"}}},
        // A byte-order mark is not white space: left in place it would hide the first line's tag.
        {"\xEF\xBB\xBF[00:01.00]a", {{1, "a"}}},
        {"  [00:01.00]\t  caf\xC3\xA9 \xE3\x80\x80\n[00:02.00]bad \xFF byte",
         {{1, "caf\xC3\xA9"}, {2, "bad \xEF\xBF\xBD byte"}}},
    };
    for (const auto& [lrc, lines] : cases)
        EXPECT_EQ(linesOf(lrc), lines) << lrc;
}

TEST(LRCLyrics, TimesStayFiniteUnderExtremeOffsets) {
    // A stamp near the largest double, pushed later by the largest negative offset, must not become
    // infinity (the wing would wait forever on it).
    const std::string hugeStamp = "[0:17969" + std::string(304, '0') + "]far";
    const std::string hugeOffset = "[offset:-17969" + std::string(304, '0') + "]";
    const Lines lines = linesOf(hugeOffset + "\n[00:01.00]near\n" + hugeStamp);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(std::isfinite(lines[0].time));
    EXPECT_TRUE(std::isfinite(lines[1].time));
    EXPECT_EQ(lines[1].text, "far");
}

TEST(LRCLyrics, IndexFindsLastLineNotAfterPosition) {
    const LRCLyrics lyrics{linesOf("[00:01.00]a\n[00:05.00]b\n[00:05.00]c\n[00:09.00]d")};
    const std::vector<std::pair<double, std::optional<std::size_t>>> cases = {
        {0.999, std::nullopt}, {1, 0}, {4.999, 0}, {5, 2}, {9, 3}, {INFINITY, 3}, {NAN, std::nullopt}};
    for (const auto& [position, index] : cases)
        EXPECT_EQ(lyrics.index(position), index) << position;
    EXPECT_EQ(LRCLyrics{}.index(10), std::nullopt);
}

LRCLyrics song() {
    return LRCLyrics{{
        {2, "  First line  "},
        {4, ""},
        {6, "\u266A \u266B\u266C \u2669"},
        {8, "Twins one"},
        {8, "Twins two"},
        {10, "\u266A la \u266A"},
        {10.01, "Almost at once"},
        {12, " \t "},
        {15, "Last"},
    }};
}

TEST(LyricWing, ShowsTheCurrentLineAndWhenToLookAgain) {
    using Display = LyricWing::Display;
    const std::vector<std::pair<double, Display>> cases = {
        // Before the first line: nothing shown, wait for the first line.
        {1.5, {std::nullopt, 0.5}},
        // Exactly on a line's time selects it; text is trimmed.
        {2, {"First line", 2}},
        {3.25, {"First line", 0.75}},
        // An empty line and a line of notes only are instrumental gaps.
        {4, {std::nullopt, 2}},
        {6.5, {std::nullopt, 1.5}},
        // Two lines at one time: the second is current, and the floor keeps the wait above zero.
        {8, {"Twins two", 2}},
        // Notes with words are a real line; the next line 0.01 s away is floored to 0.05 s.
        {10, {"\u266A la \u266A", 0.05}},
        {12, {std::nullopt, 3}},
        // After the last line there is nothing further to wait for.
        {15, {"Last", std::nullopt}},
    };
    const LRCLyrics lyrics = song();
    for (const auto& [position, display] : cases)
        EXPECT_EQ(LyricWing::current(lyrics, position), display) << position;
    // Empty lyrics or an unknown position show nothing.
    EXPECT_EQ(LyricWing::current(LRCLyrics{}, 5), Display{});
    EXPECT_EQ(LyricWing::current(lyrics, NAN), Display{});
}

namespace fs = std::filesystem;

TEST(LyricsStore, CacheKeyKeepsOnlyLowerCasedLettersAndDigitsUpTo120) {
    EXPECT_EQ(LyricsStore::cacheKey("../..", "etc"), "______etc");
    EXPECT_EQ(LyricsStore::cacheKey("Sigur R\u00F3s", "Hopp\u00EDpolla"), "sigur_r\u00F3s_hopp\u00EDpolla");
    // Each scalar is judged alone: the combining accent of a decomposed é is not a letter.
    EXPECT_EQ(LyricsStore::cacheKey("Beyonce\u0301", "Halo"), "beyonce__halo");
    EXPECT_EQ(LyricsStore::cacheKey("\u00C9DITH", "\u00C0 Paris \U0001F1EB\U0001F1F7"),
              "\u00E9dith_\u00E0_paris___");
    EXPECT_EQ(LyricsStore::cacheKey("Artist", "Track \u0661\u0662"), "artist_track_\u0661\u0662");
    EXPECT_EQ(LyricsStore::cacheKey("", ""), "_");
    EXPECT_EQ(LyricsStore::cacheKey("bad\xFF", "byte"), "bad__byte");
    // Cut to 120 characters.
    EXPECT_EQ(LyricsStore::cacheKey("Artist", std::string(300, 'x')), "artist_" + std::string(113, 'x'));
    const std::string wide = LyricsStore::cacheKey("\u00E9", std::string(200, 'a') + "\u00E9");
    EXPECT_EQ(Text::graphemeCount(wide), LyricsStore::maxKeyLength);
    EXPECT_EQ(wide, "\u00E9_" + std::string(118, 'a'));
}

TEST(LyricsStore, RequestCarriesTheTrackInItsQuery) {
    const LyricsStore store("/tmp/unused", "https://lyrics.example.org/");
    const std::string base =
        "https://lyrics.example.org/api/get?artist_name=Sigur%20R%C3%B3s&track_name=Hopp%C3%ADpolla";
    const auto url = [&](std::optional<std::string_view> album, std::optional<double> duration) {
        return store.request("Sigur R\u00F3s", "Hopp\u00EDpolla", album, duration).url;
    };
    EXPECT_EQ(url(std::nullopt, std::nullopt), base);
    EXPECT_EQ(url("Takk...", 268.4), base + "&album_name=Takk...&duration=268");
    EXPECT_EQ(url(std::nullopt, 268.6), base + "&duration=269");
    EXPECT_EQ(url(std::nullopt, 0.5), base + "&duration=1");
    EXPECT_EQ(url("A & B = C", std::nullopt), base + "&album_name=A%20%26%20B%20%3D%20C");
    // Lengths that are not real ones are left out rather than sent as garbage.
    for (const double length : {0.0, 0.4, -3.0, double(NAN), double(INFINITY)})
        EXPECT_EQ(url(std::nullopt, length), base) << length;
}

// Each test gets a support folder of its own, removed afterwards.
class LyricsCache : public testing::Test {
  protected:
    const brindtest::TemporaryFolder temporary{"lyrics-store"};
    const fs::path& folder = temporary.path();
};

// Stands in for the network: records each request and answers it when the test says so, the way an
// asynchronous HTTP client answers later from its own loop.
struct FakeLyricsService {
    std::vector<LyricsStore::Request> requests;
    std::vector<std::function<void(LyricsStore::TransportResult)>> pending;

    LyricsStore::HTTPCall call() {
        return [this](const LyricsStore::Request& request, auto answer) {
            requests.push_back(request);
            pending.push_back(std::move(answer));
        };
    }

    void answer(LyricsStore::TransportResult result) {
        ASSERT_EQ(pending.size(), 1u);
        auto completion = std::move(pending.front());
        pending.clear();
        completion(std::move(result));
    }
};

struct FetchRecorder {
    std::vector<LyricsStore::FetchResult> results;
    std::function<void(LyricsStore::FetchResult)> completion() {
        return [this](LyricsStore::FetchResult result) { results.push_back(std::move(result)); };
    }
};

const LyricsStore::Track paperBoats{"Mira Holloway", "Paper Boats", "Harbour", 201.2};
// Only the synced lyrics are read and kept.
constexpr std::string_view paperBoatsAnswer =
    R"({"id": 1, "plainLyrics": "words", "syncedLyrics": "[00:05.10]We folded paper boats"})";

TEST_F(LyricsCache, FetchAsksOnceThenSavesAndLaterAnswersFromTheCache) {
    const LyricsStore store(folder, "https://lyrics.example.org");
    FakeLyricsService service;
    FetchRecorder recorder;

    store.fetch(paperBoats, service.call(), recorder.completion());
    ASSERT_EQ(service.requests.size(), 1u);
    EXPECT_EQ(service.requests[0], store.request("Mira Holloway", "Paper Boats", "Harbour", 201.2));
    // Nothing is decided before the answer arrives.
    EXPECT_TRUE(recorder.results.empty());
    service.answer(LyricsStore::Response{200, std::string(paperBoatsAnswer)});

    ASSERT_EQ(recorder.results.size(), 1u);
    ASSERT_TRUE(recorder.results[0].has_value());
    EXPECT_EQ(recorder.results[0]->lines, (std::vector<LRCLyrics::Line>{{5.1, "We folded paper boats"}}));
    EXPECT_EQ(AtomicFile::read(folder / "Lyrics" / "mira_holloway_paper_boats.lrc").value_or(""),
              "[00:05.10]We folded paper boats");

    store.fetch(paperBoats, service.call(), recorder.completion());
    EXPECT_EQ(service.requests.size(), 1u);
    ASSERT_EQ(recorder.results.size(), 2u);
    EXPECT_EQ(recorder.results[1], recorder.results[0]);
}

TEST_F(LyricsCache, FetchFailuresGiveNoLyricsAndAreAskedAgainNextTime) {
    using enum LyricsStore::FetchStage;
    // The reason is what the island's log says.
    const std::vector<std::tuple<LyricsStore::TransportResult, LyricsStore::FetchStage, std::string>>
        failures = {
            {std::unexpected(std::string("connection refused")), transport, "connection refused"},
            {LyricsStore::Response{201, std::string(paperBoatsAnswer)}, response, "a status other than 200"},
            {LyricsStore::Response{200, R"({"syncedLyrics": null, "plainLyrics": "words"})"}, response,
             "no synced lyrics"},
            {LyricsStore::Response{200, R"({"plainLyrics": "words only"})"}, response, "no synced lyrics"},
            {LyricsStore::Response{200, R"({"syncedLyrics": 12})"}, response, "no synced lyrics"},
            {LyricsStore::Response{200, "<html>"}, response, "not a JSON object"},
            {LyricsStore::Response{200, R"(["[00:01.00]a"])"}, response, "not a JSON object"},
            {LyricsStore::Response{200, R"({"syncedLyrics": "no time tags here"})"}, response,
             "have no timed line"},
        };
    const LyricsStore store(folder);
    for (const auto& [answer, stage, reason] : failures) {
        FakeLyricsService service;
        FetchRecorder recorder;
        store.fetch(paperBoats, service.call(), recorder.completion());
        service.answer(answer);
        ASSERT_EQ(recorder.results.size(), 1u);
        ASSERT_FALSE(recorder.results[0].has_value());
        EXPECT_EQ(recorder.results[0].error().stage, stage);
        EXPECT_NE(recorder.results[0].error().reason.find(reason), std::string::npos) << reason;
        // A failure leaves no file behind, so the next fetch asks the service again.
        EXPECT_FALSE(fs::exists(store.cacheFile("Mira Holloway", "Paper Boats")));
        store.fetch(paperBoats, service.call(), recorder.completion());
        EXPECT_EQ(service.requests.size(), 2u);
    }
}

TEST_F(LyricsCache, ACacheFileThatIsNotLyricsSaysWhetherToAskAgain) {
    const LyricsStore store(folder);
    fs::create_directories(folder / "Lyrics");
    // Readable text without a timed line settles it: no lyrics, and no request either.
    std::ofstream(store.cacheFile("Mira Holloway", "Paper Boats")) << "instrumental";
    // Bytes that are not UTF-8 text are as good as no file: the service is asked again.
    std::ofstream(folder / "Lyrics" / "c_d.lrc") << "[00:01.00]\xFF\xFE";
    FakeLyricsService service;
    FetchRecorder recorder;
    store.fetch(paperBoats, service.call(), recorder.completion());
    EXPECT_TRUE(service.requests.empty());
    ASSERT_EQ(recorder.results.size(), 1u);
    ASSERT_FALSE(recorder.results[0].has_value());
    EXPECT_EQ(recorder.results[0].error().stage, LyricsStore::FetchStage::cache);
    EXPECT_FALSE(recorder.results[0].error().reason.empty());
    store.fetch({"c", "d", std::nullopt, std::nullopt}, service.call(), recorder.completion());
    EXPECT_EQ(service.requests.size(), 1u);
}

TEST_F(LyricsCache, LyricsThatCannotBeSavedAreNotShown) {
    // A file where the support folder should be makes the cache folder impossible to create.
    const fs::path blocker = folder / "blocked";
    std::ofstream(blocker) << "x";
    FakeLyricsService service;
    FetchRecorder recorder;
    {
        // The answer arrives after the store that asked is gone.
        const LyricsStore store(blocker);
        store.fetch(paperBoats, service.call(), recorder.completion());
    }
    service.answer(LyricsStore::Response{200, std::string(paperBoatsAnswer)});
    ASSERT_EQ(recorder.results.size(), 1u);
    ASSERT_FALSE(recorder.results[0].has_value());
    EXPECT_EQ(recorder.results[0].error().stage, LyricsStore::FetchStage::save);
    EXPECT_FALSE(recorder.results[0].error().reason.empty());
    EXPECT_EQ(AtomicFile::read(blocker).value_or(""), "x");
}

} // namespace
} // namespace brind
