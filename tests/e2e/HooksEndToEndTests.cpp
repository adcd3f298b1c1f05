#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "tests/e2e/E2EFixture.hpp"
#include "tests/support/LoopbackHTTPServer.hpp"

#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace vq::e2e;
namespace fs = std::filesystem;

namespace {

std::string contents(const fs::path& path) {
    return brind::AtomicFile::read(path).value_or("");
}

void place(const fs::path& path, const std::optional<std::string>& text) {
    fs::create_directories(path.parent_path());
    if (text)
        std::ofstream(path, std::ios::binary) << *text;
}

std::string payload(const std::string& name) {
    return readFixture("agents/payloads/" + name);
}

// The four agents' files, relative to the home folder.
const char* const agentFiles[] = {".claude/settings.json", ".gemini/settings.json", ".cursor/hooks.json",
                                  ".codex/config.toml", ".codex/hooks.json"};

using Snapshot = std::map<std::string, std::string>;

// Every file under the home folder except the command we copy there, with its bytes.
Snapshot snapshot(const fs::path& home) {
    Snapshot result;
    for (const auto& entry : fs::recursive_directory_iterator(home)) {
        if (entry.is_regular_file() && entry.path().string().find("/.local/") == std::string::npos)
            result[fs::relative(entry.path(), home).string()] = contents(entry.path());
    }
    return result;
}

CommandResult vantaquill(const TemporaryHome& home, const std::vector<std::string>& arguments) {
    return run(builtProgram("vantaquill"), arguments, home.environment());
}

const std::string allowed =
    R"({"hookSpecificOutput":{"decision":{"behavior":"allow"},"hookEventName":"PermissionRequest"}})";

// A running island whose home has every agent's hooks installed. A standing rule lets Claude Code
// write files in the project without asking; approvals time out after two seconds so that a request
// nobody answers comes back quickly.
class Hooks : public IslandTest {
  protected:
    std::vector<std::string> preferences() const override { return {"agents.approvalTimeout=2"}; }
    std::vector<std::pair<std::string, std::string>> dataFiles() const override {
        // A token left by an earlier run, in a file and folder of a wider mode than the island's own.
        return {{"hook-token", "kept-from-an-earlier-run\n"},
                {"agent-rules.json",
                 R"({"rules":[{"agent":"claude-code","project":"/home/ada/src/lighthouse",)"
                 R"("tool":"Write","createdAt":0}]})"}};
    }

    void SetUp() override {
        IslandTest::SetUp();
        for (const char* folder : {".claude", ".gemini", ".cursor", ".codex"})
            fs::create_directories(home.path() / folder);
        const auto installed = vantaquill(home, {"hooks", "install"});
        ASSERT_EQ(installed.exitCode, 0) << installed.err;
    }

    // Runs the command line installed in `file` for `event` through the shell, as the agents do,
    // with the payload on standard input.
    CommandResult entry(const std::string& file, const std::string& event, const std::string& input) const {
        const auto root = brind::JSONText::parse(contents(home.path() / file));
        EXPECT_TRUE(root.has_value()) << file;
        const brind::JSON& last = (*root)["hooks"][event].back();
        const std::string commandLine =
            last.contains("command") ? last["command"] : last["hooks"].back()["command"];
        auto environment = home.environment();
        environment["VANTAQUILL_PORT"] = std::to_string(island->port());
        return run("/bin/sh", {"-c", commandLine}, environment, input);
    }

    // Answers the next approval the island holds from its console (allow, deny, ask, or always for
    // "Always allow"); the "approval waiting" line, or "" when none came.
    std::string answerNextRequest(const std::string& decision) {
        const auto waiting = island->waitForLine("approval waiting id=", std::chrono::seconds(5));
        if (!waiting)
            return {};
        const auto at = waiting->find("id=") + 3;
        const std::string id = waiting->substr(at, waiting->find(' ', at) - at);
        island->sendInput(decision == "always" ? "always " + id + "\n"
                                               : "answer " + id + " " + decision + "\n");
        return *waiting;
    }
};

} // namespace

// Each agent's installed entry reaches the island. Events that want no decision are answered at
// once with nothing or the agent's own "go on".
TEST_F(Hooks, EveryAgentsEntryReachesTheIsland) {
    for (const auto& row : brind::JSON::parse(readFixture("e2e/hook-entries.json"))) {
        SCOPED_TRACE(row["event"]);
        const auto result = entry(row["file"], row["event"], payload(row["payload"]));
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.out, row["out"].get<std::string>()) << result.err;
        if (row.contains("line")) {
            EXPECT_TRUE(island->waitForLine(row["line"]));
        }
    }

    // Codex's notify passes the payload as the last argument, after the program written in config.toml.
    const std::string toml = contents(home.path() / ".codex/config.toml");
    const auto program =
        brind::JSONText::parse(toml.substr(toml.find('['), toml.find(']') - toml.find('[') + 1));
    ASSERT_TRUE(program.has_value()) << toml;
    std::vector<std::string> arguments = program->get<std::vector<std::string>>();
    const std::string executable = arguments.front();
    arguments.erase(arguments.begin());
    arguments.push_back(payload("codex-agent-turn-complete.json"));
    auto environment = home.environment();
    environment["VANTAQUILL_PORT"] = std::to_string(island->port());
    EXPECT_EQ(run(executable, arguments, environment).exitCode, 0);
    EXPECT_TRUE(island->waitForLine("agent session key=codex."));
}

TEST_F(Hooks, CodexPermissionRequestIsAnsweredFromTheIsland) {
    const std::string request = payload("codex-permission-request.json");
    const std::pair<const char*, std::string> cases[] = {
        {"allow", allowed},
        {"deny",
         R"({"hookSpecificOutput":{"decision":{"behavior":"deny","message":"Denied from the vantaquill )"
         R"(island."},"hookEventName":"PermissionRequest"}})"},
    };
    for (const auto& [decision, expected] : cases) {
        std::string waiting;
        std::thread answerer([&, decision = decision] { waiting = answerNextRequest(decision); });
        const auto result = entry(".codex/hooks.json", "PermissionRequest", request);
        answerer.join();
        EXPECT_NE(waiting.find("agent=codex"), std::string::npos) << waiting;
        EXPECT_EQ(result.out, expected) << decision << result.err;
    }
    // Nobody answers: Codex hears nothing and shows its own prompt.
    const auto timedOut = entry(".codex/hooks.json", "PermissionRequest", request);
    EXPECT_EQ(timedOut.exitCode, 0);
    EXPECT_EQ(timedOut.out, "");
    EXPECT_TRUE(island->waitForLine("approval closed id="));
}

TEST_F(Hooks, ConsoleAnswerReachesTheWaitingAgent) {
    // Each request is answered from the console while the command waits (a separate thread); only
    // "allow" lets a chained command run, and the others say why not.
    const struct {
        std::string answer;
        int exitCode;
        std::string err;
    } rows[] = {
        {"allow", 0, ""},
        {"deny", 1, "vantaquill: the user denied ./deploy.sh\n"},
        {"ask", 1,
         "vantaquill: no decision for ./deploy.sh (it was left to ask, approvals are off in vantaquill, or "
         "nobody answered in time)\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.answer);
        std::thread answerer([this, &row] { answerNextRequest(row.answer); });
        const auto result = command({"agent", "approve", "--session", "deploy", "--command", "./deploy.sh"});
        answerer.join();
        EXPECT_EQ(result.exitCode, row.exitCode);
        EXPECT_EQ(result.err, row.err);
    }
}

TEST_F(Hooks, AlwaysAllowOnTheConsoleAnswersTheNextRequestLikeItUnasked) {
    const std::string shell = payload("cursor-before-shell-execution.json");
    std::string waiting;
    std::thread answerer([&] { waiting = answerNextRequest("always"); });
    const auto first = entry(".cursor/hooks.json", "beforeShellExecution", shell);
    answerer.join();
    EXPECT_NE(waiting.find("summary=\"pnpm install --frozen-lockfile\""), std::string::npos) << waiting;
    EXPECT_EQ(first.out, R"({"permission":"allow"})") << first.err;
    // Unanswered, the second call would wait out the time-out and hear "ask".
    const auto second = entry(".cursor/hooks.json", "beforeShellExecution", shell);
    EXPECT_EQ(second.out, R"({"permission":"allow"})") << second.err;
    EXPECT_NE(contents(dataFolder() / "agent-rules.json").find(R"("commandPrefix": "pnpm install")"),
              std::string::npos);
}

TEST_F(Hooks, ClaudeCodeHTTPEntryPostsStraightToTheIsland) {
    const auto installed = command({"hooks", "install", "--agent", "claude-code", "--http"});
    ASSERT_EQ(installed.exitCode, 0) << installed.err;
    const auto root = brind::JSONText::parse(contents(home.path() / ".claude/settings.json"));
    ASSERT_TRUE(root.has_value());
    const brind::JSON& hook = (*root)["hooks"]["PermissionRequest"].back()["hooks"].back();
    ASSERT_EQ(hook["type"], "http");
    const std::string url = hook["url"].get<std::string>();
    const std::string prefix = "http://127.0.0.1:" + std::to_string(island->port());
    ASSERT_TRUE(url.starts_with(prefix)) << url;
    EXPECT_EQ(hook["headers"]["x-vantaquill-hook"], "$VANTAQUILL_HOOK_TOKEN");
    // Claude Code puts the variable's value in the header and posts the payload as JSON.
    std::string token = contents(dataFolder() / "hook-token");
    token.erase(token.find_last_not_of(" \n") + 1);
    EXPECT_EQ(token, "kept-from-an-earlier-run");
    EXPECT_EQ(fs::status(dataFolder()).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(dataFolder() / "hook-token").permissions(), fs::perms::owner_read | fs::perms::owner_write);
    const auto reply = request("POST", url.substr(prefix.size()),
                               "x-vantaquill-hook: " + token + "\r\nContent-Type: application/json\r\n",
                               payload("claude-permission-request.json"));
    EXPECT_EQ(statusOf(reply), 200) << reply;
    EXPECT_EQ(bodyOf(reply), allowed);
    // Back to the command entries: the HTTP ones are recognised as ours and replaced in place.
    ASSERT_EQ(command({"hooks", "install", "--agent", "claude-code"}).exitCode, 0);
    EXPECT_EQ(contents(home.path() / ".claude/settings.json").find("\"http\""), std::string::npos);
}

// The tokens a session used are read from its transcript as it grows, a line the agent is still
// writing is finished by a later read, and a transcript rewritten shorter is read again from the
// start. A transcript path that names a FIFO or a symbolic link is never read and blocks nothing.
// Gemini CLI's conversation, one JSON document, is read again whole when it changed.
TEST_F(Hooks, TokenUsageIsReadFromTheGrowingTranscript) {
    const auto reply = [](const std::string& id, int input, int output, int cacheRead, int cacheWritten) {
        return R"({"type":"assistant","message":{"id":")" + id + R"(","usage":{"input_tokens":)" +
               std::to_string(input) + R"(,"cache_creation_input_tokens":)" + std::to_string(cacheWritten) +
               R"(,"cache_read_input_tokens":)" + std::to_string(cacheRead) + R"(,"output_tokens":)" +
               std::to_string(output) + "}}}\n";
    };
    const auto prompt = [&](const std::string& session, const fs::path& transcript) {
        brind::JSON event = brind::JSON::parse(payload("claude-user-prompt-submit.json"));
        event["session_id"] = session;
        event["transcript_path"] = transcript.string();
        const auto result = entry(".claude/settings.json", "UserPromptSubmit", event.dump());
        EXPECT_EQ(result.exitCode, 0) << result.err;
    };
    const fs::path transcript = home.path() / "transcript.jsonl";
    const std::string second = reply("msg_b", 5, 50, 1000, 0);
    // msg_a is written twice, its output growing; msg_b is cut halfway.
    place(transcript, reply("msg_a", 10, 3, 0, 200) + reply("msg_a", 10, 40, 0, 200) + second.substr(0, 30));
    prompt("grow", transcript);
    EXPECT_TRUE(island->waitForLine("agent usage key=claude.grow tokens=250 input=10 output=40 cacheRead=0 "
                                    "cacheWritten=200 context=210"));

    std::ofstream(transcript, std::ios::app) << second.substr(30);
    prompt("grow", transcript);
    EXPECT_TRUE(
        island->waitForLine("agent usage key=claude.grow tokens=305 input=15 output=90 cacheRead=1000 "
                            "cacheWritten=200 context=1005"));

    const fs::path fifo = home.path() / "fifo.jsonl";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const fs::path link = home.path() / "link.jsonl";
    fs::create_symlink(transcript, link);
    prompt("fifo", fifo);
    prompt("link", link);
    // Rewritten shorter: the counts start over. Reads are made one after another, so this line
    // also shows that the two reads before it came back.
    place(transcript, reply("msg_c", 7, 8, 0, 0));
    prompt("grow", transcript);
    EXPECT_TRUE(island->waitForLine("agent usage key=claude.grow tokens=15 input=7 output=8 "));
    for (const auto& line : island->lines()) {
        EXPECT_EQ(line.find("agent usage key=claude.fifo"), std::string::npos) << line;
        EXPECT_EQ(line.find("agent usage key=claude.link"), std::string::npos) << line;
    }

    // Gemini CLI's conversation is one document, read whole each time it changed.
    const fs::path conversation = home.path() / "session-gem.json";
    const auto gemini = [&](int output) {
        place(conversation, R"({"sessionId":"gem","messages":[{"type":"user","content":"hi"},)"
                            R"({"type":"gemini","tokens":{"input":900,"output":)" +
                                std::to_string(output) + R"(,"cached":500,"thoughts":5,"total":0}}]})");
        brind::JSON event = brind::JSON::parse(payload("gemini-after-agent.json"));
        event["session_id"] = "gem";
        event["transcript_path"] = conversation.string();
        const auto result = entry(".gemini/settings.json", "AfterAgent", event.dump());
        EXPECT_EQ(result.exitCode, 0) << result.err;
    };
    gemini(20);
    EXPECT_TRUE(
        island->waitForLine("agent usage key=gemini.gem tokens=425 input=400 output=25 cacheRead=500 "));
    gemini(200);
    EXPECT_TRUE(
        island->waitForLine("agent usage key=gemini.gem tokens=605 input=400 output=205 cacheRead=500 "));
}

// Without the island the agent is sent at once to its own prompt.
TEST(HooksWithoutIsland, EveryWayOfWritingTheCommandLineIsReadAsBefore) {
    TemporaryHome home;
    auto environment = home.environment();
    environment["VANTAQUILL_PORT"] = "1"; // nothing listens on port 1
    const std::string shell = payload("cursor-before-shell-execution.json");
    // Each row: the arguments, the exit code, the whole standard output where given and a part of
    // standard error.
    for (const auto& row : brind::JSON::parse(readFixture("e2e/hook-command-lines.json"))) {
        const auto result = run(builtProgram("vantaquill"), row["arguments"].get<std::vector<std::string>>(),
                                environment, shell);
        EXPECT_EQ(result.exitCode, row["exit"].get<int>()) << row["arguments"] << result.err;
        if (row.contains("out")) {
            EXPECT_EQ(result.out, row["out"].get<std::string>()) << row["arguments"];
        }
        EXPECT_TRUE(result.err.contains(row.value("err", ""))) << row["arguments"] << result.err;
    }

    // Agents pay the command's start-up on every tool use: the Unicode and crypto libraries were
    // most of it, and forwarding loads neither. Claude Code hears nothing and asks on its own.
    environment["LD_DEBUG"] = "libs";
    const auto traced = run(builtProgram("vantaquill"), {"hook", "--agent", "claude-code"}, environment,
                            payload("claude-permission-request.json"));
    EXPECT_EQ(traced.exitCode, 0);
    EXPECT_EQ(traced.out, "");
    ASSERT_NE(traced.err.find("libc.so"), std::string::npos) << "the loader's trace is missing";
    for (const char* library : {"libicu", "libcrypto", "liburiparser"})
        EXPECT_EQ(traced.err.find(library), std::string::npos) << library;
}

// Where the agent runs, read from /proc: the process behind the shell that ran the hook is the
// agent. The island's answer is printed as it came.
TEST(HooksWithoutIsland, TheAgentBehindTheShellIsNamedToTheIsland) {
    TemporaryHome home;
    vq::LoopbackHTTPServer island(200, R"({"continue":true})");
    auto environment = home.environment();
    environment["VANTAQUILL_PORT"] = island.url().substr(island.url().rfind(':') + 1);
    // "; exit" keeps the shell from replacing itself with the command.
    const auto result = run("/bin/sh", {"-c", builtProgram("vantaquill") + " hook --agent claude-code; exit $?"},
                            environment, payload("claude-permission-request.json"));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, R"({"continue":true})");
    const auto requests = island.requestsFor("POST /v1/agents/hook?agent=claude-code ");
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(vq::LoopbackServer::fieldOf(requests.front(), "x-vantaquill-pid"), std::to_string(::getpid()));
}

// Files as people have them (comments, unknown keys, other tools' hooks, odd whitespace, Unicode),
// empty and missing: install, status, install again, uninstall gives back exactly what was there.
TEST(HooksInstall, InstallThenUninstallGivesBackTheOriginalBytes) {
    const std::vector<std::vector<std::optional<std::string>>> homes = {
        {readFixture("hooks/claude-settings.json"), readFixture("hooks/gemini-settings.json"),
         readFixture("hooks/cursor-hooks.json"), readFixture("hooks/codex-config.toml"), std::nullopt},
        {"", "", "", "", ""},
        {std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt},
    };
    for (const auto& files : homes) {
        TemporaryHome home;
        for (std::size_t index = 0; index < files.size(); ++index)
            place(home.path() / agentFiles[index], files[index]);
        const Snapshot before = snapshot(home.path());

        const auto installed = vantaquill(home, {"hooks", "install"});
        ASSERT_EQ(installed.exitCode, 0) << installed.err;
        const Snapshot once = snapshot(home.path());
        EXPECT_NE(once, before);
        const std::string program = (home.path() / ".local/bin/vantaquill").string();
        EXPECT_NE(contents(home.path() / ".claude/settings.json").find(program + " hook --agent claude-code"),
                  std::string::npos);

        const auto status = vantaquill(home, {"hooks", "status", "--json"});
        ASSERT_EQ(status.exitCode, 0) << status.err;
        const auto report = brind::JSONText::parse(status.out);
        ASSERT_TRUE(report.has_value()) << status.out;
        for (const brind::JSON& agent : *report) {
            for (const brind::JSON& file : agent["files"]) {
                EXPECT_EQ(file["events"].size(), file["eventCount"].get<std::size_t>()) << file.dump();
                EXPECT_TRUE(file["pointsAtThisCommand"].get<bool>()) << file.dump();
            }
        }

        ASSERT_EQ(vantaquill(home, {"hooks", "install"}).exitCode, 0);
        EXPECT_EQ(snapshot(home.path()), once);

        const auto removed = vantaquill(home, {"hooks", "uninstall"});
        ASSERT_EQ(removed.exitCode, 0) << removed.err;
        EXPECT_EQ(snapshot(home.path()), before);
    }
}

// Entries written with other options (HTTP hooks, a longer time-out) still undo to the original; a
// change the user makes after installing survives the uninstall, and ours still goes.
TEST(HooksInstall, UninstallKeepsChangesMadeSinceTheInstall) {
    TemporaryHome home;
    const std::string original = readFixture("hooks/claude-settings.json");
    place(home.path() / ".claude/settings.json", original);
    ASSERT_EQ(
        vantaquill(home, {"hooks", "install", "--agent", "claude-code", "--http", "--hold-seconds", "900"})
            .exitCode,
        0);
    ASSERT_EQ(vantaquill(home, {"hooks", "uninstall", "--agent", "claude-code"}).exitCode, 0);
    EXPECT_EQ(contents(home.path() / ".claude/settings.json"), original);
    EXPECT_FALSE(fs::exists(home.path() / ".claude/settings.json.vantaquill-backup"));

    ASSERT_EQ(vantaquill(home, {"hooks", "install", "--agent", "claude"}).exitCode, 0);
    std::string text = contents(home.path() / ".claude/settings.json");
    text.replace(text.find("\"opus\""), 6, "\"sonnet\"");
    place(home.path() / ".claude/settings.json", text);
    ASSERT_EQ(vantaquill(home, {"hooks", "uninstall", "--agent", "claude-code"}).exitCode, 0);
    const std::string after = contents(home.path() / ".claude/settings.json");
    EXPECT_NE(after.find("\"sonnet\""), std::string::npos);
    EXPECT_EQ(after.find("vantaquill"), std::string::npos) << after;
    EXPECT_NE(after.find("say done"), std::string::npos);
}

TEST(HooksInstall, LeavesABrokenFileAloneAndSaysWhy) {
    TemporaryHome home;
    const std::string broken = readFixture("hooks/broken.json");
    place(home.path() / ".claude/settings.json", broken);
    const auto result = vantaquill(home, {"hooks", "install", "--agent", "claude-code"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("settings.json: it is not valid JSON"), std::string::npos) << result.err;
    EXPECT_EQ(contents(home.path() / ".claude/settings.json"), broken);
    EXPECT_FALSE(fs::exists(home.path() / ".claude/settings.json.vantaquill-backup"));
    const auto status = vantaquill(home, {"hooks", "status", "--agent", "claude-code"});
    EXPECT_NE(status.out.find("unreadable"), std::string::npos) << status.out;
}

TEST(TerminalJump, SelectsTheAgentsTmuxPane) {
    if (::access("/usr/bin/tmux", X_OK) != 0)
        GTEST_SKIP() << "tmux is not installed (scripts/setup installs it)";
    TemporaryHome home;
    const std::string socket = (home.path() / "tmux.sock").string();
    auto environment = home.environment();
    const auto tmux = [&](const std::vector<std::string>& arguments) {
        std::vector<std::string> all = {"-S", socket, "-f", "/dev/null"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return run("/usr/bin/tmux", all, environment);
    };
    ASSERT_EQ(tmux({"new-session", "-d", "-s", "work", "-x", "80", "-y", "24"}).exitCode, 0);
    const std::string agentPane =
        tmux({"display-message", "-p", "-t", "work", "#{pane_id}"}).out.substr(0, 2);
    ASSERT_EQ(tmux({"new-window", "-t", "work"}).exitCode, 0);
    ASSERT_EQ(tmux({"split-window", "-t", "work"}).exitCode, 0);
    EXPECT_NE(tmux({"display-message", "-p", "-t", "work", "#{pane_id}"}).out.substr(0, 2), agentPane);

    const auto jump = run(builtProgram("vantaquill"),
                          {"jump", "--tmux-socket", socket, "--tmux-pane", agentPane}, environment);
    EXPECT_EQ(jump.exitCode, 0) << jump.err;
    EXPECT_EQ(tmux({"display-message", "-p", "-t", "work", "#{window_index} #{pane_id}"}).out,
              "0 " + agentPane + "\n");
    tmux({"kill-server"});
}
