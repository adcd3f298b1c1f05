#include "tests/e2e/E2EProcess.hpp"
#include "tests/package/PrivateSessionBus.hpp"

#include <gtest/gtest.h>

#include <csignal>

namespace vq::packagetest {
namespace {

using e2e::builtProgram;
using e2e::IslandProcess;
using e2e::run;
using e2e::TemporaryHome;

class SingleInstance : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(bus.running()) << "dbus-daemon (package dbus-daemon) did not start";
    }

    e2e::CommandResult second(const std::vector<std::string>& arguments) const {
        std::vector<std::string> all = {"--headless", "--port", "0"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return run(builtProgram("vantaquill-island"), all, home.environment());
    }

    TemporaryHome home;
    PrivateSessionBus bus{home.path()};
};

TEST_F(SingleInstance, SecondIslandHandsItsURLToTheFirstAndExits) {
    IslandProcess first(home);
    ASSERT_NE(first.port(), 0);
    const auto result = second({"vantaquill://notify?title=Handed%20over&subtitle=by%20the%20second"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out.find("Listening"), std::string::npos) << "the second island started its own server";
    const auto shown = first.waitForLine("activity shown id=url.notify");
    ASSERT_TRUE(shown.has_value());
    EXPECT_NE(shown->find("title=\"Handed over\""), std::string::npos) << *shown;
}

TEST_F(SingleInstance, SecondIslandWithoutAURLShowsTheFirst) {
    IslandProcess first(home);
    ASSERT_NE(first.port(), 0);
    const auto result = second({});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(first.waitForLine("url open").has_value());
}

TEST_F(SingleInstance, FirstIslandClaimsTheNameAndCarriesOutItsOwnURL) {
    IslandProcess first(home, {"vantaquill://open/shelf"});
    ASSERT_NE(first.port(), 0) << "with no island running, the first starts normally";
    EXPECT_TRUE(first.waitForLine("url open tab=\"shelf\"").has_value());
    EXPECT_NE(bus.askBus("NameHasOwner", "io.vantaquill.Island").out.find("boolean true"), std::string::npos);
}

TEST_F(SingleInstance, RefusedURLIsReportedByTheFirstAndChangesNothing) {
    IslandProcess first(home);
    ASSERT_NE(first.port(), 0);
    EXPECT_EQ(second({"vantaquill://end?id=build&token=vq_unknown"}).exitCode, 0);
    // A later URL proves the first is still serving, and that nothing was shown for the refused one.
    EXPECT_EQ(second({"vantaquill://clipboard"}).exitCode, 0);
    ASSERT_TRUE(first.waitForLine("url clipboard").has_value());
    first.stop();
    EXPECT_NE(first.errors().find("ignored vantaquill://end?id=build&token=vq_unknown"), std::string::npos)
        << first.errors();
    for (const auto& line : first.lines())
        EXPECT_EQ(line.find("activity"), std::string::npos) << line;
}

TEST_F(SingleInstance, SecondIslandSaysSoWhenTheFirstIsHung) {
    IslandProcess first(home);
    ASSERT_NE(first.port(), 0);
    const auto owner = bus.askBus("GetConnectionUnixProcessID", "io.vantaquill.Island");
    const auto at = owner.out.find("uint32 ");
    ASSERT_NE(at, std::string::npos) << owner.out << owner.err;
    const int pid = std::atoi(owner.out.c_str() + at + 7);
    ASSERT_GT(pid, 0);
    ::kill(pid, SIGSTOP);
    const auto result = second({"vantaquill://clipboard"});
    ::kill(pid, SIGCONT);
    EXPECT_NE(result.exitCode, 0);
    EXPECT_NE(result.err.find("did not answer"), std::string::npos) << result.err;
    EXPECT_EQ(result.out.find("Listening"), std::string::npos) << "a hung first must not be joined by a second island";
}

TEST_F(SingleInstance, XdgOpenReachesTheRunningIsland) {
    // Installed into the home's own ~/.local, as `make install` does for a user.
    const auto prefix = home.path() / ".local";
    const auto installed = run("/usr/bin/cmake", {"--install", BRIND_BUILD_DIR, "--prefix", prefix.string()}, home.environment());
    ASSERT_EQ(installed.exitCode, 0) << installed.out << installed.err;
    IslandProcess first(home);
    ASSERT_NE(first.port(), 0);

    auto environment = home.environment();
    environment["PATH"] = (prefix / "bin").string() + ":" + environment["PATH"];
    environment["XDG_DATA_DIRS"] = (prefix / "share").string();
    // xdg-open looks for a desktop handler only inside a graphical session; nothing connects to it.
    environment["DISPLAY"] = ":99";
    const auto opened = run("/usr/bin/xdg-open", {"vantaquill://notify?title=Hi"}, environment);
    EXPECT_EQ(opened.exitCode, 0) << opened.err;
    const auto shown = first.waitForLine("activity shown id=url.notify");
    ASSERT_TRUE(shown.has_value());
    EXPECT_NE(shown->find("title=\"Hi\""), std::string::npos) << *shown;
}

TEST(SingleInstanceWithoutBus, EveryIslandRunsOnItsOwn) {
    TemporaryHome home;
    IslandProcess first(home);
    IslandProcess second(home, {"vantaquill://clipboard"});
    EXPECT_NE(first.port(), 0);
    EXPECT_NE(second.port(), 0);
    EXPECT_TRUE(second.waitForLine("url clipboard").has_value());
}

} // namespace
} // namespace vq::packagetest
