#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/system/LyricsStore.hpp"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brind {
namespace {

namespace fs = std::filesystem;

class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string pattern = (fs::temp_directory_path() / "lyrics-store-XXXXXX").string();
        path_ = mkdtemp(pattern.data());
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

TEST(LyricsStore, CacheKeyKeepsOnlyLowerCasedLettersAndDigits) {
    struct Case {
        std::string artist;
        std::string title;
        std::string key;
    };
    const std::vector<Case> cases = {
        {"Daft Punk", "One More Time", "daft_punk_one_more_time"},
        {"AC/DC", "T.N.T.", "ac_dc_t_n_t_"},
        {"../..", "etc", "______etc"},
        {"Sigur R\u00F3s", "Hopp\u00EDpolla", "sigur_r\u00F3s_hopp\u00EDpolla"},
        // Each scalar is judged alone: the combining accent of a decomposed é is not a letter.
        {"Beyonce\u0301", "Halo", "beyonce__halo"},
        {"\u5742\u672C\u9F8D\u4E00", "Merry Christmas", "\u5742\u672C\u9F8D\u4E00_merry_christmas"},
        {"\u00C9DITH", "\u00C0 Paris \U0001F1EB\U0001F1F7", "\u00E9dith_\u00E0_paris___"},
        {"Artist", "Track \u0661\u0662", "artist_track_\u0661\u0662"},
        {"", "", "_"},
        {"bad\xFF", "byte", "bad__byte"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(LyricsStore::cacheKey(c.artist, c.title), c.key) << c.artist << " - " << c.title;
        EXPECT_EQ(LyricsStore::cacheFileName(c.artist, c.title), c.key + ".lrc");
    }
}

TEST(LyricsStore, CacheKeyIsCutTo120Characters) {
    const std::string longTitle(300, 'x');
    const std::string key = LyricsStore::cacheKey("Artist", longTitle);
    EXPECT_EQ(key, "artist_" + std::string(113, 'x'));
    const std::string wide = LyricsStore::cacheKey("\u00E9", std::string(200, 'a') + "\u00E9");
    EXPECT_EQ(Text::graphemeCount(wide), LyricsStore::maxKeyLength);
    EXPECT_EQ(wide, "\u00E9_" + std::string(118, 'a'));
}

TEST(LyricsStore, CacheFileLivesInTheLyricsFolder) {
    const LyricsStore store("/home/someone/.local/share/vantaquill");
    EXPECT_EQ(store.cacheFile("Daft Punk", "One More Time"),
              fs::path("/home/someone/.local/share/vantaquill/Lyrics/daft_punk_one_more_time.lrc"));
}

TEST(LyricsStore, RequestCarriesTheTrackInItsQuery) {
    const LyricsStore store("/tmp/unused", "https://lyrics.example.org/");
    struct Case {
        std::optional<std::string_view> album;
        std::optional<double> duration;
        std::string url;
    };
    const std::string base =
        "https://lyrics.example.org/api/get?artist_name=Sigur%20R%C3%B3s&track_name=Hopp%C3%ADpolla";
    const std::vector<Case> cases = {
        {std::nullopt, std::nullopt, base},
        {"Takk...", 268.4, base + "&album_name=Takk...&duration=268"},
        {std::nullopt, 268.6, base + "&duration=269"},
        {"A & B = C", std::nullopt, base + "&album_name=A%20%26%20B%20%3D%20C"},
        // Lengths that are not real ones are left out rather than sent as garbage.
        {std::nullopt, 0.0, base},
        {std::nullopt, -5.0, base},
        {std::nullopt, NAN, base},
        {std::nullopt, INFINITY, base},
    };
    for (const Case& c : cases) {
        const LyricsStore::Request request =
            store.request("Sigur R\u00F3s", "Hopp\u00EDpolla", c.album, c.duration);
        EXPECT_EQ(request.url, c.url);
        EXPECT_EQ(request.timeout, 10);
        ASSERT_EQ(request.headers.size(), 1u);
        EXPECT_EQ(request.headers[0].first, "User-Agent");
        EXPECT_FALSE(request.headers[0].second.empty());
    }
}

TEST(LyricsStore, ReadsOnlySyncedLyricsFromASuccessfulAnswer) {
    struct Case {
        int status;
        std::string body;
        std::optional<LyricsStore::ResponseError> error;
    };
    const std::string good = R"({"id":1,"plainLyrics":"a","syncedLyrics":"[00:01.00]a\n[00:02.00]b"})";
    const std::vector<Case> cases = {
        {200, good, std::nullopt},
        {404, good, LyricsStore::ResponseError::status},
        {201, good, LyricsStore::ResponseError::status},
        {500, R"({"message":"oops"})", LyricsStore::ResponseError::status},
        {200, "not json", LyricsStore::ResponseError::notJSONObject},
        {200, R"(["[00:01.00]a"])", LyricsStore::ResponseError::notJSONObject},
        {200, R"({"plainLyrics":"words only"})", LyricsStore::ResponseError::noSyncedLyrics},
        {200, R"({"syncedLyrics":null})", LyricsStore::ResponseError::noSyncedLyrics},
        {200, R"({"syncedLyrics":12})", LyricsStore::ResponseError::noSyncedLyrics},
        {200, R"({"syncedLyrics":"no tags here"})", LyricsStore::ResponseError::unparsableLyrics},
    };
    for (const Case& c : cases) {
        const auto fetched = LyricsStore::readResponse(c.status, c.body);
        if (!c.error) {
            ASSERT_TRUE(fetched.has_value()) << c.body;
            EXPECT_EQ(fetched->lrc, "[00:01.00]a\n[00:02.00]b");
            EXPECT_EQ(fetched->lyrics.lines.size(), 2u);
            continue;
        }
        ASSERT_FALSE(fetched.has_value()) << c.status << " " << c.body;
        EXPECT_EQ(fetched.error(), *c.error) << c.status << " " << c.body;
        EXPECT_FALSE(toString(fetched.error()).empty());
    }
}

TEST(LyricsStore, SavedLyricsComeBackFromTheCache) {
    TemporaryFolder folder;
    const LyricsStore store(folder.path());
    const auto before = store.cached("Mira Holloway", "Paper Boats");
    ASSERT_FALSE(before.has_value());
    EXPECT_EQ(before.error(), LyricsStore::CacheMiss::absent);

    const std::string lrc = "[ti:Paper Boats]\n[00:05.10]We folded paper boats\n";
    ASSERT_TRUE(store.save("Mira Holloway", "Paper Boats", lrc).has_value());

    const fs::path file = folder.path() / "Lyrics" / "mira_holloway_paper_boats.lrc";
    EXPECT_EQ(AtomicFile::read(file).value_or(""), lrc);
    EXPECT_EQ(fs::status(file).permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write);

    const auto cached = store.cached("Mira Holloway", "Paper Boats");
    ASSERT_TRUE(cached.has_value());
    EXPECT_EQ(cached->lines, (std::vector<LRCLyrics::Line>{{5.1, "We folded paper boats"}}));
}

TEST(LyricsStore, CacheFileThatIsNotLyricsSaysWhetherToFetch) {
    TemporaryFolder folder;
    const LyricsStore store(folder.path());
    fs::create_directories(folder.path() / "Lyrics");
    // Readable text without a timed line settles it: no lyrics, and no request either.
    std::ofstream(folder.path() / "Lyrics" / "a_b.lrc") << "garbage without tags";
    const auto text = store.cached("a", "b");
    ASSERT_FALSE(text.has_value());
    EXPECT_EQ(text.error(), LyricsStore::CacheMiss::unparsable);
    // Bytes that are not UTF-8 text are as good as no file: the service is asked again.
    std::ofstream(folder.path() / "Lyrics" / "c_d.lrc") << "[00:01.00]\xFF\xFE";
    const auto binary = store.cached("c", "d");
    ASSERT_FALSE(binary.has_value());
    EXPECT_EQ(binary.error(), LyricsStore::CacheMiss::absent);
    EXPECT_FALSE(toString(binary.error()).empty());
}

TEST(LyricsStore, SaveReportsAnUnwritableFolder) {
    TemporaryFolder folder;
    // A file where the support folder should be makes the cache folder impossible to create.
    const fs::path blocker = folder.path() / "blocked";
    std::ofstream(blocker) << "x";
    const LyricsStore store(blocker);
    const auto saved = store.save("a", "b", "[00:01.00]a");
    ASSERT_FALSE(saved.has_value());
    EXPECT_FALSE(saved.error().empty());
    EXPECT_EQ(AtomicFile::read(blocker).value_or(""), "x");
}

} // namespace
} // namespace brind
