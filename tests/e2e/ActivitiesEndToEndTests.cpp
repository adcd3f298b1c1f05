#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/UUID.hpp"
#include "tests/e2e/E2EFixture.hpp"

#include <algorithm>
#include <poll.h>
#include <sstream>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

using namespace vq::e2e;

namespace {

class Activities : public IslandTest {};

// A shelf left from an earlier run, with "shelf.autoClearHours" at one hour.
class ShelfAutoClearing : public IslandTest {
  protected:
    std::vector<std::string> preferences() const override { return {"shelf.autoClearHours=1"}; }
    std::vector<std::pair<std::string, std::string>> dataFiles() const override {
        const auto at = [](double hoursAgo) { return (brind::Date::now() - hoursAgo * 3600).iso8601(); };
        const auto note = [&](const std::string& text, double hoursAgo, bool pinned) {
            return R"({"id": ")" + brind::UUID::random().string() + R"(", "kind": "text", "text": ")" + text +
                   R"(", "title": ")" + text + R"(", "addedAt": ")" + at(hoursAgo) + R"(", "pinned": )" +
                   (pinned ? "true" : "false") + "}";
        };
        return {{"shelf.json", R"({"version": 1, "entries": [)" + note("fresh", 0.5, false) + ", " +
                                   note("stale", 3, false) + ", " + note("kept", 3, true) + "]}"}};
    }
};
class Guard : public IslandTest {};

// The test's home has none of the desktop's services, which the providers say once each (the lines
// of degraded-services.txt); every other line on standard error is a complaint.
std::string complaints(const std::string& errors) {
    std::vector<std::string> expected;
    std::istringstream said(readFixture("e2e/degraded-services.txt"));
    for (std::string line; std::getline(said, line);)
        expected.push_back(line);
    std::string rest;
    std::istringstream lines(errors);
    for (std::string line; std::getline(lines, line);) {
        if (std::ranges::none_of(expected, [&](const std::string& text) { return line.contains(text); }))
            rest += line + "\n";
    }
    return rest;
}

} // namespace

TEST_F(Activities, NotifyUpdateAndEndShowInTheHeadlessIsland) {
    const auto posted = command({"notify", "--id", "build", "--title", "Building", "--progress", "0.3"});
    ASSERT_EQ(posted.exitCode, 0) << posted.err;
    EXPECT_EQ(posted.out, "build\n");
    const auto shown = island->waitForLine("activity shown id=sdk.cli.build");
    ASSERT_TRUE(shown);
    EXPECT_NE(shown->find("title=\"Building\""), std::string::npos);
    EXPECT_NE(shown->find("progress=0.30"), std::string::npos);
    EXPECT_TRUE(island->waitForLine("island state=compact"));

    ASSERT_EQ(command({"notify", "--id", "build", "--title", "Building", "--progress", "0.8"}).exitCode, 0);
    const auto updated = island->waitForLine("activity updated id=sdk.cli.build");
    ASSERT_TRUE(updated);
    EXPECT_NE(updated->find("progress=0.80"), std::string::npos);

    ASSERT_EQ(command({"end", "build"}).exitCode, 0);
    EXPECT_TRUE(island->waitForLine("activity ended id=sdk.cli.build"));
    EXPECT_TRUE(island->waitForLine("island state=closed"));
}

TEST_F(Activities, AnExpiryMonthsAwayWaitsQuietlyWhileNearerOnesStillExpire) {
    // Further off than one platform timer can wait (about 24.8 days).
    ASSERT_EQ(command({"notify", "--id", "far", "--title", "Far", "--expires-in", "5000000"}).exitCode, 0);
    ASSERT_TRUE(island->waitForLine("activity shown id=sdk.cli.far"));
    ASSERT_EQ(command({"notify", "--id", "near", "--title", "Near", "--expires-in", "0.3"}).exitCode, 0);
    EXPECT_TRUE(island->waitForLine("activity ended id=sdk.cli.near", std::chrono::seconds(5)));
    ASSERT_EQ(island->stop(), 0);
    for (const auto& line : island->lines())
        EXPECT_NE(line, "activity ended id=sdk.cli.far");
    EXPECT_EQ(complaints(island->errors()), "");
}

TEST_F(Activities, HUDFlashesAndClears) {
    const auto reply = authorized("POST", "/v1/hud", R"({"kind":"volume","level":0.5,"label":"Headphones"})");
    ASSERT_EQ(statusOf(reply), 200) << reply;
    const auto shown = island->waitForLine("hud shown kind=volume");
    ASSERT_TRUE(shown);
    EXPECT_NE(shown->find("value=0.50"), std::string::npos);
    EXPECT_NE(shown->find("label=\"Headphones\""), std::string::npos);
    EXPECT_TRUE(island->waitForLine("island state=peek"));
    EXPECT_TRUE(island->waitForLine("hud cleared", std::chrono::seconds(5)));
}

// Entries older than the setting leave the shelf at start, pinned ones stay, and the file says so.
TEST_F(ShelfAutoClearing, StaleUnpinnedEntriesLeaveTheShelfAtStart) {
    // Swept before the island listens, and saved before it is said.
    const auto lines = island->lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "shelf cleared title=\"stale\""), 1)
        << ::testing::PrintToString(lines);
    const auto saved = brind::AtomicFile::read(dataFolder() / "shelf.json").value_or("");
    EXPECT_EQ(saved.find("stale"), std::string::npos) << saved;
    EXPECT_NE(saved.find("fresh"), std::string::npos) << saved;
    EXPECT_NE(saved.find("kept"), std::string::npos) << saved;
    island->stop();
    EXPECT_EQ(island->errors().find("shelf"), std::string::npos) << island->errors();
}

TEST_F(Activities, ShelfTakesExistingAbsoluteFiles) {
    const auto file = home.path() / "report.pdf";
    std::ofstream(file) << "%PDF";
    const std::string missing = (home.path() / "missing.pdf").string();
    const auto added = command({"shelf", "add", file.string(), missing});
    ASSERT_EQ(added.exitCode, 0) << added.err;
    EXPECT_EQ(added.out, "added 1 file\n");
    EXPECT_EQ(added.err, "vantaquill: skipped " + missing + ": no such file\n");
    EXPECT_TRUE(island->waitForLine("shelf added path=\"" + file.string() + "\""));
    EXPECT_TRUE(std::filesystem::exists(dataFolder() / "shelf.json"));

    const auto none = command({"shelf", "add", missing});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_NE(none.err.find("skipped " + missing + ": no such file"), std::string::npos);
    EXPECT_NE(none.err.find("paths: existing absolute file paths."), std::string::npos);

    // A file already on the shelf adds nothing, and the command says so instead of "added 0 files".
    const auto again = command({"shelf", "add", file.string()});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(again.out, "");
    EXPECT_NE(again.err.find("nothing was added: the files are already on the shelf"), std::string::npos);
}

TEST_F(Activities, EventStreamHearsHelloThenActionPresses) {
    ASSERT_EQ(command({"notify", "--id", "upload", "--title", "Uploading"}).exitCode, 0);
    ASSERT_TRUE(island->waitForLine("activity shown id=sdk.cli.upload"));

    const int descriptor = connectLoopback(island->port());
    ASSERT_GE(descriptor, 0);
    const std::string open = "GET /v1/events HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(island->port()) +
                             "\r\nAuthorization: Bearer " + cliToken() + "\r\n\r\n";
    ASSERT_EQ(::send(descriptor, open.data(), open.size(), 0), static_cast<ssize_t>(open.size()));

    std::string received;
    const auto readUntil = [&](const std::string& text) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (received.find(text) == std::string::npos && std::chrono::steady_clock::now() < deadline) {
            pollfd poll{descriptor, POLLIN, 0};
            if (::poll(&poll, 1, 200) <= 0)
                continue;
            char buffer[4096];
            const ssize_t count = ::recv(descriptor, buffer, sizeof buffer, 0);
            if (count <= 0)
                break;
            received.append(buffer, static_cast<std::size_t>(count));
        }
        return received.find(text) != std::string::npos;
    };
    ASSERT_TRUE(readUntil("event: hello\ndata: {\"app\":\"cli\"}\n\n"));
    EXPECT_TRUE(received.starts_with("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n"));

    // A press typed on the headless console stands in for a click on the island.
    ASSERT_TRUE(island->sendInput("press sdk.cli.upload cancel\n"));
    EXPECT_TRUE(readUntil(
        "event: action\ndata: {\"action\":\"cancel\",\"activity\":\"upload\",\"id\":\"sdk.cli.upload\"}\n\n"))
        << received;
    ::close(descriptor);
}

TEST_F(Guard, StatusNeedsNoTokenAndHeadlessNobodyCanAllowANewClient) {
    const auto status = command({"status"});
    EXPECT_EQ(status.exitCode, 0);
    EXPECT_EQ(status.out, "vantaquill 1.0 listening on 127.0.0.1:" + std::to_string(island->port()) + "\n");
    // The status reports how the island is shown, and keeps doing so after the preferences are applied.
    EXPECT_NE(bodyOf(request("GET", "/v1/status")).find(R"("surface":{"kind":"headless")"),
              std::string::npos);

    const auto registration = request("POST", "/v1/register", "Content-Type: application/json\r\n",
                                      R"({"app":"lumetta","name":"Lumetta","scopes":["hud"]})");
    EXPECT_EQ(statusOf(registration), 403);
    EXPECT_EQ(bodyOf(registration), R"({"error":"denied","message":"The user didn't allow this app."})");
    EXPECT_TRUE(island->waitForLine("consent denied app=lumetta"));
}

// A mistyped port variable is said as such, rather than turned into another port that nothing
// listens on; a hook still answers its agent.
TEST(CommandLine, APortVariableThatIsNoPortIsAUsageError) {
    TemporaryHome home;
    for (const std::string value : {"abc", "70000", "0", "80x"}) {
        SCOPED_TRACE(value);
        auto environment = home.environment();
        environment["VANTAQUILL_PORT"] = value;
        const auto status = run(builtProgram("vantaquill"), {"status"}, environment);
        EXPECT_EQ(status.exitCode, 2);
        EXPECT_EQ(status.err, "vantaquill: VANTAQUILL_PORT=" + value + " is not a port (1 to 65535)\n");
        const auto hook = run(builtProgram("vantaquill"), {"hook", "--agent", "cursor"}, environment,
                              R"({"hook_event_name":"beforeSubmitPrompt"})");
        EXPECT_EQ(hook.exitCode, 0);
        EXPECT_EQ(hook.out, R"({"continue":true})");
    }
}

TEST(StartFailure, PortInUseIsReportedAndExitsNonZero) {
    TemporaryHome home;
    IslandProcess first(home);
    ASSERT_NE(first.port(), 0);
    const auto second = run(builtProgram("vantaquill-island"),
                            {"--headless", "--port", std::to_string(first.port())}, home.environment());
    EXPECT_NE(second.exitCode, 0);
    EXPECT_NE(second.err.find(std::to_string(first.port()) + " is in use by another app."), std::string::npos)
        << second.err;
}
