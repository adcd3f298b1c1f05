// Feeds arbitrary bytes to the decoders that read what SDK clients send: activities, HUD events and
// hex colours. Beyond not crashing, a decoded value must survive a second trip through its own JSON
// unchanged (the first trip may round colours to whole bytes).
#include "BrindKit/foundation/RGBA.hpp"
#include "BrindKit/island/HUDEvent.hpp"
#include "BrindKit/island/LiveActivity.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

const brind::Date now{1'700'000'000};

void require(bool condition) {
    if (!condition)
        std::abort();
}

template <typename Decode>
void checkStableRoundTrip(const brind::JSON& body, Decode decode) {
    auto first = decode(body);
    if (!first)
        return;
    auto second = decode(first->toJSON());
    require(second.has_value());
    auto third = decode(second->toJSON());
    require(third.has_value() && *third == *second);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    if (const auto colour = brind::RGBA::fromHex(text))
        require(brind::RGBA::fromHex(colour->hex()) == *colour);

    const auto body = brind::JSONText::parse(text);
    if (!body)
        return 0;
    checkStableRoundTrip(*body,
                         [](const brind::JSON& json) { return brind::LiveActivity::fromJSON(json, now); });
    checkStableRoundTrip(*body, [](const brind::JSON& json) { return brind::HUDEvent::fromJSON(json); });
    return 0;
}
