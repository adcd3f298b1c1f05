#include "BrindKit/sdk/SDKRateLimiter.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace brind {

namespace {

// Elapsed time is the difference of two dates near 1.7e9 seconds, good to about 2.4e-7 s; without
// this slack exactly one refill interval can come out a hair short of a whole token.
constexpr double tokenSlack = 1e-4;

} // namespace

double SDKRateLimiter::refilled(const Bucket& bucket, Date now) const {
    return std::min(capacity, bucket.tokens + std::max(0.0, now - bucket.at) * refillPerSecond);
}

bool SDKRateLimiter::allow(std::string_view key, Date now, double cost) {
    auto found = buckets.find(key);
    const bool added = found == buckets.end();
    if (added)
        found = buckets.emplace(std::string(key), Bucket{.tokens = capacity, .at = now}).first;
    Bucket& bucket = found->second;
    const double tokens = refilled(bucket, now);
    const bool allowed = cost <= tokens + tokenSlack;
    bucket = Bucket{.tokens = allowed ? std::max(0.0, tokens - cost) : tokens, .at = now};
    // Only a new bucket grows the map, so pruning when one is added bounds it as well as pruning on
    // every request would; with hundreds of clients, a sweep of every bucket on every request was a
    // large part of answering one.
    if (added && allowed && buckets.size() >= pruneThreshold)
        std::erase_if(buckets, [now](const auto& entry) { return now - entry.second.at >= pruneAge; });
    return allowed;
}

int SDKRateLimiter::retryAfter(std::string_view key, Date now) const {
    const auto found = buckets.find(key);
    if (found == buckets.end())
        return 0;
    const double tokens = refilled(found->second, now);
    if (tokens + tokenSlack >= 1)
        return 0;
    // A bucket that never refills stays empty for good.
    if (refillPerSecond <= 0)
        return std::numeric_limits<int>::max();
    return static_cast<int>(std::ceil((1 - tokens) / refillPerSecond));
}

} // namespace brind
