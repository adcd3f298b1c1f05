// Web pages of other origins attack the island's SDK through a real chromium: every route, every way
// a page has to send a request. The island must run nothing, and the pages must learn nothing. The
// same pages aimed at a permissive recording server show that the browser does send each attempt
// and that a page would read the answer if a server let it.

#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/attack/PageServer.hpp"
#include "tests/e2e/E2EProcess.hpp"
#include "tests/support/BackgroundProgram.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <thread>

using namespace vq::e2e;
using namespace vq::attack;
using nlohmann::json;

namespace {

std::string fileText(const std::filesystem::path& path) {
    return brind::AtomicFile::read(path).value_or("");
}

// A token file's token, without the line end.
std::string tokenIn(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::string token;
    file >> token;
    return token;
}

std::map<std::string, std::string> folderContents(const std::filesystem::path& folder) {
    std::map<std::string, std::string> contents;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        if (entry.is_regular_file())
            contents[entry.path().lexically_relative(folder).string()] = fileText(entry.path());
    return contents;
}

// A request of the user's own `vantaquill` command, straight over the socket.
std::string commandRequest(std::uint16_t port, const std::string& token, const std::string& target,
                           const std::string& body) {
    return rawExchange(port, "POST " + target + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                                 "\r\nAuthorization: Bearer " + token +
                                 "\r\nContent-Type: application/json\r\nContent-Length: " +
                                 std::to_string(body.size()) + "\r\n\r\n" + body);
}

/// Debian's chromium, headless, in a fresh profile, showing one page until destroyed. It runs in a
/// session of its own, so that ending its process group ends its helper processes too.
class HeadlessBrowser {
  public:
    static constexpr const char* program = "/usr/bin/chromium";

    // Without the background-networking switches chromium reaches for the network at start-up; as
    // root it needs --no-sandbox.
    HeadlessBrowser(const std::string& url, const std::string& resolverRules)
        : browser(program,
                  {"--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                   "--disable-background-networking", "--disable-component-update", "--disable-sync",
                   "--user-data-dir=" + (profile.path() / "profile").string(), "--enable-logging",
                   "--log-file=" + (profile.path() / "log").string(),
                   "--host-resolver-rules=" + resolverRules, url},
                  {"PATH=/usr/bin:/bin", "HOME=" + profile.path().string()}) {}
    ~HeadlessBrowser() {
        const pid_t group = browser.processID();
        browser.quit();
        if (group > 0)
            ::kill(-group, SIGKILL); // helpers that outlived the browser process
    }

    bool started() const { return browser.running(); }
    /// What the browser logged so far (for a failing test's message).
    std::string diagnostics() const { return fileText(profile.path() / "log"); }

  private:
    brindtest::TemporaryFolder profile{"vantaquill-chromium"};
    vq::BackgroundProgram browser;
};

struct Suite {
    std::string name;
    std::string pageHost;   ///< the host name the attack page is loaded from
    std::string targetHost; ///< the host name the page aims at
    bool control;           ///< aimed at the permissive recorder instead of the island
    bool rebound;           ///< the page's own origin is switched over to the target after loading
};

// The island is 127.0.0.1 under every name here: rebind.test resolves there through the browser's
// resolver rules, as a name an attacker controls would after DNS rebinding. The "rebound" pages go
// one step further: their own origin leads to the island once they have loaded, so to the browser
// every attempt is same-origin.
const std::vector<Suite> suites = {
    {"ip", "127.0.0.1", "127.0.0.1", false, false},
    {"localhost", "127.0.0.1", "localhost", false, false},
    {"rebind", "rebind.test", "rebind.test", false, false},
    {"plain-origin", "rebind.test", "127.0.0.1", false, false},
    {"rebound", "rebind.test", "rebind.test", false, true},
    {"control", "127.0.0.1", "127.0.0.1", true, false},
    {"control-rebind", "rebind.test", "rebind.test", true, false},
    {"control-rebound", "rebind.test", "rebind.test", true, true},
};

} // namespace

// One browser run: the island and the permissive recorder are attacked at once, from every suite.
TEST(BrowserAttack, PagesOfOtherOriginsNeitherRunNorLearnAnythingOnTheIsland) {
    ASSERT_TRUE(std::filesystem::exists(HeadlessBrowser::program))
        << HeadlessBrowser::program << " is missing: run scripts/setup";
    TemporaryHome home;
    std::filesystem::create_directories(home.path() / ".config/vantaquill");
    IslandProcess island(home);
    ASSERT_NE(island.port(), 0) << "the island did not start";
    const std::string cliToken = tokenIn(home.path() / ".config/vantaquill/cli-token");
    const std::string hookToken = tokenIn(home.path() / ".local/share/vantaquill/hook-token");
    const auto shelfFile = home.path() / "secret.txt";
    std::ofstream(shelfFile) << "secret";

    // An activity of the user's own, which one attack tries to end.
    const auto victim =
        commandRequest(island.port(), cliToken, "/v1/activities", R"({"id":"victim","title":"Mine"})");
    ASSERT_EQ(statusOf(victim), 200) << victim;
    ASSERT_TRUE(island.waitForLine("activity shown id=sdk.cli.victim") &&
                island.waitForLine("island state=compact"));
    const auto dataBefore = folderContents(home.path() / ".local/share/vantaquill");
    const std::size_t linesBefore = island.lines().size();

    PageServer recorder({});
    const std::map<std::string, std::string> script = {
        {"/attack.js", fileText(std::string(BRIND_ATTACK_PAGES) + "/attack.js")}};
    PageServer pages(script);
    std::vector<std::unique_ptr<PageServer>> rebinders;
    std::map<std::string, std::string> origins; // of each suite's page
    const std::string pagePort = std::to_string(pages.port());
    json frames = json::array();
    for (const auto& suite : suites) {
        const auto targetPort = suite.control ? recorder.port() : island.port();
        const json settings = {{"suite", suite.name},
                               {"base", "http://" + suite.targetHost + ":" + std::to_string(targetPort)},
                               {"rebind", suite.rebound},
                               {"report", "http://127.0.0.1:" + pagePort + "/report"},
                               {"token", cliToken},
                               {"hookToken", hookToken},
                               {"shelfPath", shelfFile.string()}};
        PageServer* server = &pages;
        if (suite.rebound) {
            server = rebinders.emplace_back(std::make_unique<PageServer>(script)).get();
            server->rebindTo(targetPort);
        }
        server->addPage("/frame/" + suite.name,
                        "<!doctype html><body><script>window.attackSuite = " + settings.dump() +
                            ";</script><script src=\"/attack.js\"></script>");
        origins[suite.name] = "http://" + suite.pageHost + ":" + std::to_string(server->port());
        frames.push_back(origins[suite.name] + "/frame/" + suite.name);
    }
    pages.addPage("/frames.js", fileText(std::string(BRIND_ATTACK_PAGES) + "/frames.js"));
    pages.addPage("/", "<!doctype html><body><script>window.attackFrames = " + frames.dump() +
                           ";</script><script src=\"/frames.js\"></script>");

    std::map<std::string, json> reports; // of each suite whose page ran from the origin it claims
    {
        HeadlessBrowser browser("http://127.0.0.1:" + pagePort + "/", "MAP rebind.test 127.0.0.1");
        ASSERT_TRUE(browser.started()) << HeadlessBrowser::program << " did not start";
        for (const auto& text : pages.waitForReports(suites.size(), std::chrono::seconds(40))) {
            const json report = json::parse(text, nullptr, false);
            if (report.is_object() && report["origin"] == origins[report.value("suite", "")])
                reports[report["suite"]] = report;
        }
        ASSERT_EQ(reports.size(), suites.size())
            << "not every attack page reported back from its own origin:\n"
            << browser.diagnostics();
        // Beacons are sent after the page has moved on; the control suites run last, so once
        // theirs have arrived the island's went out long before.
        std::vector<std::string> markers;
        for (const auto& suite : suites)
            for (const auto& result : reports[suite.name]["results"])
                if (suite.control && result["technique"].get<std::string>().starts_with("beacon"))
                    markers.push_back("attack=" + result["attack"].get<std::string>());
        recorder.waitForTargets(markers, std::chrono::seconds(5));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(300));

    std::set<std::string> reached;
    for (const auto& request : recorder.requests())
        if (const auto at = request.target.find("attack="); at != std::string::npos)
            reached.insert(request.target.substr(at + 7));
    const std::set<std::string> readable = {
        "fetch-simple", "fetch-credentials", "fetch-preflight", "fetch-preflight-credentials",
        "xhr-simple",   "xhr-preflight",     "eventsource",     "eventsource-credentials"};
    const std::set<std::string> refusals = {
        "", R"({"error":"forbidden","message":"Bad Host header."})",
        R"({"error":"forbidden","message":"Browser requests are not accepted."})"};
    for (const auto& suite : suites) {
        SCOPED_TRACE(suite.name);
        const auto& results = reports[suite.name]["results"];
        ASSERT_GE(results.size(), 60u);
        EXPECT_EQ(results.size(), reports["control"]["results"].size());
        for (const auto& result : results) {
            const std::string technique = result["technique"];
            if (suite.control) {
                // The browser sends every attempt, and reads a permissive server's answer: the check
                // for learning can see learning. The browser itself refuses a JSON beacon.
                if (result["outcome"] == "refused-by-browser") {
                    EXPECT_EQ(technique, "beacon-json") << result.dump();
                    continue;
                }
                EXPECT_TRUE(reached.contains(result["attack"]))
                    << result.dump() << " never reached the server";
                // To a page of the same origin even frames and no-cors answers are open.
                if (readable.contains(technique) ||
                    (suite.rebound && (technique == "fetch-no-cors" || technique == "form-text"))) {
                    EXPECT_EQ(result.value("learned", false), true) << result.dump();
                }
                continue;
            }
            // The island refuses at once; an attempt still waiting was let in and held.
            EXPECT_NE(result.value("outcome", std::string{}), "timeout") << result.dump();
            // A page whose own origin leads to the island may read what the island answers it: only
            // ever a refusal.
            if (suite.rebound) {
                EXPECT_TRUE(result.value("status", 0) == 0 || result.value("status", 0) == 403)
                    << result.dump();
                EXPECT_TRUE(refusals.contains(result.value("body", std::string{}))) << result.dump();
                continue;
            }
            EXPECT_EQ(result.value("learned", false), false) << result.dump();
            EXPECT_EQ(result.value("status", 0), 0) << result.dump();
            EXPECT_EQ(result.value("body", std::string{}), "") << result.dump();
        }
    }

    // No route ran: nothing shown, registered, shelved, reported or held, and the user's activity
    // still stands.
    const auto linesAfter = island.lines();
    EXPECT_EQ(std::vector<std::string>(linesAfter.begin() + static_cast<std::ptrdiff_t>(linesBefore),
                                       linesAfter.end()),
              std::vector<std::string>{});
    const auto dataAfter = folderContents(home.path() / ".local/share/vantaquill");
    EXPECT_EQ(dataAfter, dataBefore);
    EXPECT_FALSE(dataAfter.contains("shelf.json"));
    // The island still works and its output is still read: a request of its own command shows.
    const auto reply = commandRequest(island.port(), cliToken, "/v1/hud", R"({"kind":"custom","text":"ok"})");
    EXPECT_EQ(statusOf(reply), 200) << reply;
    EXPECT_TRUE(island.waitForLine("hud shown kind=custom"));
}
