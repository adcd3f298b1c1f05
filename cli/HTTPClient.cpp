#include "cli/HTTPClient.hpp"

#include "BrindKit/foundation/ASCII.hpp"

#include <asio.hpp>

#include <cstdlib>

namespace vq {

namespace {

constexpr std::size_t readChunk = 16 * 1024;

std::string requestText(std::string_view method, std::string_view target, std::uint16_t port,
                        const HTTPClient::Headers& headers, std::string_view body) {
    std::string text;
    text.reserve(256 + body.size());
    text.append(method).append(" ").append(target).append(" HTTP/1.1\r\n");
    text.append("Host: 127.0.0.1:").append(std::to_string(port)).append("\r\n");
    text.append("User-Agent: vantaquill-cli\r\nConnection: close\r\n");
    for (const auto& [name, value] : headers)
        text.append(name).append(": ").append(value).append("\r\n");
    if (!body.empty() || method == "POST")
        text.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n");
    text.append("\r\n").append(body);
    return text;
}

// Reads the status line and headers; nothing when the head is not HTTP.
bool parseHead(std::string_view head, HTTPClient::Response& response) {
    const std::size_t lineEnd = head.find("\r\n");
    const std::string_view statusLine = head.substr(0, lineEnd);
    if (!statusLine.starts_with("HTTP/1.") || statusLine.size() < 12)
        return false;
    response.status = std::atoi(std::string(statusLine.substr(9, 3)).c_str());
    std::size_t at = lineEnd == std::string_view::npos ? head.size() : lineEnd + 2;
    while (at < head.size()) {
        const std::size_t end = std::min(head.find("\r\n", at), head.size());
        const std::string_view line = head.substr(at, end - at);
        const std::size_t colon = line.find(':');
        if (colon != std::string_view::npos) {
            response.headers[brind::ASCII::lowercased(brind::ASCII::trimmed(line.substr(0, colon)))] =
                brind::ASCII::trimmed(line.substr(colon + 1));
        }
        at = end + 2;
    }
    return response.status > 0;
}

} // namespace

std::expected<HTTPClient::Response, HTTPClient::Error>
HTTPClient::send(std::string_view method, std::string_view target, const Headers& headers,
                 std::string_view body) const {
    asio::io_context context;
    asio::ip::tcp::socket socket(context);
    asio::error_code error;
    socket.connect({asio::ip::make_address_v4("127.0.0.1"), port_}, error);
    if (error) {
        const Failure failure = error == asio::error::connection_refused ? Failure::unreachable : Failure::broken;
        return std::unexpected(Error{failure, "couldn't reach vantaquill on 127.0.0.1:" + std::to_string(port_) +
                                                  " (" + error.message() + ")"});
    }
    socket.set_option(asio::ip::tcp::no_delay(true), error);

    const std::string request = requestText(method, target, port_, headers, body);
    asio::write(socket, asio::buffer(request), error);
    if (error)
        return std::unexpected(Error{Failure::broken, "couldn't send the request (" + error.message() + ")"});

    std::string received;
    Response response;
    std::size_t bodyStart = std::string::npos;
    std::size_t contentLength = std::string::npos;
    char chunk[readChunk];
    for (;;) {
        const std::size_t count = socket.read_some(asio::buffer(chunk), error);
        received.append(chunk, count);
        if (bodyStart == std::string::npos) {
            const std::size_t headEnd = received.find("\r\n\r\n");
            if (headEnd != std::string::npos) {
                if (!parseHead(std::string_view(received).substr(0, headEnd), response))
                    return std::unexpected(Error{Failure::broken, "the reply was not HTTP"});
                bodyStart = headEnd + 4;
                if (const auto found = response.headers.find("content-length"); found != response.headers.end())
                    contentLength = std::strtoull(found->second.c_str(), nullptr, 10);
            }
        }
        if (bodyStart != std::string::npos && contentLength != std::string::npos &&
            received.size() >= bodyStart + contentLength)
            break;
        if (error == asio::error::eof)
            break;
        if (error)
            return std::unexpected(Error{Failure::broken, "the connection broke (" + error.message() + ")"});
    }
    if (bodyStart == std::string::npos)
        return std::unexpected(Error{Failure::broken, "the reply ended before its head"});
    response.body = received.substr(bodyStart, contentLength);
    return response;
}

} // namespace vq
