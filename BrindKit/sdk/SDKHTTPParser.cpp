#include "BrindKit/sdk/SDKHTTPParser.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/Hex.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>

namespace brind {

namespace {

constexpr std::string_view headTerminator = "\r\n\r\n";
constexpr std::string_view lineBreak = "\r\n";
constexpr std::string_view versionPrefix = "HTTP/1.";
constexpr char horizontalTab = '\t';
constexpr unsigned char deleteCharacter = 0x7F;

// Control characters other than tab have no place in a head, and CR and LF may only appear together
// as a line break: refusing a bare CR or LF keeps one request from being read two ways. One pass,
// since this runs over every head.
bool hasOnlyCleanLineBreaks(std::string_view text) {
    constexpr std::uint64_t ones = 0x0101010101010101ull;
    constexpr std::uint64_t highBits = 0x8080808080808080ull;
    for (std::size_t i = 0; i < text.size(); ++i) {
        // Eight bytes with none below 0x20 and no DEL are passed over at once (the tests are exact:
        // any byte below 0x20, any byte equal to 0x7F).
        while (i + 8 <= text.size()) {
            std::uint64_t word = 0;
            std::memcpy(&word, text.data() + i, 8);
            const std::uint64_t delete_ = word ^ (ones * deleteCharacter);
            const bool control = ((word - ones * 0x20) & ~word & highBits) != 0;
            const bool deletes = ((delete_ - ones) & ~delete_ & highBits) != 0;
            if (control || deletes)
                break;
            i += 8;
        }
        if (i >= text.size())
            break;
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte >= 0x20 && byte != deleteCharacter) || text[i] == horizontalTab)
            continue;
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
            ++i;
            continue;
        }
        return false;
    }
    return true;
}

// RFC 9110 §5.6.2: the characters a method name may use.
bool isTokenCharacter(char c) {
    return ASCII::isAlphanumeric(c) || std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

bool isASCIISpace(char c) {
    return c == ' ' || c == horizontalTab;
}

// Trims white space; plain ASCII edges are handled here, anything else goes to the Unicode trimmer.
std::string trimmedField(std::string_view text) {
    while (!text.empty() && isASCIISpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isASCIISpace(text.back()))
        text.remove_suffix(1);
    if (!text.empty() && (static_cast<unsigned char>(text.front()) >= 0x80 ||
                          static_cast<unsigned char>(text.back()) >= 0x80))
        return Text::trimmed(text);
    return std::string(text);
}

// "+" as a space, then strict percent-decoding: a "%" without two hexadecimal digits, or bytes
// that do not form UTF-8, leave the piece as it stood after the "+" replacement.
std::string decodeQueryPiece(std::string_view piece) {
    std::string spaced(piece);
    std::ranges::replace(spaced, '+', ' ');
    if (spaced.find('%') == std::string::npos)
        return spaced;
    std::string decoded;
    decoded.reserve(spaced.size());
    for (std::size_t i = 0; i < spaced.size(); ++i) {
        if (spaced[i] != '%') {
            decoded.push_back(spaced[i]);
            continue;
        }
        const int byte = i + 2 < spaced.size() ? Hex::byteValue(spaced[i + 1], spaced[i + 2]) : -1;
        if (byte < 0)
            return spaced;
        decoded.push_back(static_cast<char>(byte));
        i += 2;
    }
    if (!Text::isValidUTF8(decoded))
        return spaced;
    return decoded;
}

// Content-Length read leniently as an optional sign and decimal digits. A negative length (other
// than "-0") and one past the signed 64-bit range are nothing, never wrapped around to a small one.
std::optional<std::uint64_t> contentLengthValue(std::string_view text) {
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+'))
        text.remove_prefix(1);
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) ||
        (negative && value != 0))
        return std::nullopt;
    return value;
}

} // namespace

SDKHTTPParser::FeedResult SDKHTTPParser::feed(std::string_view data) {
    buffer_.append(data);

    if (!head_) {
        const std::size_t found = buffer_.find(headTerminator, searchFrom_);
        if (found == std::string::npos) {
            // A terminator may straddle this chunk and the next, so the next search starts just
            // before the end; earlier bytes are never searched again.
            searchFrom_ = buffer_.size() >= headTerminator.size() - 1 ? buffer_.size() - (headTerminator.size() - 1) : 0;
            if (!headCanStillFit())
                return std::unexpected(SDKHTTPParseError::headersTooLarge);
            return std::nullopt;
        }
        if (found > maxHeaderBytes)
            return std::unexpected(SDKHTTPParseError::headersTooLarge);
        auto parsed = parseHead(found);
        if (!parsed)
            return std::unexpected(parsed.error());
        head_ = std::move(*parsed);
    }

    if (buffer_.size() - head_->bodyStart < head_->length)
        return std::nullopt;

    SDKHTTPRequest request{
        .method = std::move(head_->method),
        .path = std::move(head_->path),
        .query = std::move(head_->query),
        .headers = std::move(head_->headers),
        .body = buffer_.substr(head_->bodyStart, head_->length),
    };
    buffer_.erase(0, head_->bodyStart + head_->length);
    head_.reset();
    searchFrom_ = 0;
    return request;
}

// Without a terminator yet, the head is only hopeless once no terminator starting at or before
// `maxHeaderBytes` could still complete: so a head of exactly the limit is accepted however it
// is split into chunks, and anything longer is refused as soon as that is certain.
bool SDKHTTPParser::headCanStillFit() const {
    if (buffer_.size() <= maxHeaderBytes)
        return true;
    const std::size_t earliest = buffer_.size() - std::min(buffer_.size(), headTerminator.size() - 1);
    for (std::size_t start = earliest; start <= maxHeaderBytes; ++start) {
        if (headTerminator.starts_with(std::string_view(buffer_).substr(start)))
            return true;
    }
    return false;
}

std::expected<SDKHTTPParser::Head, SDKHTTPParseError> SDKHTTPParser::parseHead(std::size_t headEnd) const {
    const std::string_view text = std::string_view(buffer_).substr(0, headEnd);
    if (!Text::isValidUTF8(text) || !hasOnlyCleanLineBreaks(text))
        return std::unexpected(SDKHTTPParseError::malformed);

    std::size_t lineEnd = std::min(text.find(lineBreak), text.size());
    const std::string_view requestLine = text.substr(0, lineEnd);

    // method SP target SP version, single spaces, nothing else (RFC 9112 §3).
    const std::size_t firstSpace = requestLine.find(' ');
    const std::size_t secondSpace = firstSpace == std::string_view::npos ? firstSpace : requestLine.find(' ', firstSpace + 1);
    if (secondSpace == std::string_view::npos || requestLine.find(' ', secondSpace + 1) != std::string_view::npos)
        return std::unexpected(SDKHTTPParseError::malformed);
    const std::string_view method = requestLine.substr(0, firstSpace);
    const std::string_view target = requestLine.substr(firstSpace + 1, secondSpace - firstSpace - 1);
    const std::string_view version = requestLine.substr(secondSpace + 1);
    if (method.empty() || !std::ranges::all_of(method, isTokenCharacter))
        return std::unexpected(SDKHTTPParseError::malformed);
    if (!version.starts_with(versionPrefix) || !target.starts_with('/'))
        return std::unexpected(SDKHTTPParseError::malformed);
    Head head;
    head.method = ASCII::uppercased(method);
    Target split = splitTarget(target);
    head.path = std::move(split.path);
    head.query = std::move(split.query);

    std::optional<std::string> contentLength;
    while (lineEnd < text.size()) {
        const std::size_t lineStart = lineEnd + lineBreak.size();
        lineEnd = std::min(text.find(lineBreak, lineStart), text.size());
        const std::string_view line = text.substr(lineStart, lineEnd - lineStart);
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos)
            return std::unexpected(SDKHTTPParseError::malformed);
        std::string name = trimmedField(line.substr(0, colon));
        Text::lowercase(name);
        if (name.empty())
            return std::unexpected(SDKHTTPParseError::malformed);
        std::string value = trimmedField(line.substr(colon + 1));
        // Two different lengths for one body is the classic smuggling shape: refuse it rather
        // than pick one.
        if (name == "content-length") {
            if (contentLength && *contentLength != value)
                return std::unexpected(SDKHTTPParseError::malformed);
            contentLength = value;
        }
        head.headers.insert_or_assign(std::move(name), std::move(value));
    }

    if (const auto coding = head.headers.find("transfer-encoding");
        coding != head.headers.end() && Text::lowercased(coding->second) != "identity")
        return std::unexpected(SDKHTTPParseError::unsupportedTransferEncoding);

    if (contentLength) {
        const auto length = contentLengthValue(*contentLength);
        if (!length)
            return std::unexpected(SDKHTTPParseError::malformed);
        if (*length > maxBodyBytes)
            return std::unexpected(SDKHTTPParseError::bodyTooLarge);
        head.length = static_cast<std::size_t>(*length);
    }
    head.bodyStart = headEnd + headTerminator.size();
    return head;
}

SDKHTTPParser::Target SDKHTTPParser::splitTarget(std::string_view target) {
    const std::size_t question = target.find('?');
    if (question == std::string_view::npos)
        return Target{.path = std::string(target), .query = {}};

    Target result{.path = std::string(target.substr(0, question)), .query = {}};
    const std::string_view rest = target.substr(question + 1);
    std::size_t start = 0;
    while (start <= rest.size()) {
        const std::size_t end = std::min(rest.find('&', start), rest.size());
        const std::string_view piece = rest.substr(start, end - start);
        start = end + 1;
        if (piece.empty())
            continue;
        const std::size_t equals = piece.find('=');
        std::string key = decodeQueryPiece(piece.substr(0, equals));
        std::string value = equals == std::string_view::npos ? std::string() : decodeQueryPiece(piece.substr(equals + 1));
        result.query.insert_or_assign(std::move(key), std::move(value));
    }
    return result;
}

} // namespace brind
