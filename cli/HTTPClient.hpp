#pragma once

#include <cstdint>
#include <expected>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vq {

/// A blocking HTTP/1.1 client for the island's loopback API. One request per connection, as the
/// server answers; the reply is read up to its Content-Length so that the command never waits for
/// the server to close.
class HTTPClient {
public:
    struct Response {
        int status = 0;
        std::map<std::string, std::string> headers; ///< lower-cased names
        std::string body;
    };

    enum class Failure {
        unreachable, ///< nothing listens on the port: the island is not running
        broken,      ///< the connection failed or the reply was not HTTP
    };

    struct Error {
        Failure failure = Failure::broken;
        std::string message;
    };

    using Headers = std::vector<std::pair<std::string, std::string>>;

    explicit HTTPClient(std::uint16_t port) : port_(port) {}

    std::expected<Response, Error> send(std::string_view method, std::string_view target,
                                        const Headers& headers = {}, std::string_view body = {}) const;

private:
    std::uint16_t port_;
};

} // namespace vq
