#include "tests/e2e/HooksFixture.hpp"

using namespace vq::e2e;

namespace {

class Hooks : public HooksIsland {
protected:
    CommandResult hook(const std::string& agent, const std::string& payload, const std::string& event = {}) const {
        std::vector<std::string> arguments = {"hook", "--agent", agent};
        if (!event.empty()) {
            arguments.push_back("--event");
            arguments.push_back(event);
        }
        return command(arguments, readFixture("agents/payloads/" + payload));
    }
};

} // namespace

TEST_F(Hooks, EventsWithoutADecisionAreAnsweredAtOnceWithNothing) {
    struct Case {
        const char* agent;
        const char* payload;
        const char* sessionLine;
    };
    const Case cases[] = {
        {"claude-code", "claude-session-start.json", "agent session key=claude.8f3c2a1e"},
        {"claude-code", "claude-pre-tool-use.json", "summary="},
        {"gemini", "gemini-before-tool.json", "agent session key=gemini.c2b9e6f4"},
        {"codex", "codex-agent-turn-complete.json", "agent session key=codex."},
        {"cursor", "cursor-stop.json", "agent session key=cursor.5e8a1c7d"},
    };
    for (const auto& c : cases) {
        const auto result = hook(c.agent, c.payload);
        EXPECT_EQ(result.exitCode, 0) << c.payload << result.err;
        EXPECT_EQ(result.out, "") << c.payload;
        EXPECT_TRUE(island->waitForLine(c.sessionLine)) << c.payload;
    }
}

TEST_F(Hooks, UnansweredRequestTimesOutToTheAgentsOwnPrompt) {
    const auto result = hook("cursor", "cursor-before-shell-execution.json");
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, R"({"permission":"ask"})");
    const auto waiting = island->waitForLine("approval waiting id=");
    ASSERT_TRUE(waiting);
    EXPECT_NE(waiting->find("summary=\"pnpm install --frozen-lockfile\""), std::string::npos);
    EXPECT_TRUE(island->waitForLine("approval closed id="));
}

TEST_F(Hooks, ConsoleAnswerReachesTheWaitingAgent) {
    // The request is answered from the console while the hook call waits (a separate thread).
    std::thread answerer([this] { answerNextRequest("deny"); });
    const auto result = command({"agent", "approve", "--session", "deploy", "--command", "./deploy.sh"});
    answerer.join();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("denied"), std::string::npos) << result.err;
}

TEST_F(Hooks, AlwaysAllowOnTheConsoleAnswersTheNextRequestLikeItUnasked) {
    std::thread answerer([this] { answerNextRequest("always"); });
    const auto first = hook("cursor", "cursor-before-shell-execution.json");
    answerer.join();
    EXPECT_EQ(first.out, R"({"permission":"allow"})") << first.err;
    // Unanswered, the second call would wait out the time-out and hear "ask".
    const auto second = hook("cursor", "cursor-before-shell-execution.json");
    EXPECT_EQ(second.out, R"({"permission":"allow"})") << second.err;
    std::ifstream rules(dataFolder() / "agent-rules.json");
    const std::string written{std::istreambuf_iterator<char>(rules), {}};
    EXPECT_NE(written.find(R"("commandPrefix": "pnpm install")"), std::string::npos) << written;
}

TEST_F(Hooks, BadHookCallsAreRefused) {
    const auto badAgent = authorized("POST", "/v1/agents/hook?agent=emacs", "{}");
    EXPECT_EQ(statusOf(badAgent), 400);
    EXPECT_EQ(bodyOf(badAgent),
              R"({"error":"bad_agent","message":"agent: claude-code, codex, gemini, cursor."})");
    const auto noToken = request("POST", "/v1/agents/hook?agent=claude-code", "Content-Type: application/json\r\n", "{}");
    EXPECT_EQ(statusOf(noToken), 401);
}

// Without the island the agent is sent at once to its own prompt.
TEST(HooksWithoutIsland, EveryWayOfWritingTheCommandLineIsReadAsBefore) {
    TemporaryHome home;
    auto environment = home.environment();
    environment["VANTAQUILL_PORT"] = "1"; // nothing listens on port 1
    const std::string payload = readFixture("agents/payloads/cursor-before-shell-execution.json");
    struct Case {
        std::vector<std::string> arguments;
        int exitCode;
        const char* out;
        const char* err; ///< a part of stderr
    };
    const Case cases[] = {
        {{"hook", "--agent", "cursor"}, 0, R"({"permission":"ask"})", ""},
        {{"--port", "1", "hook", "--agent", "cursor"}, 0, R"({"permission":"ask"})", ""},
        {{"--port=1", "hook", "--agent=cursor", "--event", "beforeShellExecution"},
         0,
         R"({"permission":"ask"})",
         ""},
        {{"--port", "1", "hook", "--event", "beforeShellExecution"}, 2, "", "--agent is required"},
        {{"--port", "1", "hook", "--agent", "cursor", "--timeout", "3"}, 2, "", "--timeout"},
        {{"--port", "0", "hook", "--agent", "cursor"}, 2, "", "--port"},
        {{"--port", "1", "hook", "--agent", "cursor", "--help"}, 0, "", ""},
    };
    for (const auto& c : cases) {
        const auto result = run(builtProgram("vantaquill"), c.arguments, environment, payload);
        const std::string line = testing::PrintToString(c.arguments);
        EXPECT_EQ(result.exitCode, c.exitCode) << line << result.err;
        if (c.exitCode == 0 && *c.out) {
            EXPECT_EQ(result.out, c.out) << line;
        }
        EXPECT_NE(result.err.find(c.err), std::string::npos) << line << result.err;
    }
}

TEST(HooksWithoutIsland, ForwardingLoadsNoUnicodeOrCryptoLibrary) {
    // Agents pay the command's start-up on every tool use; these libraries were most of it.
    TemporaryHome home;
    auto environment = home.environment();
    environment["VANTAQUILL_PORT"] = "1";
    environment["LD_DEBUG"] = "libs";
    const auto result = run(builtProgram("vantaquill"), {"hook", "--agent", "claude-code"}, environment,
                            readFixture("agents/payloads/claude-permission-request.json"));
    // Claude Code hears nothing and asks on its own.
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "");
    ASSERT_NE(result.err.find("libc.so"), std::string::npos) << "the loader's trace is missing";
    for (const char* library : {"libicu", "libcrypto"})
        EXPECT_EQ(result.err.find(library), std::string::npos) << library;
}
