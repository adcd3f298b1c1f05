#include "BrindKit/foundation/URL.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/Hex.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <uriparser/Uri.h>

#include <dlfcn.h>

#include <cstdio>

namespace brind {

namespace {

// uriparser is opened the first time a URL is parsed instead of being linked: the `vantaquill`
// command forwards an agent's hook payload on every tool use without parsing a URL, and loading the
// library was part of its start-up. The package depends on it; if it cannot be opened all the same,
// that is said once and no text parses.
struct URIParser {
    decltype(&::uriParseSingleUriExA) parse = nullptr;
    decltype(&::uriFreeUriMembersA) free = nullptr;
};

const URIParser* uriParser() {
    static const std::optional<URIParser> loaded = []() -> std::optional<URIParser> {
        void* library = ::dlopen("liburiparser.so.1", RTLD_LAZY | RTLD_LOCAL);
        URIParser functions;
        if (library) {
            functions.parse = reinterpret_cast<decltype(functions.parse)>(::dlsym(library, "uriParseSingleUriExA"));
            functions.free = reinterpret_cast<decltype(functions.free)>(::dlsym(library, "uriFreeUriMembersA"));
        }
        if (!functions.parse || !functions.free) {
            const char* reason = ::dlerror();
            std::fprintf(stderr, "URLs cannot be read: liburiparser.so.1 is missing (%s)\n",
                         reason ? reason : "an entry point is missing");
            return std::nullopt;
        }
        // The library stays open for the life of the process, like a linked one.
        return functions;
    }();
    return loaded ? &*loaded : nullptr;
}

std::string range(const UriTextRangeA& range) {
    if (!range.first || !range.afterLast)
        return {};
    return std::string(range.first, range.afterLast);
}

bool present(const UriTextRangeA& range) {
    return range.first != nullptr;
}

bool isUnreserved(char c) {
    return ASCII::isAlphanumeric(c) || c == '-' || c == '.' || c == '_' || c == '~';
}

} // namespace

std::optional<URL> URL::parse(std::string_view text) {
    // uriparser reads up to a terminator; an embedded NUL would silently cut the text short.
    if (text.find('\0') != std::string_view::npos)
        return std::nullopt;
    const URIParser* parser = uriParser();
    if (!parser)
        return std::nullopt;
    const std::string owned(text);
    UriUriA uri;
    const char* errorPosition = nullptr;
    if (parser->parse(&uri, owned.data(), owned.data() + owned.size(), &errorPosition) != URI_SUCCESS)
        return std::nullopt;

    URL url;
    url.scheme = range(uri.scheme);
    const bool hasAuthority = present(uri.hostText) || uri.hostData.ip4 || uri.hostData.ip6 ||
                              present(uri.hostData.ipFuture);
    if (present(uri.userInfo))
        url.userInfo = range(uri.userInfo);
    if (hasAuthority) {
        std::string host = range(uri.hostText);
        if (uri.hostData.ip6 || present(uri.hostData.ipFuture))
            host = "[" + host + "]";
        url.host = host;
    }
    if (present(uri.portText))
        url.port = range(uri.portText);

    // The path spans from the first segment to the last; its leading "/" is implied by the flags.
    std::string path;
    for (const UriPathSegmentA* segment = uri.pathHead; segment; segment = segment->next) {
        if (segment != uri.pathHead)
            path.push_back('/');
        path += range(segment->text);
    }
    if (uri.absolutePath || (hasAuthority && uri.pathHead))
        path.insert(path.begin(), '/');
    url.path = path;

    if (present(uri.query))
        url.query = range(uri.query);
    if (present(uri.fragment))
        url.fragment = range(uri.fragment);
    parser->free(&uri);
    return url;
}

std::string URL::fileURL(std::string_view absolutePath) {
    return "file://" + percentEncode(absolutePath, "/!$&'()*+,;=:@");
}

std::string URL::lowercasedScheme() const {
    return Text::lowercased(scheme);
}

std::vector<std::string> URL::pathSegments() const {
    std::vector<std::string> segments;
    std::size_t start = 0;
    while (start <= path.size()) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        if (end > start)
            segments.push_back(percentDecode(std::string_view(path).substr(start, end - start)));
        start = end + 1;
    }
    return segments;
}

std::string URL::decodedPath() const {
    return percentDecode(path);
}

std::vector<URL::QueryItem> URL::queryItems() const {
    std::vector<QueryItem> items;
    if (!query)
        return items;
    const std::string_view all(*query);
    std::size_t start = 0;
    while (start <= all.size()) {
        const std::size_t end = std::min(all.find('&', start), all.size());
        const std::string_view item = all.substr(start, end - start);
        if (!item.empty()) {
            const std::size_t equals = item.find('=');
            if (equals == std::string_view::npos)
                items.emplace_back(percentDecode(item), "");
            else
                items.emplace_back(percentDecode(item.substr(0, equals)), percentDecode(item.substr(equals + 1)));
        }
        start = end + 1;
    }
    return items;
}

std::string URL::percentDecode(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            if (const int value = Hex::byteValue(text[i + 1], text[i + 2]); value >= 0) {
                result.push_back(static_cast<char>(value));
                i += 2;
                continue;
            }
        }
        result.push_back(text[i]);
    }
    return result;
}

std::string URL::percentEncode(std::string_view text, std::string_view keep) {
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        if (isUnreserved(c) || keep.find(c) != std::string_view::npos) {
            result.push_back(c);
            continue;
        }
        result.push_back('%');
        Hex::appendByte(result, static_cast<std::uint8_t>(c), Hex::Letters::upper);
    }
    return result;
}

std::string URL::encodeQuery(const std::vector<QueryItem>& items) {
    // Sub-delimiters that separate items ("&", "=", "+") are encoded; ":", "/", "?", "@", "," stay.
    constexpr std::string_view keep = "!$'()*,;:@/?";
    std::string query;
    for (const auto& [name, value] : items) {
        if (!query.empty())
            query.push_back('&');
        query += percentEncode(name, keep);
        query.push_back('=');
        query += percentEncode(value, keep);
    }
    return query;
}

} // namespace brind
