#include "BrindKit/agents/AgentUsageReader.hpp"

#include <gtest/gtest.h>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

using namespace brind;

namespace brind {
void PrintTo(const AgentUsage& usage, std::ostream* out) {
    *out << "{input " << usage.inputTokens << ", output " << usage.outputTokens << ", cacheRead "
         << usage.cacheReadTokens << ", cacheWritten " << usage.cacheWrittenTokens << ", context "
         << usage.contextTokens.value_or(-1) << "}";
}
} // namespace brind

namespace {

std::string claude(const std::string& id, int input, int output, int cacheRead, int cacheWritten) {
    return R"({"type":"assistant","requestId":"req_)" + id + R"(","message":{"id":"msg_)" + id +
           R"(","role":"assistant","content":[{"type":"text","text":"ok"}],"usage":{"input_tokens":)" +
           std::to_string(input) + R"(,"cache_creation_input_tokens":)" + std::to_string(cacheWritten) +
           R"(,"cache_read_input_tokens":)" + std::to_string(cacheRead) + R"(,"output_tokens":)" +
           std::to_string(output) + "}}}\n";
}

std::string codex(int input, int cached, int output, int lastInput) {
    return R"({"timestamp":"2025-10-01T09:12:00Z","type":"event_msg","payload":{"type":"token_count","info":{"total_token_usage":{"input_tokens":)" +
           std::to_string(input) + R"(,"cached_input_tokens":)" + std::to_string(cached) +
           R"(,"output_tokens":)" + std::to_string(output) +
           R"(,"reasoning_output_tokens":0,"total_tokens":0},"last_token_usage":{"input_tokens":)" +
           std::to_string(lastInput) + R"(,"cached_input_tokens":0,"output_tokens":1}}}})" + "\n";
}

std::optional<AgentUsage> read(const std::vector<std::string>& chunks) {
    AgentUsageReader reader;
    for (const auto& chunk : chunks)
        reader.feed(chunk);
    return reader.usage();
}

} // namespace

TEST(AgentUsageReader, ReadsTranscripts) {
    const std::string userLine = R"({"type":"user","message":{"role":"user","content":"what is \"usage\"?"}})"
                                 "\n";
    struct Case {
        const char* name;
        std::vector<std::string> chunks;
        std::optional<AgentUsage> expected;
    };
    const Case cases[] = {
        {"one reply written as three lines counts once, its last line winning",
         {claude("a", 10, 5, 100, 20) + claude("a", 10, 7, 100, 20) + claude("a", 10, 9, 100, 20) +
          claude("b", 3, 4, 130, 0)},
         AgentUsage{.inputTokens = 13,
                    .outputTokens = 13,
                    .cacheReadTokens = 230,
                    .cacheWrittenTokens = 20,
                    .contextTokens = 133}},
        {"a line cut by the end of a read is finished by the next",
         {claude("a", 10, 5, 0, 0).substr(0, 40),
          claude("a", 10, 5, 0, 0).substr(40) + claude("b", 1, 1, 0, 0).substr(0, 7),
          claude("b", 1, 1, 0, 0).substr(7)},
         AgentUsage{.inputTokens = 11, .outputTokens = 6, .contextTokens = 1}},
        {"a line not yet ended is not read",
         {claude("a", 10, 5, 0, 0), claude("b", 1, 1, 0, 0).substr(0, 150)},
         AgentUsage{.inputTokens = 10, .outputTokens = 5, .contextTokens = 10}},
        {"blank, broken and other lines are passed over",
         {"\n\nnot json \"usage\"\n" + claude("a", 10, 5, 0, 0).substr(0, 60) + "\n[1,2]\n" + userLine +
          R"({"type":"assistant","message":{"id":"msg_x","usage":"many"}})"
          "\n" +
          claude("b", 2, 3, 0, 0)},
         AgentUsage{.inputTokens = 2, .outputTokens = 3, .contextTokens = 2}},
        {"nothing but other lines is no usage", {userLine, "\n", "{}\n"}, std::nullopt},
        {"codex: the latest total is the session's, cached input read apart",
         {codex(1000, 600, 50, 400), codex(3000, 2000, 120, 900)},
         AgentUsage{.inputTokens = 1000, .outputTokens = 120, .cacheReadTokens = 2000, .contextTokens = 900}},
        {"codex: a count whose info is null changes nothing",
         {R"({"type":"event_msg","payload":{"type":"token_count","info":null}})"
          "\n",
          codex(1000, 600, 50, 400),
          R"({"type":"event_msg","payload":{"type":"token_count","info":null,"rate_limits":{}}})"
          "\n"},
         AgentUsage{.inputTokens = 400, .outputTokens = 50, .cacheReadTokens = 600, .contextTokens = 400}},
        {"absurd counts are held at a trillion, and two of them add up without overflowing",
         {R"({"type":"assistant","message":{"id":"a","usage":{"input_tokens":9000000000000000000}}})"
          "\n"
          R"({"type":"assistant","message":{"id":"b","usage":{"input_tokens":9000000000000000000}}})"
          "\n"},
         AgentUsage{.inputTokens = 2'000'000'000'000, .contextTokens = 1'000'000'000'000}},
    };
    for (const auto& test : cases)
        EXPECT_EQ(read(test.chunks), test.expected) << test.name;
}

TEST(AgentUsageReader, ReadsTheSameWhereverTheReadsEnd) {
    const std::string transcript = claude("a", 10, 5, 100, 20) + "\n" + claude("a", 10, 8, 100, 20) +
                                   "garbage\n" + claude("b", 3, 4, 130, 0);
    const auto whole = read({transcript});
    ASSERT_TRUE(whole);
    EXPECT_EQ(whole->spent(), 13 + 12 + 20);
    for (std::size_t cut = 0; cut <= transcript.size(); ++cut)
        EXPECT_EQ(read({transcript.substr(0, cut), transcript.substr(cut)}), whole) << cut;
}

TEST(AgentUsageReader, PassesOverAnOverlongLineWithoutHoldingIt) {
    const std::string longLine =
        R"({"type":"assistant","message":{"id":"msg_long","usage":{"input_tokens":5},"content":")" +
        std::string(AgentUsageReader::maxLine, 'x') + "\"}}\n";
    AgentUsageReader reader;
    // In reads of a megabyte, as the application reads: the line's start is never joined to its end.
    for (std::size_t at = 0; at < longLine.size(); at += 1 << 20)
        reader.feed(std::string_view(longLine).substr(at, 1 << 20));
    reader.feed(claude("b", 2, 3, 0, 0));
    EXPECT_EQ(reader.usage(), (AgentUsage{.inputTokens = 2, .outputTokens = 3, .contextTokens = 2}));
}

TEST(AgentUsageReader, AddsUpAGeminiConversation) {
    const std::string conversation = R"({"sessionId":"c2b9e6f4","messages":[
        {"id":"1","type":"user","content":"Summarise the open pull requests"},
        {"id":"2","type":"gemini","content":"","tokens":{"input":1000,"output":40,"cached":600,"thoughts":10,"tool":0,"total":1050}},
        {"id":"3","type":"gemini","content":"There are three.","tokens":{"input":1200,"output":60,"cached":1000,"thoughts":0,"total":1260}}]})";
    EXPECT_EQ(AgentUsageReader::readConversation(conversation),
              (AgentUsage{.inputTokens = 600, .outputTokens = 110, .cacheReadTokens = 1600, .contextTokens = 1200}));
    for (const char* nothing : {R"({"messages":[{"type":"user","content":"hi"}]})", R"({"messages":{}})", "[]",
                                R"({"messages":[{"tokens":{"input":1)"})
        EXPECT_EQ(AgentUsageReader::readConversation(nothing), std::nullopt) << nothing;
}
