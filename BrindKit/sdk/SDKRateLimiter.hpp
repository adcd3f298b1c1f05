#pragma once

#include "BrindKit/foundation/Date.hpp"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace brind {

/// A token bucket per key (a client's appID): `capacity` requests at once, refilled continuously at
/// `refillPerSecond`. A plain value; its owner serialises access.
struct SDKRateLimiter {
    struct Bucket {
        double tokens = 0;
        Date at; ///< when `tokens` was last brought up to date
        friend bool operator==(const Bucket&, const Bucket&) = default;
    };

    /// Once this many buckets exist after an allowed request that added one, buckets idle for
    /// `pruneAge` go.
    static constexpr std::size_t pruneThreshold = 513;
    static constexpr double pruneAge = 600;

    /// Keys hashed as text, so that a request's appID finds its bucket without a copy.
    struct KeyHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view key) const noexcept { return std::hash<std::string_view>{}(key); }
    };

    double capacity = 0;
    double refillPerSecond = 0;
    // Hashed rather than ordered: with thousands of clients, walking a tree of their names was a
    // visible part of answering a request.
    std::unordered_map<std::string, Bucket, KeyHash, std::equal_to<>> buckets;

    /// 40 at once, 20 a second: every authorised request.
    static SDKRateLimiter requests() { return SDKRateLimiter{.capacity = 40, .refillPerSecond = 20, .buckets = {}}; }

    /// 3 at once, one every 20 seconds: registrations.
    static SDKRateLimiter registrations() { return SDKRateLimiter{.capacity = 3, .refillPerSecond = 0.05, .buckets = {}}; }

    /// Takes `cost` tokens from the key's bucket when it holds them.
    bool allow(std::string_view key, Date now, double cost = 1);

    /// Whole seconds until one token is available again; 0 when one is available now.
    int retryAfter(std::string_view key, Date now) const;

    friend bool operator==(const SDKRateLimiter&, const SDKRateLimiter&) = default;

private:
    double refilled(const Bucket& bucket, Date now) const;
};

} // namespace brind
