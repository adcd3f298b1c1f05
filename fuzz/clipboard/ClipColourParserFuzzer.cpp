#include "BrindKit/clipboard/ClipColourParser.hpp"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

// A parsed colour always has finite components in 0...1, and its hex form parses back to itself.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const auto colour = brind::ClipColourParser::parse(input);
    if (!colour)
        return 0;
    for (const double component : {colour->r, colour->g, colour->b, colour->a}) {
        if (!std::isfinite(component) || component < -1e-9 || component > 1 + 1e-9)
            std::abort();
    }
    const auto again = brind::ClipColourParser::parse(colour->hex());
    if (!again || again->hex() != colour->hex())
        std::abort();
    return 0;
}
