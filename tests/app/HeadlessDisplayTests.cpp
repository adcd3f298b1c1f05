#include "vantaquill/HeadlessDisplay.hpp"

#include <gtest/gtest.h>

using namespace vq;

namespace {

brind::LiveActivity activity(std::string id, std::string title) {
    return {.id = std::move(id), .source = "test", .title = std::move(title)};
}

} // namespace

// The lines scripts and the end-to-end tests read: one per visible change, with text quoted so that
// lines split at spaces.
TEST(HeadlessDisplay, WritesOneLinePerVisibleChange) {
    std::vector<std::string> lines;
    HeadlessDisplay display{[&](const std::string& line) { lines.push_back(line); },
                            [&](const std::string& line) { lines.push_back("stderr: " + line); }};
    auto build = activity("build", "Building");
    build.progress = 0.25;
    display.activitiesChanged({build, activity("tea", "Tea")});
    build.progress = 0.5;
    display.activitiesChanged({build, activity("tea", "Tea")});
    display.activitiesChanged({build});
    display.activitiesChanged({build});
    for (int twice = 0; twice < 2; ++twice)
        display.alertChanged(activity("a", "Say \"hi\"\nnow"));
    for (int twice = 0; twice < 2; ++twice)
        display.alertChanged(std::nullopt);
    for (const auto state :
         {brind::IslandState::compact, brind::IslandState::compact, brind::IslandState::peek})
        display.stateChanged(state);
    display.hudChanged(brind::HUDEvent::make(brind::HUDEvent::Kind::volume, 0.0, true, std::nullopt,
                                             std::nullopt, std::nullopt));
    display.error("couldn't write shelf.json");
    EXPECT_EQ(lines,
              (std::vector<std::string>{
                  "activity shown id=build source=test priority=normal title=\"Building\" progress=0.25",
                  "activity shown id=tea source=test priority=normal title=\"Tea\"",
                  "activity updated id=build source=test priority=normal title=\"Building\" progress=0.50",
                  "activity ended id=tea",
                  R"(alert shown id=a title="Say \"hi\"\nnow")",
                  "alert cleared id=a",
                  "island state=compact",
                  "island state=peek",
                  "hud shown kind=volume value=0.00 muted=true symbol=speaker.slash.fill",
                  "stderr: vantaquill: couldn't write shelf.json",
              }));
}
