#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace brind {

/// A URI reference parsed strictly by RFC 3986 (uriparser). Components are kept as written
/// (still percent-encoded); the accessors below decode them.
struct URL {
    std::string scheme;                  ///< empty for a relative reference
    std::optional<std::string> userInfo; ///< present only when written
    std::optional<std::string> host;     ///< present when the reference has an authority ("//")
    std::optional<std::string> port;     ///< the port's digits as written
    std::string path;                    ///< "" or starting with "/" when there is an authority
    std::optional<std::string> query;    ///< without the "?"
    std::optional<std::string> fragment; ///< without the "#"

    using QueryItem = std::pair<std::string, std::string>;

    /// Parses a URI reference; text that RFC 3986 does not allow (spaces, bad percent escapes,
    /// brackets outside an IP literal, ...) is nothing.
    static std::optional<URL> parse(std::string_view text);

    /// A "file://" URL for an absolute path, percent-encoding what a path may not hold.
    static std::string fileURL(std::string_view absolutePath);

    bool isAbsolute() const { return !scheme.empty(); }

    /// The scheme in lower case (schemes compare without case).
    std::string lowercasedScheme() const;

    /// The path's segments split at "/", percent-decoded; empty segments are dropped.
    std::vector<std::string> pathSegments() const;

    /// The decoded path ("/a b/c" for "/a%20b/c"); for file URLs this is the file system path.
    std::string decodedPath() const;

    /// The query's "name=value" items split at "&", percent-decoded ("+" stays "+").
    std::vector<QueryItem> queryItems() const;

    /// Percent-decodes; a "%" not followed by two hexadecimal digits is kept as it is.
    static std::string percentDecode(std::string_view text);

    /// Percent-encodes every byte except the RFC 3986 unreserved characters and `keep`.
    static std::string percentEncode(std::string_view text, std::string_view keep = {});

    /// "a=1&b=two%20words" from items, in order; values encoded as query components.
    static std::string encodeQuery(const std::vector<QueryItem>& items);

    friend bool operator==(const URL&, const URL&) = default;
};

} // namespace brind
