#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vq {

/// A port as the command takes it, from `--port` or $VANTAQUILL_PORT: decimal digits only, 1 to 65535.
inline std::optional<std::uint16_t> portNumber(std::string_view text) {
    unsigned long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < 1 || number > 65535)
        return std::nullopt;
    return static_cast<std::uint16_t>(number);
}

} // namespace vq
