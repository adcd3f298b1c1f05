#pragma once

#include "BrindKit/system/LRCLyrics.hpp"

#include <cstddef>
#include <expected>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace brind {

/// The lyrics service's request, its answer and the ".lrc" cache on disk, and `fetch`, which runs them
/// in their one order. The application supplies only the HTTP transport.
class LyricsStore {
  public:
    static constexpr std::size_t maxKeyLength = 120;
    static constexpr std::string_view cacheFolderName = "Lyrics";
    static constexpr std::string_view cacheExtension = ".lrc";
    static constexpr std::string_view endpointPath = "/api/get";
    static constexpr std::string_view defaultBaseURL = "https://lrclib.net";
    static constexpr std::string_view userAgent = "vantaquill/0.1 (synced lyrics for the island)";
    static constexpr double requestTimeout = 10;
    static constexpr int acceptedStatus = 200;

    struct Request {
        std::string url;
        double timeout = requestTimeout;
        std::vector<std::pair<std::string, std::string>> headers;

        friend bool operator==(const Request&, const Request&) = default;
    };

    /// Why an answer gave no lyrics.
    enum class ResponseError {
        status,           ///< anything but 200
        notJSONObject,    ///< the body is not a JSON object
        noSyncedLyrics,   ///< "syncedLyrics" is missing, null or not a string
        unparsableLyrics, ///< the LRC text has no timed line
    };

    enum class CacheMiss {
        absent,     ///< fetch from the service
        unparsable, ///< no lyrics, and no request either
    };

    /// Lyrics read from an answer, with the LRC text to keep in the cache.
    struct Fetched {
        LRCLyrics lyrics;
        std::string lrc;

        friend bool operator==(const Fetched&, const Fetched&) = default;
    };

    /// The track whose lyrics are wanted; album and length narrow the service's match when known.
    struct Track {
        std::string artist;
        std::string title;
        std::optional<std::string> album;
        std::optional<double> duration;

        friend bool operator==(const Track&, const Track&) = default;
    };

    /// What the service answered.
    struct Response {
        int status = 0;
        std::string body;

        friend bool operator==(const Response&, const Response&) = default;
    };

    /// The service's answer, or why none arrived (connection refused, time-out, ...).
    using TransportResult = std::expected<Response, std::string>;

    /// Sends one request and calls the completion exactly once, at once or later, from any thread.
    using HTTPCall = std::function<void(const Request&, std::function<void(TransportResult)>)>;

    /// The step of a fetch that ended without lyrics.
    enum class FetchStage {
        cache,     ///< the cached file has no timed line: a remembered miss, nothing was asked
        transport, ///< no answer from the service
        response,  ///< an answer without synced lyrics
        save,      ///< the lyrics could not be kept in the cache
    };

    /// Why a fetch gave no lyrics, in words for the application's log.
    struct FetchMiss {
        FetchStage stage = FetchStage::cache;
        std::string reason;

        friend bool operator==(const FetchMiss&, const FetchMiss&) = default;
    };

    using FetchResult = std::expected<LRCLyrics, FetchMiss>;

    /// `supportFolder` is the application's data folder; `baseURL` the service's scheme and host.
    explicit LyricsStore(std::filesystem::path supportFolder,
                         std::string baseURL = std::string(defaultBaseURL));

    /// "artist-title" lower-cased, every scalar that is not a letter or digit replaced by "_",
    /// cut to 120 characters: "Daft Punk" and "One More Time" give "daft_punk_one_more_time".
    static std::string cacheKey(std::string_view artist, std::string_view title);

    /// The cache key with ".lrc".
    static std::string cacheFileName(std::string_view artist, std::string_view title);

    /// <support folder>/Lyrics/<key>.lrc
    std::filesystem::path cacheFile(std::string_view artist, std::string_view title) const;

    /// The cached lyrics of a track. `absent` (no file, or not readable as UTF-8 text) means the
    /// service should be asked; `unparsable` means the file is there but has no timed line, which
    /// gives no lyrics without a request.
    std::expected<LRCLyrics, CacheMiss> cached(std::string_view artist, std::string_view title) const;

    /// The GET request for a track: query items artist_name, track_name, album_name (when known)
    /// and duration (whole seconds, when known).
    Request request(std::string_view artist, std::string_view title, std::optional<std::string_view> album,
                    std::optional<double> duration) const;

    /// Reads the service's answer; only status 200 with a parsable "syncedLyrics" gives lyrics.
    static std::expected<Fetched, ResponseError> readResponse(int status, std::string_view body);

    /// Keeps fetched LRC text in the cache, written atomically; the error names what failed.
    std::expected<void, std::string> save(std::string_view artist, std::string_view title,
                                          std::string_view lrc) const;

    /// A track's lyrics: from the cache when it has a readable file (no request then, even when the file
    /// has no timed line), otherwise from one request through `call`, whose synced lyrics are saved
    /// before they are returned. A failed request or answer is not cached, so the next fetch asks
    /// again. `completion` runs once, on the thread that calls it back (or at once for the cache).
    void fetch(const Track& track, const HTTPCall& call, std::function<void(FetchResult)> completion) const;

  private:
    std::filesystem::path supportFolder_;
    std::string baseURL_;
};

std::string_view toString(LyricsStore::ResponseError error);
std::string_view toString(LyricsStore::CacheMiss miss);

} // namespace brind
