#include "BrindKit/system/NetworkPeekDelivery.hpp"

#include <string>

namespace brind {

NetworkPeekDelivery::Plan NetworkPeekDelivery::receive(const std::vector<NetworkPeek>& peeks, Date now) {
    Plan plan;
    if (now - start_ < quietTime)
        return plan;
    for (const NetworkPeek& peek : peeks) {
        if (peek.is<NetworkPeek::NoInternet>()) {
            pending_ = ++generation_;
            plan.check = Check{confirmationDelay, generation_};
            continue;
        }
        // Back before the drop was confirmed: neither the drop nor the return is worth a peek.
        if (peek.is<NetworkPeek::BackOnline>() && pending_) {
            pending_.reset();
            plan.check.reset();
            continue;
        }
        plan.post.push_back(peek);
    }
    return plan;
}

std::optional<NetworkPeek> NetworkPeekDelivery::confirm(std::uint64_t generation, bool online) {
    if (!pending_ || *pending_ != generation)
        return std::nullopt;
    pending_.reset();
    if (online)
        return std::nullopt;
    return NetworkPeek::noInternet();
}

double NetworkPeekDelivery::lifetime(const NetworkPeek& peek) {
    return peek.is<NetworkPeek::NoInternet>() ? noInternetLifetime : peekLifetime;
}

LiveActivity NetworkPeekDelivery::activity(const NetworkPeek& peek, Date now) {
    LiveActivity activity;
    activity.id = std::string(activitySource) + "." + std::string(name(peek.kind()));
    activity.source = std::string(activitySource);
    activity.leading = ActivityGlyph::symbol(std::string(peek.symbol()));
    activity.title = peek.title();
    activity.expiresAt = now + lifetime(peek);
    activity.postedAt = now;
    return activity;
}

} // namespace brind
