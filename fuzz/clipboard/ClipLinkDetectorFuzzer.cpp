#include "BrindKit/clipboard/ClipLinkDetector.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

// A detected link is the trimmed input itself, short, without blanks, and detected again as is.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const auto link = brind::ClipLinkDetector::link(input);
    if (!link)
        return 0;
    if (*link != brind::Text::trimmed(input) || link->empty() || link->size() > 4096)
        std::abort();
    if (link->find(' ') != std::string::npos || link->find('\n') != std::string::npos)
        std::abort();
    if (brind::ClipLinkDetector::link(*link) != link)
        std::abort();
    return 0;
}
