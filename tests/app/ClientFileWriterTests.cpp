#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/ClientFileWriter.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace vq;

namespace {

std::vector<std::string> appIDs(const std::vector<brind::SDKClient>& clients) {
    std::vector<std::string> ids;
    for (const auto& client : clients)
        ids.push_back(client.appID);
    return ids;
}

} // namespace

// Registrations and revocations reach the file at once; a moved lastSeen waits a second on the main
// thread, goes with every report of that second, and is written as the list then stands, so a client
// revoked meanwhile never comes back.
TEST(ClientFileWriter, WritesChangesAtOnceAndLastSeenOncePerSecondAsTheListThenStands) {
    brindtest::TemporaryFolder folder;
    ManualScheduler scheduler;
    ClientStore store(folder.path());
    brind::SDKAuthorizer auth;
    std::vector<std::function<void()>> posted;
    std::vector<std::string> logged;
    auto writer = std::make_unique<ClientFileWriter>(
        store, auth, scheduler, [&](std::function<void()> work) { posted.push_back(std::move(work)); },
        [&](const std::string& line) { logged.push_back(line); });
    const auto runPosted = [&] {
        for (auto& work : std::exchange(posted, {}))
            work();
    };

    const brind::Date registered = scheduler.now();
    const std::string builds = auth.issue("builds", "Builds", {brind::SDKScope::activities}, scheduler.now());
    const std::string music = auth.issue("music", "Music", {brind::SDKScope::activities}, scheduler.now());
    EXPECT_EQ(appIDs(store.load()), (std::vector<std::string>{"builds", "music"})) << "a registration waited";

    scheduler.advance(120);
    ASSERT_TRUE(auth.authorize(builds, brind::SDKScope::activities, scheduler.now()));
    ASSERT_TRUE(auth.authorize(music, brind::SDKScope::activities, scheduler.now()));
    EXPECT_EQ(posted.size(), 2u) << "the server's thread only hands the report over";
    EXPECT_EQ(store.load().front().lastSeen, registered) << "written on the server's thread";
    runPosted();
    EXPECT_EQ(scheduler.pendingCount(), 1u) << "one write for both reports";

    auth.revoke("music");
    EXPECT_EQ(appIDs(store.load()), std::vector<std::string>{"builds"}) << "a revocation waited";
    scheduler.advance(ClientFileWriter::seenDelay);
    const auto saved = store.load();
    EXPECT_EQ(appIDs(saved), std::vector<std::string>{"builds"})
        << "the delayed write brought a revoked client back";
    EXPECT_EQ(saved.front().lastSeen, scheduler.now() - ClientFileWriter::seenDelay);

    // A report still waiting when the island quits is written then.
    scheduler.advance(120);
    ASSERT_TRUE(auth.authorize(builds, brind::SDKScope::activities, scheduler.now()));
    runPosted();
    writer.reset();
    EXPECT_EQ(store.load().front().lastSeen, scheduler.now());
    EXPECT_TRUE(logged.empty());
}
