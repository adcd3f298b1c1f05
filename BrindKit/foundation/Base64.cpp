#include "BrindKit/foundation/Base64.hpp"

#include "BrindKit/foundation/ASCII.hpp"

#include <openssl/evp.h>

namespace brind::Base64 {

namespace {

bool isAlphabet(char c) {
    return ASCII::isAlphanumeric(c) || c == '+' || c == '/';
}

} // namespace

std::string encode(std::string_view bytes) {
    std::string text(4 * ((bytes.size() + 2) / 3), '\0');
    const int written = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                        reinterpret_cast<const unsigned char*>(bytes.data()),
                                        static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(written));
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

    // OpenSSL decodes whole groups; the padding's zero bytes are cut off afterwards.
    std::string bytes(text.size() / 4 * 3, '\0');
    const int written = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                        reinterpret_cast<const unsigned char*>(text.data()),
                                        static_cast<int>(text.size()));
    if (written < 0)
        return std::nullopt;
    bytes.resize(static_cast<std::size_t>(written) - padding);
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
