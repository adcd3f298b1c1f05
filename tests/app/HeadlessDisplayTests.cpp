#include "vantaquill/HeadlessDisplay.hpp"

#include <gtest/gtest.h>

using namespace vq;

namespace {

brind::LiveActivity activity(std::string id, std::string title) {
    return {.id = std::move(id), .source = "test", .title = std::move(title)};
}

struct Recorder {
    std::vector<std::string> lines;
    HeadlessDisplay display{[this](const std::string& line) { lines.push_back(line); },
                            [this](const std::string& line) { lines.push_back("stderr: " + line); }};
};

} // namespace

TEST(HeadlessDisplay, WritesOneLinePerVisibleChangeOfTheList) {
    Recorder recorder;
    auto build = activity("build", "Building");
    build.progress = 0.25;
    recorder.display.activitiesChanged({build, activity("tea", "Tea")});
    build.progress = 0.5;
    recorder.display.activitiesChanged({build, activity("tea", "Tea")});
    recorder.display.activitiesChanged({build});
    recorder.display.activitiesChanged({build});
    EXPECT_EQ(recorder.lines, (std::vector<std::string>{
                                  "activity shown id=build source=test priority=normal title=\"Building\" progress=0.25",
                                  "activity shown id=tea source=test priority=normal title=\"Tea\"",
                                  "activity updated id=build source=test priority=normal title=\"Building\" progress=0.50",
                                  "activity ended id=tea",
                              }));
}

TEST(HeadlessDisplay, QuotesTextSoThatLinesSplitAtSpaces) {
    EXPECT_EQ(HeadlessDisplay::field("title", "Say \"hi\"\nnow"), R"(title="Say \"hi\"\nnow")");
    Recorder recorder;
    recorder.display.alertChanged(activity("a", "Hello world"));
    recorder.display.alertChanged(activity("a", "Hello world"));
    recorder.display.alertChanged(std::nullopt);
    recorder.display.alertChanged(std::nullopt);
    EXPECT_EQ(recorder.lines, (std::vector<std::string>{"alert shown id=a title=\"Hello world\"", "alert cleared id=a"}));
}

TEST(HeadlessDisplay, ReportsIslandStateOnlyWhenItChanges) {
    Recorder recorder;
    recorder.display.stateChanged(brind::IslandState::compact);
    recorder.display.stateChanged(brind::IslandState::compact);
    recorder.display.stateChanged(brind::IslandState::peek);
    recorder.display.hudChanged(brind::HUDEvent::make(brind::HUDEvent::Kind::volume, 0.0, true, std::nullopt, std::nullopt,
                                                      std::nullopt));
    recorder.display.error("couldn't write shelf.json");
    EXPECT_EQ(recorder.lines, (std::vector<std::string>{"island state=compact", "island state=peek",
                                                        "hud shown kind=volume value=0.00 muted=true symbol=speaker.slash.fill",
                                                        "stderr: vantaquill: couldn't write shelf.json"}));
}
