#pragma once

#include "BrindKit/sdk/SDKHTTPParseError.hpp"
#include "BrindKit/sdk/SDKHTTPRequest.hpp"

#include <cstddef>
#include <expected>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// Incremental reader of HTTP/1.1 requests for one connection (never shared between connections).
///
/// Each chunk received goes to `feed`, which answers "need more" (an empty optional), a complete
/// request, or an `SDKHTTPParseError`. Only Content-Length bodies are read; any transfer coding other
/// than identity is refused. After an error the parser is of no further use.
///
/// Bytes that arrive after a complete request stay buffered: the next `feed` (even of no bytes)
/// starts from them, so pipelined requests come out one per call.
///
/// The search for the end of the head resumes where the previous call stopped, so a head that
/// arrives one byte at a time costs time linear in its length.
class SDKHTTPParser {
public:
    /// The most bytes the request line and header fields may take, up to the blank line.
    static constexpr std::size_t maxHeaderBytes = 16384;
    /// The largest accepted Content-Length.
    static constexpr std::size_t maxBodyBytes = 8388608;

    /// What `feed` answers: a request, nothing yet (need more bytes), or why it can never be one.
    using FeedResult = std::expected<std::optional<SDKHTTPRequest>, SDKHTTPParseError>;

    /// A request target split into its path and decoded query.
    struct Target {
        std::string path;
        std::map<std::string, std::string> query;

        friend bool operator==(const Target&, const Target&) = default;
    };

    SDKHTTPParser() = default;

    /// Appends `data` and tries to complete a request.
    FeedResult feed(std::string_view data);

    /// Splits "/path?a=1&b=two+words" into the path and the query. Keys and values have "+" read as
    /// a space and are then percent-decoded; a piece whose percent-encoding is invalid (or decodes
    /// to ill-formed UTF-8) keeps its text as it was, with only "+" replaced. A repeated key keeps
    /// its last value.
    static Target splitTarget(std::string_view target);

    /// The bytes received and not yet consumed.
    const std::string& buffer() const { return buffer_; }

private:
    // The parsed head of the request in progress.
    struct Head {
        std::string method;
        std::string path;
        std::map<std::string, std::string> query;
        std::map<std::string, std::string> headers;
        std::size_t bodyStart = 0; // index in the buffer where the body begins
        std::size_t length = 0;    // the body length from Content-Length
    };

    std::expected<Head, SDKHTTPParseError> parseHead(std::size_t headEnd) const;
    bool headCanStillFit() const;

    std::string buffer_;
    std::optional<Head> head_;
    // Where the next search for CR LF CR LF starts; everything before it is known not to begin one.
    std::size_t searchFrom_ = 0;
};

} // namespace brind
