#include "BrindKit/system/LyricsStore.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/foundation/URL.hpp"

#include <cmath>
#include <cstdint>
#include <unicode/utf8.h>
#include <utility>

namespace brind {

namespace {

// Longest duration worth sending: a day of audio is already far beyond any track.
constexpr double maxDurationSeconds = 86400;

} // namespace

LyricsStore::LyricsStore(std::filesystem::path supportFolder, std::string baseURL)
    : supportFolder_(std::move(supportFolder)), baseURL_(std::move(baseURL)) {
    while (baseURL_.ends_with('/'))
        baseURL_.pop_back();
}

std::string LyricsStore::cacheKey(std::string_view artist, std::string_view title) {
    std::string joined;
    joined.reserve(artist.size() + 1 + title.size());
    joined.append(artist).append("-").append(title);
    const std::string lower = Text::lowercased(joined);

    // Only letters and digits survive, so the key is always a safe file name (no "/", no "..").
    std::string key;
    key.reserve(lower.size());
    const auto* bytes = reinterpret_cast<const uint8_t*>(lower.data());
    const auto length = static_cast<int32_t>(lower.size());
    int32_t offset = 0;
    while (offset < length) {
        const int32_t start = offset;
        UChar32 scalar = 0;
        U8_NEXT(bytes, offset, length, scalar);
        if (scalar >= 0 && Text::isLetterOrDigit(static_cast<char32_t>(scalar))) {
            key.append(lower, static_cast<std::size_t>(start), static_cast<std::size_t>(offset - start));
        } else {
            key.push_back('_');
        }
    }
    return Text::graphemePrefix(key, maxKeyLength);
}

std::string LyricsStore::cacheFileName(std::string_view artist, std::string_view title) {
    return cacheKey(artist, title) + std::string(cacheExtension);
}

std::filesystem::path LyricsStore::cacheFile(std::string_view artist, std::string_view title) const {
    return supportFolder_ / cacheFolderName / cacheFileName(artist, title);
}

std::expected<LRCLyrics, LyricsStore::CacheMiss> LyricsStore::cached(std::string_view artist,
                                                                     std::string_view title) const {
    const auto text = AtomicFile::read(cacheFile(artist, title));
    if (!text || !Text::isValidUTF8(*text))
        return std::unexpected(CacheMiss::absent);
    // A readable file settles the question; asking the service again would only repeat the answer
    // that was cached.
    auto lyrics = LRCLyrics::parse(*text);
    if (!lyrics)
        return std::unexpected(CacheMiss::unparsable);
    return std::move(*lyrics);
}

LyricsStore::Request LyricsStore::request(std::string_view artist, std::string_view title,
                                          std::optional<std::string_view> album,
                                          std::optional<double> duration) const {
    std::vector<URL::QueryItem> items;
    items.emplace_back("artist_name", std::string(artist));
    items.emplace_back("track_name", std::string(title));
    if (album)
        items.emplace_back("album_name", std::string(*album));
    // The service matches on the length in whole seconds; a length that is not a real one, or that
    // rounds to no seconds at all, is left out.
    if (duration && std::isfinite(*duration) && *duration >= 0.5 && *duration <= maxDurationSeconds)
        items.emplace_back("duration", std::to_string(static_cast<long long>(std::llround(*duration))));

    Request request;
    request.url = baseURL_ + std::string(endpointPath) + "?" + URL::encodeQuery(items);
    request.headers.emplace_back("User-Agent", std::string(userAgent));
    return request;
}

std::expected<LyricsStore::Fetched, LyricsStore::ResponseError>
LyricsStore::readResponse(int status, std::string_view body) {
    if (status != acceptedStatus)
        return std::unexpected(ResponseError::status);
    const auto json = JSONText::parse(body);
    if (!json || !json->is_object())
        return std::unexpected(ResponseError::notJSONObject);
    auto lrc = JSONRead::string(*json, "syncedLyrics");
    if (!lrc)
        return std::unexpected(ResponseError::noSyncedLyrics);
    auto lyrics = LRCLyrics::parse(*lrc);
    if (!lyrics)
        return std::unexpected(ResponseError::unparsableLyrics);
    return Fetched{std::move(*lyrics), std::move(*lrc)};
}

std::expected<void, std::string> LyricsStore::save(std::string_view artist, std::string_view title,
                                                   std::string_view lrc) const {
    const auto folder = supportFolder_ / cacheFolderName;
    if (auto made = AtomicFile::ensureFolder(folder); !made)
        return made;
    return AtomicFile::write(folder / cacheFileName(artist, title), lrc);
}

void LyricsStore::fetch(const Track& track, const HTTPCall& call,
                        std::function<void(FetchResult)> completion) const {
    auto lyrics = cached(track.artist, track.title);
    if (lyrics)
        return completion(std::move(*lyrics));
    if (lyrics.error() == CacheMiss::unparsable)
        return completion(
            std::unexpected(FetchMiss{FetchStage::cache, std::string(toString(lyrics.error()))}));

    std::optional<std::string_view> album;
    if (track.album)
        album = *track.album;
    // The answer may come back after this store is gone: the completion keeps what saving needs.
    call(request(track.artist, track.title, album, track.duration), [store = *this, artist = track.artist,
                                                                     title = track.title,
                                                                     completion = std::move(completion)](
                                                                        TransportResult answer) {
        if (!answer)
            return completion(std::unexpected(FetchMiss{FetchStage::transport, std::move(answer.error())}));
        auto fetched = readResponse(answer->status, answer->body);
        if (!fetched)
            return completion(
                std::unexpected(FetchMiss{FetchStage::response, std::string(toString(fetched.error()))}));
        if (auto saved = store.save(artist, title, fetched->lrc); !saved)
            return completion(std::unexpected(FetchMiss{FetchStage::save, std::move(saved.error())}));
        completion(std::move(fetched->lyrics));
    });
}

std::string_view toString(LyricsStore::ResponseError error) {
    switch (error) {
    case LyricsStore::ResponseError::status:
        return "the lyrics service answered with a status other than 200";
    case LyricsStore::ResponseError::notJSONObject:
        return "the lyrics service's answer is not a JSON object";
    case LyricsStore::ResponseError::noSyncedLyrics:
        return "the lyrics service has no synced lyrics for the track";
    case LyricsStore::ResponseError::unparsableLyrics:
        return "the synced lyrics from the lyrics service have no timed line";
    }
    std::unreachable();
}

std::string_view toString(LyricsStore::CacheMiss miss) {
    switch (miss) {
    case LyricsStore::CacheMiss::absent:
        return "no readable lyrics file in the cache";
    case LyricsStore::CacheMiss::unparsable:
        return "the cached lyrics file has no timed line";
    }
    std::unreachable();
}

} // namespace brind
