#include "BrindKit/agents/AgentJSON.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

// Any input either fails with an offset inside the text or parses to a value whose written form
// reads back to the same value and is written again identically.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto value = brind::AgentJSON::parse(text);
    if (!value) {
        if (value.error().offset > size)
            std::abort();
        return 0;
    }
    const std::string written = value->serialized(2);
    const auto again = brind::AgentJSON::parse(written);
    if (!again || !(*again == *value) || again->serialized(2) != written)
        std::abort();
    return 0;
}
