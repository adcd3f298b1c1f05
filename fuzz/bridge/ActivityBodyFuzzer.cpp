// Feeds arbitrary bytes to both readers of a POST /v1/activities body. Whenever the common-shape
// reader takes a body, the tree must read exactly the same activity from it, and the bridge's reader
// must always answer what the tree answers, activity or refusal.
#include "BrindKit/sdk/SDKBridgeActivityBody.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

const brind::Date now{1'700'000'000.5};
constexpr std::string_view appID = "fuzz.app";

void require(bool condition) {
    if (!condition)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace ActivityBody = brind::SDKBridgeActivityBody;
    const std::string_view body(reinterpret_cast<const char*>(data), size);
    const auto tree = ActivityBody::readThroughTree(body, appID, now);
    if (const auto fast = ActivityBody::readCommonShape(body, appID, now)) {
        require(tree.has_value() && *tree == *fast);
        // The same text too: equality does not see the sign of a zero.
        require(brind::JSONText::compact(tree->toJSON()) == brind::JSONText::compact(fast->toJSON()));
    }
    require(ActivityBody::read(body, appID, now) == tree);
    return 0;
}
