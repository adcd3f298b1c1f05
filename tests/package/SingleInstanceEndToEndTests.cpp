#include "tests/e2e/E2EProcess.hpp"
#include "tests/package/PrivateSessionBus.hpp"

#include <csignal>
#include <gtest/gtest.h>

namespace vq::packagetest {
namespace {

using e2e::builtProgram;
using e2e::IslandProcess;
using e2e::run;
using e2e::TemporaryHome;

class SingleInstance : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(bus.running()) << "dbus-daemon (package dbus-daemon) did not start"; }

    e2e::CommandResult second(const std::vector<std::string>& arguments) const {
        std::vector<std::string> all = {"--headless", "--port", "0"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return run(builtProgram("vantaquill-island"), all, home.environment());
    }

    TemporaryHome home;
    PrivateSessionBus bus{home.path()};
};

// The first island claims the bus name and carries out its own URL. A second island hands its URL
// to the first and exits; without a URL it shows the first; a URL the first refuses is reported
// there and changes nothing; and when the first is hung, the second says so instead of starting.
TEST_F(SingleInstance, SecondIslandsHandTheirURLsToTheFirstAndExit) {
    IslandProcess first(home, {"vantaquill://open/shelf"});
    ASSERT_NE(first.port(), 0) << "with no island running, the first starts normally";
    EXPECT_TRUE(first.waitForLine("url open tab=\"shelf\"").has_value());
    EXPECT_NE(bus.askBus("NameHasOwner", "io.vantaquill.Island").out.find("boolean true"), std::string::npos);

    EXPECT_EQ(second({"vantaquill://end?id=build&token=vq_unknown"}).exitCode, 0);
    const auto result = second({"vantaquill://notify?title=Handed%20over&subtitle=by%20the%20second"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out.find("Listening"), std::string::npos) << "the second island started its own server";
    const auto shown = first.waitForLine("activity shown id=url.notify");
    ASSERT_TRUE(shown.has_value());
    EXPECT_NE(shown->find("title=\"Handed over\""), std::string::npos) << *shown;
    EXPECT_EQ(second({}).exitCode, 0);
    EXPECT_TRUE(first.waitForLine("url open").has_value());

    ::kill(first.processID(), SIGSTOP);
    const auto hung = second({"vantaquill://clipboard"});
    ::kill(first.processID(), SIGCONT);
    EXPECT_NE(hung.exitCode, 0);
    EXPECT_NE(hung.err.find("did not answer"), std::string::npos) << hung.err;
    EXPECT_EQ(hung.out.find("Listening"), std::string::npos)
        << "a hung first must not be joined by a second island";

    first.stop();
    EXPECT_NE(first.errors().find("ignored vantaquill://end?id=build&token=vq_unknown"), std::string::npos)
        << first.errors();
    for (const auto& line : first.lines())
        EXPECT_TRUE(!line.contains("activity") || line == *shown) << line;
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
