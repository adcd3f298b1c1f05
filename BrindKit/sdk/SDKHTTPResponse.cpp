#include "BrindKit/sdk/SDKHTTPResponse.hpp"

#include "BrindKit/foundation/ASCII.hpp"

#include <cctype>

namespace brind {

namespace {

constexpr std::size_t ssePaddingSpaces = 2048;

} // namespace

SDKHTTPResponse SDKHTTPResponse::json(int status, const JSON& object) {
    // The writer replaces ill-formed UTF-8 instead of failing, so there is always a body to send.
    return SDKHTTPResponse{
        .status = status,
        .headers = {{"Content-Type", "application/json"}},
        .body = JSONText::compact(object),
    };
}

SDKHTTPResponse SDKHTTPResponse::error(int status, std::string_view code, std::string_view message) {
    // The text `json` would write for the object, without building it: every refusal goes this way.
    std::string body = R"({"error":)";
    JSONText::appendCompactString(body, code);
    body += R"(,"message":)";
    JSONText::appendCompactString(body, message);
    body += '}';
    return raw(status, std::move(body), "application/json");
}

SDKHTTPResponse SDKHTTPResponse::raw(int status, std::string body, std::optional<std::string> contentType) {
    SDKHTTPResponse response{.status = status, .headers = {}, .body = std::move(body)};
    if (contentType)
        response.headers.emplace("Content-Type", std::move(*contentType));
    return response;
}

std::string_view SDKHTTPResponse::reason(int status) {
    switch (status) {
    case 200: return "OK";
    case 201: return "Created";
    case 202: return "Accepted";
    case 204: return "No Content";
    case 400: return "Bad Request";
    case 401: return "Unauthorized";
    case 403: return "Forbidden";
    case 404: return "Not Found";
    case 405: return "Method Not Allowed";
    case 408: return "Request Timeout";
    case 413: return "Payload Too Large";
    case 415: return "Unsupported Media Type";
    case 429: return "Too Many Requests";
    case 500: return "Internal Server Error";
    case 503: return "Service Unavailable";
    default: return "Status";
    }
}

std::string SDKHTTPResponse::serialized() const {
    std::string wire;
    wire.reserve(160 + body.size());
    wire += "HTTP/1.1 ";
    wire += std::to_string(status);
    wire += ' ';
    wire += reason(status);
    wire += "\r\n";
    bool hasLength = false;
    for (const auto& [name, value] : headers) {
        hasLength = hasLength || ASCII::equalsIgnoringCase(name, "content-length");
        wire += name;
        wire += ": ";
        wire += value;
        wire += "\r\n";
    }
    if (!hasLength) {
        wire += "Content-Length: ";
        wire += std::to_string(body.size());
        wire += "\r\n";
    }
    wire += "Connection: close\r\nCache-Control: no-store\r\n\r\n";
    wire += body;
    return wire;
}

std::string SDKHTTPResponse::sseHead() {
    std::string head = "HTTP/1.1 200 OK\r\n"
                       "Content-Type: text/event-stream\r\n"
                       "Cache-Control: no-store\r\n"
                       "Connection: keep-alive\r\n"
                       "X-Content-Type-Options: nosniff\r\n"
                       "X-Accel-Buffering: no\r\n"
                       "\r\n";
    head += ": ";
    head.append(ssePaddingSpaces, ' ');
    head += "\n\n";
    return head;
}

} // namespace brind
