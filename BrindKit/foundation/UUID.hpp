#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// A 128-bit identifier, written in its canonical upper-case form
/// ("E621E1F8-C36C-495A-93FC-0C247A3E6E5F").
struct UUID {
    std::array<std::uint8_t, 16> bytes{};

    /// A random (version 4) identifier from the system's secure random source.
    static UUID random();

    /// Reads the 8-4-4-4-12 hexadecimal form, in either case; anything else is nothing.
    static std::optional<UUID> parse(std::string_view text);

    std::string string() const;

    friend bool operator==(const UUID&, const UUID&) = default;
    friend auto operator<=>(const UUID&, const UUID&) = default;
};

} // namespace brind
