#include "BrindKit/sdk/SDKAuthorizer.hpp"

#include "BrindKit/foundation/Base64.hpp"
#include "BrindKit/foundation/SHA256.hpp"
#include "BrindKit/foundation/SecureRandom.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <tuple>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace brind {

namespace {

constexpr std::string_view activityPrefix = "sdk.";

// Line breaks are U+000A to U+000D, U+0085, U+2028 and U+2029; in valid UTF-8 each has exactly one
// byte sequence, so a plain search finds them.
bool containsLineBreak(std::string_view text) {
    if (text.find_first_of("\n\v\f\r") != std::string_view::npos)
        return true;
    // U+0085 is C2 85; U+2028 and U+2029 are E2 80 A8 and E2 80 A9.
    return text.find("\xC2\x85") != std::string_view::npos || text.find("\xE2\x80\xA8") != std::string_view::npos ||
           text.find("\xE2\x80\xA9") != std::string_view::npos;
}

// The stored digests, word by word: word k of digest i is `words[k][i]`, so that one vector
// instruction compares the same word of four digests.
using Columns = std::array<const std::uint64_t*, 4>;
using Words = std::array<std::uint64_t, 4>;

// The index of the last stored digest equal to `wanted` from `start` on, or `matched` when none is.
// Every digest is compared, whole, and the loop never leaves early, so the time taken depends only
// on how many there are.
std::ptrdiff_t lastEqualPlain(const Columns& words, std::size_t start, std::size_t count, const Words& wanted,
                              std::ptrdiff_t matched) {
    for (std::size_t i = start; i < count; ++i) {
        const std::uint64_t difference = (words[0][i] ^ wanted[0]) | (words[1][i] ^ wanted[1]) |
                                         (words[2][i] ^ wanted[2]) | (words[3][i] ^ wanted[3]);
        matched = difference == 0 ? static_cast<std::ptrdiff_t>(i) : matched;
    }
    return matched;
}

#if defined(__x86_64__)
// The same four digests at a time: with thousands of clients the plain loop was most of the work
// of a request.
__attribute__((target("avx2"))) std::ptrdiff_t lastEqualWide(const Columns& words, std::size_t count,
                                                              const Words& wanted) {
    const std::uint64_t* first = words[0];
    const std::uint64_t* second = words[1];
    const std::uint64_t* third = words[2];
    const std::uint64_t* fourth = words[3];
    const __m256i firstKey = _mm256_set1_epi64x(static_cast<long long>(wanted[0]));
    const __m256i secondKey = _mm256_set1_epi64x(static_cast<long long>(wanted[1]));
    const __m256i thirdKey = _mm256_set1_epi64x(static_cast<long long>(wanted[2]));
    const __m256i fourthKey = _mm256_set1_epi64x(static_cast<long long>(wanted[3]));
    std::ptrdiff_t matched = -1;
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m256i difference = _mm256_or_si256(
            _mm256_or_si256(
                _mm256_xor_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(first + i)), firstKey),
                _mm256_xor_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(second + i)), secondKey)),
            _mm256_or_si256(
                _mm256_xor_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(third + i)), thirdKey),
                _mm256_xor_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(fourth + i)), fourthKey)));
        // One bit per digest of the four, set where every word is equal; the highest is the last.
        const auto equal = static_cast<unsigned>(_mm256_movemask_pd(
            _mm256_castsi256_pd(_mm256_cmpeq_epi64(difference, _mm256_setzero_si256()))));
        const auto last = static_cast<std::ptrdiff_t>(i) + 31 - __builtin_clz(equal | 1u);
        matched = equal != 0 ? last : matched;
    }
    return lastEqualPlain(words, i, count, wanted, matched);
}
#endif

std::ptrdiff_t lastEqual(const Columns& words, std::size_t count, const Words& wanted) {
#if defined(__x86_64__)
    static const bool wide = __builtin_cpu_supports("avx2");
    if (wide)
        return lastEqualWide(words, count, wanted);
#endif
    return lastEqualPlain(words, 0, count, wanted, -1);
}

} // namespace

SDKAuthorizer::SDKAuthorizer(const std::vector<SDKClient>& initial) {
    for (const auto& client : initial)
        clients.insert_or_assign(client.appID, client);
    indexLocked();
}

void SDKAuthorizer::indexLocked() {
    for (auto& column : digestWords) {
        column.clear();
        column.reserve(clients.size());
    }
    digestOwners.clear();
    digestOwners.reserve(clients.size());
    for (auto& [appID, client] : clients) {
        if (client.tokenHash.size() != 64)
            continue;
        std::array<std::uint8_t, 32> bytes{};
        bool readable = true;
        for (std::size_t i = 0; readable && i < bytes.size(); ++i) {
            const char high = client.tokenHash[2 * i];
            const char low = client.tokenHash[2 * i + 1];
            // Lower case only, as digests are stored: "AB" is not the text "ab".
            const auto value = [](char c) { return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1; };
            readable = value(high) >= 0 && value(low) >= 0;
            bytes[i] = static_cast<std::uint8_t>(value(high) * 16 + value(low));
        }
        if (!readable)
            continue;
        for (std::size_t k = 0; k < digestWords.size(); ++k) {
            std::uint64_t word = 0;
            std::memcpy(&word, bytes.data() + 8 * k, 8);
            digestWords[k].push_back(word);
        }
        digestOwners.push_back(&client);
    }
}

void SDKAuthorizer::setOnChange(ChangeHandler handler) {
    std::lock_guard guard(lock);
    onChange = std::move(handler);
}

void SDKAuthorizer::setOnSeen(std::function<void()> handler) {
    std::lock_guard guard(lock);
    onSeen = std::move(handler);
}

std::vector<SDKClient> SDKAuthorizer::sortedLocked() const {
    struct Keyed {
        std::string key;
        const SDKClient* client;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(clients.size());
    for (const auto& [appID, client] : clients)
        keyed.push_back(Keyed{Text::lowercased(client.name), &client});
    // Names that differ only in case fall back to their exact text, then to the unique appID.
    std::ranges::sort(keyed, [](const Keyed& a, const Keyed& b) {
        return std::tie(a.key, a.client->name, a.client->appID) < std::tie(b.key, b.client->name, b.client->appID);
    });
    std::vector<SDKClient> sorted;
    sorted.reserve(keyed.size());
    for (const auto& entry : keyed)
        sorted.push_back(*entry.client);
    return sorted;
}

std::vector<SDKClient> SDKAuthorizer::all() const {
    std::lock_guard guard(lock);
    return sortedLocked();
}

std::optional<SDKClient> SDKAuthorizer::client(std::string_view appID) const {
    std::lock_guard guard(lock);
    const auto found = clients.find(appID);
    if (found == clients.end())
        return std::nullopt;
    return found->second;
}

bool SDKAuthorizer::isValidAppID(std::string_view text) {
    if (text.empty() || text.size() > maxAppIDCharacters)
        return false;
    const auto isLowerOrDigit = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); };
    if (!isLowerOrDigit(text.front()))
        return false;
    return std::ranges::all_of(text, [&](char c) { return isLowerOrDigit(c) || c == '.' || c == '-'; });
}

bool SDKAuthorizer::isValidName(std::string_view text) {
    if (!Text::isValidUTF8(text))
        return false;
    const std::string trimmed = Text::trimmed(text);
    const std::size_t characters = Text::graphemeCount(trimmed);
    return characters >= 1 && characters <= maxNameCharacters && !containsLineBreak(trimmed);
}

std::string SDKAuthorizer::newToken() {
    std::array<std::uint8_t, tokenRandomBytes> bytes{};
    SecureRandom::fill(bytes.data(), bytes.size());
    std::string token(tokenPrefix);
    token += Base64::encodeURL(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    return token;
}

std::string SDKAuthorizer::hash(std::string_view token) {
    return SHA256::hex(token);
}

bool SDKAuthorizer::same(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    // Eight bytes at a time: every stored digest is compared on every request, so with a few hundred
    // clients a byte-wise loop was most of the work of authorising one.
    std::uint64_t difference = 0;
    std::size_t i = 0;
    for (; i + 8 <= a.size(); i += 8) {
        std::uint64_t x = 0;
        std::uint64_t y = 0;
        std::memcpy(&x, a.data() + i, 8);
        std::memcpy(&y, b.data() + i, 8);
        difference |= x ^ y;
    }
    for (; i < a.size(); ++i)
        difference |= static_cast<unsigned char>(a[i] ^ b[i]);
    return difference == 0;
}

void SDKAuthorizer::report(std::vector<SDKClient> list) const {
    ChangeHandler handler;
    {
        std::lock_guard guard(lock);
        handler = onChange;
    }
    if (handler)
        handler(list);
}

std::string SDKAuthorizer::issue(std::string appID, std::string name, std::vector<SDKScope> scopes, Date now) {
    std::string token = newToken();
    std::vector<SDKClient> list;
    {
        std::lock_guard guard(lock);
        SDKClient client{
            .appID = appID,
            .name = std::move(name),
            .scopes = SDKScopes::normalized(std::move(scopes)),
            .tokenHash = hash(token),
            .createdAt = now,
            .lastSeen = now,
        };
        clients.insert_or_assign(std::move(appID), std::move(client));
        indexLocked();
        list = sortedLocked();
    }
    report(std::move(list));
    return token;
}

void SDKAuthorizer::revoke(std::string_view appID) {
    std::vector<SDKClient> list;
    {
        std::lock_guard guard(lock);
        const auto found = clients.find(appID);
        if (found == clients.end())
            return;
        clients.erase(found);
        indexLocked();
        list = sortedLocked();
    }
    report(std::move(list));
}

void SDKAuthorizer::setScopes(std::string_view appID, std::vector<SDKScope> scopes) {
    std::vector<SDKClient> list;
    {
        std::lock_guard guard(lock);
        const auto found = clients.find(appID);
        if (found == clients.end())
            return;
        auto normalized = SDKScopes::normalized(std::move(scopes));
        if (found->second.scopes == normalized)
            return;
        found->second.scopes = std::move(normalized);
        list = sortedLocked();
    }
    report(std::move(list));
}

std::expected<SDKClient, SDKAuthError> SDKAuthorizer::authorize(const std::optional<std::string>& token,
                                                                std::optional<SDKScope> scope, Date now) {
    if (!token)
        return std::unexpected(SDKAuthError::missingToken());
    const SHA256::Digest digest = SHA256::digest(*token);
    std::array<std::uint64_t, 4> words{};
    std::memcpy(words.data(), digest.data(), digest.size());

    SDKClient result;
    std::vector<SDKClient> list;
    std::function<void()> seen;
    {
        std::lock_guard guard(lock);
        // Every stored digest is compared, whole, so the time taken does not depend on which one
        // matches or where the others differ. They are compared in binary, side by side in one
        // array: with a few hundred clients this loop was the largest part of authorising a request.
        const Columns columns{digestWords[0].data(), digestWords[1].data(), digestWords[2].data(),
                              digestWords[3].data()};
        const std::ptrdiff_t matched = lastEqual(columns, digestOwners.size(), words);
        if (matched < 0)
            return std::unexpected(SDKAuthError::invalidToken());
        SDKClient* match = digestOwners[static_cast<std::size_t>(matched)];
        if (scope && std::ranges::find(match->scopes, *scope) == match->scopes.end())
            return std::unexpected(SDKAuthError::scopeNotGranted(*scope));
        const bool worthReporting = now - match->lastSeen >= lastSeenReportInterval;
        match->lastSeen = now;
        result = *match;
        if (worthReporting) {
            if (onSeen)
                seen = onSeen;
            else
                list = sortedLocked();
        }
    }
    if (seen)
        seen();
    else if (!list.empty())
        report(std::move(list));
    return result;
}

std::optional<SDKClient> SDKAuthorizer::owner(std::string_view ofActivity) const {
    if (!ofActivity.starts_with(activityPrefix))
        return std::nullopt;
    const std::string_view rest = ofActivity.substr(activityPrefix.size());
    std::lock_guard guard(lock);
    const SDKClient* best = nullptr;
    for (const auto& [appID, client] : clients) {
        const bool fits = rest.size() > appID.size() + 1 && rest.starts_with(appID) && rest[appID.size()] == '.';
        if (fits && (!best || appID.size() > best->appID.size()))
            best = &client;
    }
    if (!best)
        return std::nullopt;
    return *best;
}

} // namespace brind
