#include "BrindKit/sdk/SDKHTTPParser.hpp"

#include <benchmark/benchmark.h>

#include <string>

using brind::SDKHTTPParser;

namespace {

// A typical SDK call: about 300 bytes on the wire, 200 of them a JSON body (the bench reports the
// exact size).
std::string typicalPost() {
    std::string body = R"({"id":"build-42","title":"Building vantaquill","subtitle":"Compiling 118 of 240 files",)"
                       R"("symbol":"hammer","progress":0.49,"priority":"normal","expiresIn":600,"tint":"#4F8CFF","x":")";
    body.append(200 - body.size() - 2, 'y');
    body += "\"}";
    return "POST /v1/activities HTTP/1.1\r\n"
           "Host: 127.0.0.1:47829\r\n"
           "Content-Type: application/json\r\n"
           "Content-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

// A head of exactly the largest accepted size.
std::string largestHead() {
    std::string head = "GET /v1/status HTTP/1.1\r\nHost: localhost\r\n";
    while (head.size() + 64 < SDKHTTPParser::maxHeaderBytes)
        head += "X-Filler-" + std::to_string(head.size()) + ": " + std::string(40, 'f') + "\r\n";
    head += "X-Last: ";
    head.append(SDKHTTPParser::maxHeaderBytes - head.size(), 'l');
    return head + "\r\n\r\n";
}

void ParseTypicalPost(benchmark::State& state) {
    const std::string request = typicalPost();
    for (auto _ : state) {
        SDKHTTPParser parser;
        auto result = parser.feed(request);
        benchmark::DoNotOptimize(result);
    }
    state.counters["bytes"] = static_cast<double>(request.size());
}
BENCHMARK(ParseTypicalPost);

void LargestHeadWhole(benchmark::State& state) {
    const std::string request = largestHead();
    for (auto _ : state) {
        SDKHTTPParser parser;
        auto result = parser.feed(request);
        if (!result || !*result)
            state.SkipWithError("the head was not accepted");
        benchmark::DoNotOptimize(result);
    }
}
BENCHMARK(LargestHeadWhole)->Unit(benchmark::kMicrosecond);

void LargestHeadByteByByte(benchmark::State& state) {
    const std::string request = largestHead();
    for (auto _ : state) {
        SDKHTTPParser parser;
        for (const char byte : request) {
            auto result = parser.feed(std::string_view(&byte, 1));
            benchmark::DoNotOptimize(result);
        }
    }
}
BENCHMARK(LargestHeadByteByByte)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
