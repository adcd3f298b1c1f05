#include "BrindKit/clipboard/ClipIndex.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

// The fast index reader and the tree reader agree on every text, and whatever decodes is written
// back as an index that decodes to the same items.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const auto fast = brind::ClipIndex::decode(input);
    if (fast != brind::ClipIndex::decodeThroughTree(input))
        std::abort();
    if (!fast)
        return 0;
    // A colour is stored as its hex form, so one read from an object comes back rounded to it.
    auto expected = *fast;
    for (brind::ClipItem& item : expected) {
        if (item.colour)
            item.colour = brind::RGBA::fromHex(item.colour->hex());
    }
    const auto again = brind::ClipIndex::decode(brind::ClipIndex::encode(brind::ClipHistory(*fast)));
    if (again != expected)
        std::abort();
    return 0;
}
