#include "cli/HTTPClient.hpp"

#include "BrindKit/foundation/ASCII.hpp"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

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

std::string reason(int error) {
    return std::system_category().message(error);
}

// Closes the socket however `send` ends.
struct Descriptor {
    int value = -1;
    ~Descriptor() {
        if (value >= 0)
            ::close(value);
    }
};

} // namespace

// Plain blocking socket calls: an event loop would add a dozen system calls to every hook call,
// for one connection that is written once and read to its end.
std::expected<HTTPClient::Response, HTTPClient::Error>
HTTPClient::send(std::string_view method, std::string_view target, const Headers& headers,
                 std::string_view body) const {
    Descriptor socket{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP)};
    int error = socket.value < 0 ? errno : 0;
    if (!error) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port_);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(socket.value, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            error = errno;
    }
    if (error) {
        const Failure failure = error == ECONNREFUSED ? Failure::unreachable : Failure::broken;
        return std::unexpected(Error{failure, "couldn't reach vantaquill on 127.0.0.1:" + std::to_string(port_) +
                                                  " (" + reason(error) + ")"});
    }
    const int on = 1;
    ::setsockopt(socket.value, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);

    const std::string request = requestText(method, target, port_, headers, body);
    for (std::size_t sent = 0; sent < request.size();) {
        // MSG_NOSIGNAL: an island that closes early is an error here, not a SIGPIPE.
        const ssize_t count = ::send(socket.value, request.data() + sent, request.size() - sent, MSG_NOSIGNAL);
        if (count >= 0)
            sent += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            return std::unexpected(Error{Failure::broken, "couldn't send the request (" + reason(errno) + ")"});
    }

    std::string received;
    Response response;
    std::size_t bodyStart = std::string::npos;
    std::size_t contentLength = std::string::npos;
    char chunk[readChunk];
    for (;;) {
        const ssize_t count = ::recv(socket.value, chunk, sizeof chunk, 0);
        if (count < 0) {
            if (errno == EINTR)
                continue;
            return std::unexpected(Error{Failure::broken, "the connection broke (" + reason(errno) + ")"});
        }
        if (count == 0)
            break; // the island closed: the reply ends here
        received.append(chunk, static_cast<std::size_t>(count));
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
    }
    if (bodyStart == std::string::npos)
        return std::unexpected(Error{Failure::broken, "the reply ended before its head"});
    response.body = received.substr(bodyStart, contentLength);
    return response;
}

} // namespace vq
