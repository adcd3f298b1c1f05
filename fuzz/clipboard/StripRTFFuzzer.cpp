#include "BrindKit/clipboard/ClipPlainText.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

// Any bytes in, trimmed valid UTF-8 out, without reading past the input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string text = brind::ClipPlainText::stripRTF(input);
    if (!brind::Text::isValidUTF8(text))
        std::abort();
    if (brind::Text::trimmed(text) != text)
        std::abort();
    return 0;
}
