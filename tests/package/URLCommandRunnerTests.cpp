#include "vantaquill/instance/URLCommandRunner.hpp"

#include <gtest/gtest.h>

namespace vq {
namespace {

// Records what the running island was asked to do.
class RecordingDelegate final : public brind::SDKBridgeDelegate {
  public:
    void showActivity(brind::LiveActivity activity) override { shown.push_back(std::move(activity)); }
    void endActivity(std::string id) override { ended.push_back(std::move(id)); }
    void endActivities(std::string) override {}
    void showHUD(brind::HUDEvent) override {}
    void stepHUD(brind::HUDKey, brind::HUDSteps::Grid,
                 std::function<void(std::expected<brind::HUDEvent, brind::HUDStepFailure>)> done) override {
        done(std::unexpected(brind::HUDStepFailure{}));
    }
    void addToShelf(std::vector<std::string> paths, std::function<void(std::size_t)> done) override {
        shelved.push_back(paths);
        done(paths.size());
    }
    void askConsent(std::string, std::string, std::vector<brind::SDKScope>,
                    std::function<void(bool)> answer) override {
        answer(false);
    }
    void agentEvent(brind::AgentHookEvent) override {}

    std::vector<brind::LiveActivity> shown;
    std::vector<std::string> ended;
    std::vector<std::vector<std::string>> shelved;
};

class URLCommandRunnerTest : public ::testing::Test {
  protected:
    const brind::Date now{1'800'000'000};
    brind::SDKAuthorizer auth;
    RecordingDelegate delegate;
    std::vector<std::string> views;
    URLCommandRunner runner{auth, delegate, [this](const brind::SDKURLCommand& view) {
                                views.push_back(URLCommandRunner::describeView(view));
                            }};
    std::string lumetta = auth.issue("lumetta", "Lumetta", {brind::SDKScope::activities}, now);
    std::string shelfOnly = auth.issue("dropper", "Dropper", {brind::SDKScope::shelf}, now);
};

TEST_F(URLCommandRunnerTest, NotificationsShowUnderTheURLSourceOrTheTokensClient) {
    ASSERT_TRUE(runner.run("vantaquill://notify?title=Hi&subtitle=there&symbol=star&progress=1.7", now));
    ASSERT_TRUE(runner.run("vantaquill://notify?title=Deployed&token=" + lumetta, now));
    EXPECT_EQ(delegate.shown,
              (std::vector<brind::LiveActivity>{
                  {.id = "url.notify",
                   .source = "url",
                   .leading = brind::ActivityGlyph::symbol("star"),
                   .title = "Hi",
                   .subtitle = "there",
                   .progress = 1.0,
                   .postedAt = now},
                  {.id = "sdk.lumetta.url", .source = "sdk.lumetta", .title = "Deployed", .postedAt = now},
              }));
}

// End and shelf need their scope; a refused URL changes nothing.
TEST_F(URLCommandRunnerTest, EndAndShelfNeedTheirScopeAndRefusalsChangeNothing) {
    ASSERT_TRUE(runner.run("vantaquill://end?id=build&token=" + lumetta, now));
    ASSERT_TRUE(runner.run("vantaquill://shelf/add?path=/tmp/a&path=/tmp/b&token=" + shelfOnly, now));
    const std::vector<std::pair<std::string, std::string>> refused = {
        {"vantaquill://end?id=build&token=" + shelfOnly, "the token's client may not use activities"},
        {"vantaquill://shelf/add?path=/tmp/a&token=" + lumetta, "the token's client may not use shelf"},
        {"vantaquill://notify?title=Hi&token=vq_unknown", "the token belongs to no registered client"},
        {"vantaquill://end?token=" + lumetta, "missing id"},
        {"vantaquill://shelf/remove?path=/a&token=" + shelfOnly, "unknown command"},
        {"https://example.org/notify?title=Hi", "not a vantaquill:// URL"},
        // A URL has no working folder, so a relative path could name any file.
        {"vantaquill://shelf/add?path=notes.txt&token=" + shelfOnly,
         "shelf paths must be absolute: notes.txt"},
    };
    for (const auto& [url, why] : refused) {
        const auto result = runner.run(url, now);
        ASSERT_FALSE(result) << url;
        EXPECT_EQ(result.error(), why) << url;
    }
    EXPECT_EQ(delegate.ended, std::vector<std::string>{"sdk.lumetta.build"});
    EXPECT_EQ(delegate.shelved, (std::vector<std::vector<std::string>>{{"/tmp/a", "/tmp/b"}}));
    EXPECT_TRUE(delegate.shown.empty());
    EXPECT_TRUE(views.empty());
}

} // namespace
} // namespace vq
