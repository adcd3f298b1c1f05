#include "BrindKit/agents/AgentEventDecoder.hpp"
#include "BrindKit/agents/AgentJSON.hpp"
#include "BrindKit/agents/AgentUsageReader.hpp"

#include <benchmark/benchmark.h>

#include <string>

using namespace brind;

namespace {

// A Claude Code PreToolUse call as its hook sends it on every Bash command.
const std::string preToolUse = R"({
  "session_id": "8f3c2a1e-5b7d-4e0f-9a6c-2d1b0e9f8a7c",
  "transcript_path": "/home/ada/.claude/projects/-home-ada-src-lighthouse/8f3c2a1e-5b7d-4e0f-9a6c-2d1b0e9f8a7c.jsonl",
  "cwd": "/home/ada/src/lighthouse",
  "permission_mode": "default",
  "hook_event_name": "PreToolUse",
  "tool_name": "Bash",
  "tool_input": {
    "command": "npm test -- --watch=false && npm run lint -- --max-warnings=0",
    "description": "Run the unit tests and the linter",
    "timeout": 120000
  }
})";

// An agent settings file of about 100 KB in the installer's layout: long permission lists, many
// hook entries and environment variables, with a few comments as people leave them.
std::string settingsFile() {
    AgentJSON::Array allow;
    for (int i = 0; i < 900; ++i)
        allow.push_back(AgentJSON::string("Bash(npm run script-" + std::to_string(i) + ":*)"));
    AgentJSON::Object env;
    for (int i = 0; i < 200; ++i)
        env.push_back({"VARIABLE_" + std::to_string(i), AgentJSON::string("/opt/tools/" + std::to_string(i) + "/bin")});
    AgentJSON::Object hooks;
    for (const char* event : {"PreToolUse", "PostToolUse", "Notification", "Stop", "SessionStart", "UserPromptSubmit"}) {
        AgentJSON::Array entries;
        for (int i = 0; i < 40; ++i) {
            entries.push_back(AgentJSON::object({
                {"matcher", AgentJSON::string("Tool" + std::to_string(i))},
                {"hooks", AgentJSON::array({AgentJSON::object({
                              {"type", AgentJSON::string("command")},
                              {"command", AgentJSON::string("~/.local/share/vantaquill/hook claude-code")},
                              {"timeout", AgentJSON::number("600.0")},
                          })})},
            }));
        }
        hooks.push_back({event, AgentJSON::array(std::move(entries))});
    }
    const AgentJSON settings = AgentJSON::object({
        {"model", AgentJSON::string("opus")},
        {"env", AgentJSON::object(std::move(env))},
        {"permissions", AgentJSON::object({{"allow", AgentJSON::array(std::move(allow))}})},
        {"hooks", AgentJSON::object(std::move(hooks))},
    });
    return "// edited by hand\n" + settings.serialized(2);
}

void decodeClaudePreToolUse(benchmark::State& state) {
    for (auto _ : state) {
        auto event = AgentEventDecoder::decode(AgentKind::claudeCode, std::nullopt, preToolUse, Date{1'760'000'000});
        benchmark::DoNotOptimize(event);
    }
}
BENCHMARK(decodeClaudePreToolUse)->Unit(benchmark::kMicrosecond);

void parseAndSerializeSettings(benchmark::State& state) {
    const std::string text = settingsFile();
    state.counters["bytes"] = static_cast<double>(text.size());
    for (auto _ : state) {
        auto value = AgentJSON::parse(text);
        std::string written = value->serialized(2);
        benchmark::DoNotOptimize(written);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(parseAndSerializeSettings)->Unit(benchmark::kMillisecond);

// A Claude Code transcript of about 24 MB, the size of a long day's session: each turn a tool result
// of 20 KB and a reply written as three lines repeating one message id, read in the 1 MiB slices
// the island reads it in.
std::string longTranscript() {
    const std::string toolOutput(20000, 'x');
    const std::string text(800, 'y');
    std::string transcript;
    for (int turn = 0; turn < 1100; ++turn) {
        const std::string id = "msg_" + std::to_string(turn);
        transcript += R"({"type":"user","message":{"role":"user","content":[{"type":"tool_result","content":")" +
                      toolOutput + "\"}]}}\n";
        for (int block = 0; block < 3; ++block)
            transcript += R"({"type":"assistant","requestId":"req_)" + std::to_string(turn) +
                          R"(","message":{"id":")" + id + R"(","content":[{"type":"text","text":")" + text +
                          R"("}],"usage":{"input_tokens":4,"cache_creation_input_tokens":900,)"
                          R"("cache_read_input_tokens":40000,"output_tokens":)" +
                          std::to_string(100 + block) + "}}}\n";
    }
    return transcript;
}

void readTranscriptUsage(benchmark::State& state) {
    const std::string transcript = longTranscript();
    for (auto _ : state) {
        AgentUsageReader reader;
        for (std::size_t at = 0; at < transcript.size(); at += 1 << 20)
            reader.feed(std::string_view(transcript).substr(at, 1 << 20));
        benchmark::DoNotOptimize(reader.usage());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * transcript.size()));
}
BENCHMARK(readTranscriptUsage)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
