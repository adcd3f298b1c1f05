// Feeds arbitrary bytes to the SDK's HTTP parser, whole and in pieces, and checks that both ways
// agree: the same requests in the same order, and the same error at the end.
#include "BrindKit/sdk/SDKHTTPParser.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace {

struct Outcome {
    std::vector<brind::SDKHTTPRequest> requests;
    std::optional<brind::SDKHTTPParseError> error;

    bool operator==(const Outcome&) const = default;
};

// Feeds `bytes` in pieces of `chunk` bytes, then keeps draining buffered (pipelined) requests.
Outcome run(std::string_view bytes, std::size_t chunk) {
    brind::SDKHTTPParser parser;
    Outcome outcome;
    const auto take = [&](const brind::SDKHTTPParser::FeedResult& result) {
        if (!result) {
            outcome.error = result.error();
            return false;
        }
        if (!*result)
            return false;
        const brind::SDKHTTPRequest& request = **result;
        if (request.path.empty() || request.path.front() != '/' || request.method.empty())
            std::abort();
        outcome.requests.push_back(request);
        return true;
    };
    for (std::size_t at = 0; at < bytes.size() && !outcome.error; at += chunk) {
        if (!take(parser.feed(bytes.substr(at, chunk))))
            continue;
        while (!outcome.error && take(parser.feed({}))) {
        }
    }
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    // The first byte picks the piece size for the second run.
    const std::size_t chunk = static_cast<std::size_t>(data[0] % 17) + 1;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);

    const Outcome whole = run(bytes, bytes.size() + 1);
    const Outcome pieces = run(bytes, chunk);
    if (!(whole == pieces))
        std::abort();

    const auto target = brind::SDKHTTPParser::splitTarget(bytes);
    if (target.path.size() > bytes.size())
        std::abort();
    return 0;
}
