#include "BrindKit/clipboard/ClipSearch.hpp"

#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/foundation/URL.hpp"

#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace brind::ClipSearch {

namespace {

// Long clips are searched by their beginning; matching deep inside a 1 MB paste is noise.
constexpr std::size_t haystackCharacters = 20000;
// Shorter words would match nearly every keyword and scatter through every text.
constexpr std::size_t minFuzzyTokenCharacters = 3;

constexpr int exactScore = 100;
constexpr int prefixScore = 80;
constexpr int wordStartScore = 60;
constexpr int innerScore = 40;
constexpr int appNameScore = 30;
constexpr int keywordScore = 25;
constexpr int subsequenceScore = 10;
constexpr int pinnedBonus = 5;

std::span<const std::string_view> keywords(ClipKind kind) {
    static constexpr std::array<std::string_view, 1> text{"text"};
    static constexpr std::array<std::string_view, 3> richText{"rich", "rtf", "text"};
    static constexpr std::array<std::string_view, 3> link{"link", "links", "url"};
    static constexpr std::array<std::string_view, 4> image{"image", "images", "picture", "photo"};
    static constexpr std::array<std::string_view, 2> file{"file", "files"};
    static constexpr std::array<std::string_view, 4> colour{"colour", "color", "colours", "colors"};
    switch (kind) {
    case ClipKind::text:
        return text;
    case ClipKind::richText:
        return richText;
    case ClipKind::link:
        return link;
    case ClipKind::image:
        return image;
    case ClipKind::file:
        return file;
    case ClipKind::colour:
        return colour;
    }
    std::unreachable();
}

std::size_t find(std::string_view haystack, std::string_view needle) {
    // glibc's memmem is a vectorised two-way search, several times faster than a naive scan.
    const void* found = ::memmem(haystack.data(), haystack.size(), needle.data(), needle.size());
    if (!found)
        return std::string_view::npos;
    return static_cast<std::size_t>(static_cast<const char*>(found) - haystack.data());
}

bool startsWord(std::string_view haystack, std::size_t offset) {
    if (offset == 0)
        return true;
    const auto* bytes = reinterpret_cast<const uint8_t*>(haystack.data());
    auto index = static_cast<int32_t>(offset);
    UChar32 previous = 0;
    U8_PREV(bytes, 0, index, previous);
    return previous < 0 || !Text::isLetterOrDigit(static_cast<char32_t>(previous));
}

int tokenScore(const ClipItem& item, const Prepared& prepared, const Token& queryToken) {
    const std::string_view haystack = prepared.haystack;
    const std::string& token = queryToken.text;
    bool possible = true;
    for (std::size_t word = 0; word < queryToken.bytes.size(); ++word)
        possible = possible && (queryToken.bytes[word] & ~prepared.haystackBytes[word]) == 0;
    if (possible) {
        if (haystack == token)
            return exactScore;
        if (haystack.starts_with(token))
            return prefixScore;
        if (const std::size_t offset = find(haystack, token); offset != std::string_view::npos)
            return startsWord(haystack, offset) ? wordStartScore : innerScore;
    }
    if (find(prepared.appName, token) != std::string_view::npos)
        return appNameScore;
    const bool longEnough = queryToken.fuzzy;
    if (longEnough && std::ranges::any_of(keywords(item.kind), [&](std::string_view keyword) {
            return keyword.starts_with(token);
        }))
        return keywordScore;
    if (longEnough && possible && isSubsequence(token, haystack))
        return subsequenceScore;
    return 0;
}

} // namespace

std::string haystack(const ClipItem& item) {
    std::string joined;
    bool first = true;
    const auto append = [&](std::string_view part) {
        if (!first)
            joined += '\n';
        joined += part;
        first = false;
    };
    if (item.text) {
        // A text of at most that many bytes has at most that many characters.
        if (item.text->size() <= haystackCharacters)
            append(*item.text);
        else
            append(Text::graphemePrefix(*item.text, haystackCharacters));
    }
    for (const std::string& text : item.fileURLs) {
        if (const auto url = URL::parse(text)) {
            const auto segments = url->pathSegments();
            if (!segments.empty())
                append(segments.back());
        }
    }
    if (item.colour)
        append(item.colour->hex());
    return Text::lowercased(joined);
}

bool isSubsequence(std::string_view needle, std::string_view haystack) {
    // UTF-8 never lets a character's encoding start inside another character, so finding each
    // character's bytes in turn (with the vectorised memchr and memmem) finds the characters.
    const auto* needleBytes = reinterpret_cast<const uint8_t*>(needle.data());
    const auto needleLength = static_cast<int32_t>(std::min<std::size_t>(needle.size(), INT32_MAX));
    std::size_t offset = 0;
    int32_t needleIndex = 0;
    while (needleIndex < needleLength) {
        const int32_t characterStart = needleIndex;
        UChar32 scalar = 0;
        U8_NEXT(needleBytes, needleIndex, needleLength, scalar);
        const std::string_view character = needle.substr(static_cast<std::size_t>(characterStart),
                                                         static_cast<std::size_t>(needleIndex - characterStart));
        const std::string_view rest = haystack.substr(std::min(offset, haystack.size()));
        const std::size_t found = character.size() == 1 ? rest.find(character.front()) : find(rest, character);
        if (found == std::string_view::npos)
            return false;
        offset += found + character.size();
    }
    return true;
}

ByteSet byteSet(std::string_view text) {
    ByteSet set{};
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        set[byte >> 6] |= std::uint64_t{1} << (byte & 63);
    }
    return set;
}

Prepared prepare(const ClipItem& item) {
    Prepared prepared{haystack(item), Text::lowercased(item.sourceAppName.value_or("")), {}};
    prepared.haystackBytes = byteSet(prepared.haystack);
    return prepared;
}

std::vector<Token> tokens(std::string_view query) {
    const std::string lowered = Text::lowercased(query);
    std::vector<Token> result;
    std::size_t start = 0;
    while (start <= lowered.size()) {
        std::size_t end = lowered.find(' ', start);
        if (end == std::string::npos)
            end = lowered.size();
        if (end > start) {
            std::string text = lowered.substr(start, end - start);
            const bool fuzzy = Text::graphemeCount(text) >= minFuzzyTokenCharacters;
            const ByteSet bytes = byteSet(text);
            result.push_back(Token{std::move(text), fuzzy, bytes});
        }
        start = end + 1;
    }
    return result;
}

int score(const ClipItem& item, const Prepared& prepared, std::span<const Token> queryTokens) {
    if (queryTokens.empty())
        return 0;
    int total = 0;
    for (const Token& token : queryTokens) {
        const int points = tokenScore(item, prepared, token);
        if (points == 0)
            return 0;
        total += points;
    }
    return item.pinned ? total + pinnedBonus : total;
}

int score(const ClipItem& item, std::string_view query) {
    const auto queryTokens = tokens(query);
    if (queryTokens.empty())
        return 0;
    return score(item, prepare(item), queryTokens);
}

std::vector<ClipItem> rank(const std::vector<ClipItem>& items, std::string_view query) {
    const auto queryTokens = tokens(query);
    std::vector<std::pair<int, std::size_t>> scored;
    for (std::size_t index = 0; index < items.size(); ++index) {
        const int points = score(items[index], prepare(items[index]), queryTokens);
        if (points > 0)
            scored.emplace_back(points, index);
    }
    // Best score first; equal scores keep their input order.
    std::ranges::sort(scored, [](const auto& a, const auto& b) {
        return a.first != b.first ? a.first > b.first : a.second < b.second;
    });
    std::vector<ClipItem> result;
    result.reserve(scored.size());
    for (const auto& [points, index] : scored)
        result.push_back(items[index]);
    return result;
}

} // namespace brind::ClipSearch
