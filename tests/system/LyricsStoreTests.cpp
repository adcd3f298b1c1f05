#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/system/LyricsStore.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <tuple>
#include <vector>

namespace brind {
namespace {

namespace fs = std::filesystem;

TEST(LyricsStore, CacheKeyKeepsOnlyLowerCasedLettersAndDigitsUpTo120) {
    EXPECT_EQ(LyricsStore::cacheKey("Daft Punk", "One More Time"), "daft_punk_one_more_time");
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

TEST(LyricsStore, ReadsOnlySyncedLyricsFromASuccessfulAnswer) {
    const std::string good = R"({"id":1,"plainLyrics":"a","syncedLyrics":"[00:01.00]a\n[00:02.00]b"})";
    const auto fetched = LyricsStore::readResponse(200, good);
    ASSERT_TRUE(fetched.has_value());
    EXPECT_EQ(fetched->lrc, "[00:01.00]a\n[00:02.00]b");
    EXPECT_EQ(fetched->lyrics.lines.size(), 2u);

    using enum LyricsStore::ResponseError;
    const std::vector<std::tuple<int, std::string, LyricsStore::ResponseError>> failures = {
        {201, good, status},
        {200, "not json", notJSONObject},
        {200, R"(["[00:01.00]a"])", notJSONObject},
        {200, R"({"plainLyrics":"words only"})", noSyncedLyrics},
        {200, R"({"syncedLyrics":null})", noSyncedLyrics},
        {200, R"({"syncedLyrics":12})", noSyncedLyrics},
        {200, R"({"syncedLyrics":"no tags here"})", unparsableLyrics},
    };
    for (const auto& [code, body, error] : failures) {
        const auto failed = LyricsStore::readResponse(code, body);
        ASSERT_FALSE(failed.has_value()) << code << " " << body;
        EXPECT_EQ(failed.error(), error) << code << " " << body;
        EXPECT_FALSE(toString(failed.error()).empty());
    }
}

// Each test gets a support folder of its own, removed afterwards.
class LyricsCache : public testing::Test {
  protected:
    void SetUp() override { ASSERT_FALSE(folder.empty()); }
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
constexpr std::string_view paperBoatsAnswer = R"({"syncedLyrics": "[00:05.10]We folded paper boats"})";

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
    const std::vector<std::tuple<LyricsStore::TransportResult, LyricsStore::FetchStage, std::string>> failures = {
        {std::unexpected(std::string("connection refused")), transport, "connection refused"},
        {LyricsStore::Response{404, R"({"message": "not found"})"}, response, "a status other than 200"},
        {LyricsStore::Response{200, R"({"syncedLyrics": null, "plainLyrics": "words"})"}, response, "no synced lyrics"},
        {LyricsStore::Response{200, "<html>"}, response, "not a JSON object"},
        {LyricsStore::Response{200, R"({"syncedLyrics": "no time tags here"})"}, response, "have no timed line"},
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
