#include "BrindKit/foundation/Base64.hpp"


#include <algorithm>
#include <array>
#include <cstdint>

namespace brind::Base64 {

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Each character's six bits; -1 outside the alphabet.
constexpr std::array<int, 256> values = [] {
    std::array<int, 256> table{};
    table.fill(-1);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        table[static_cast<unsigned char>(alphabet[i])] = static_cast<int>(i);
    return table;
}();

bool isAlphabet(char c) {
    return values[static_cast<unsigned char>(c)] >= 0;
}

} // namespace

std::string encode(std::string_view bytes) {
    std::string text;
    text.reserve(4 * ((bytes.size() + 2) / 3));
    const auto byte = [&](std::size_t at) -> std::uint32_t {
        return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
    };
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::uint32_t group = byte(at) << 16 | byte(at + 1) << 8 | byte(at + 2);
        text.push_back(alphabet[group >> 18 & 63]);
        text.push_back(alphabet[group >> 12 & 63]);
        text.push_back(at + 1 < bytes.size() ? alphabet[group >> 6 & 63] : '=');
        text.push_back(at + 2 < bytes.size() ? alphabet[group & 63] : '=');
    }
    return text;
}

std::optional<std::string> decode(std::string_view text) {
    if (text.size() % 4 != 0)
        return std::nullopt;
    std::size_t padding = 0;
    if (!text.empty() && text.back() == '=')
        padding = text.size() >= 2 && text[text.size() - 2] == '=' ? 2 : 1;
    for (std::size_t i = 0; i < text.size() - padding; ++i) {
        if (!isAlphabet(text[i]))
            return std::nullopt;
    }
    if (text.empty())
        return std::string{};

    // Whole groups, padding read as zero bits; the padding's bytes are cut off afterwards.
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    for (std::size_t at = 0; at < text.size(); at += 4) {
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 4; ++i)
            group = group << 6 | static_cast<std::uint32_t>(std::max(values[static_cast<unsigned char>(text[at + i])], 0));
        bytes.push_back(static_cast<char>(group >> 16));
        bytes.push_back(static_cast<char>(group >> 8 & 0xFF));
        bytes.push_back(static_cast<char>(group & 0xFF));
    }
    bytes.resize(bytes.size() - padding);
    return bytes;
}

std::string encodeURL(std::string_view bytes) {
    std::string text = encode(bytes);
    for (char& c : text) {
        if (c == '+')
            c = '-';
        else if (c == '/')
            c = '_';
    }
    while (!text.empty() && text.back() == '=')
        text.pop_back();
    return text;
}

} // namespace brind::Base64
