#include "BrindKit/foundation/Base64.hpp"

#include "BrindKit/foundation/ASCII.hpp"

#include <nettle/base64.h>

#include <cstdint>

namespace brind::Base64 {

namespace {

bool isAlphabet(char c) {
    return ASCII::isAlphanumeric(c) || c == '+' || c == '/';
}

} // namespace

std::string encode(std::string_view bytes) {
    std::string text(BASE64_ENCODE_RAW_LENGTH(bytes.size()), '\0');
    base64_encode_raw(text.data(), bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
    return text;
}

std::optional<std::string> decode(std::string_view text) {
    // Nettle's decoder passes white space over; the strict form is checked here first.
    if (text.size() % 4 != 0)
        return std::nullopt;
    std::size_t padding = 0;
    if (!text.empty() && text.back() == '=')
        padding = text.size() >= 2 && text[text.size() - 2] == '=' ? 2 : 1;
    for (std::size_t i = 0; i < text.size() - padding; ++i) {
        if (!isAlphabet(text[i]))
            return std::nullopt;
    }
    std::string bytes(BASE64_DECODE_LENGTH(text.size()), '\0');
    std::size_t length = bytes.size();
    base64_decode_ctx context;
    base64_decode_init(&context);
    if (!base64_decode_update(&context, &length, reinterpret_cast<std::uint8_t*>(bytes.data()), text.size(),
                              text.data()) ||
        !base64_decode_final(&context))
        return std::nullopt;
    bytes.resize(length);
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
