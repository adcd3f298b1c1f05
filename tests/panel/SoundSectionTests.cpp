#include "tests/providers/SoundServer.hpp"
#include "vantaquill/panel/sound/SoundRow.hpp"
#include "vantaquill/panel/sound/SoundSection.hpp"

#include <QCoreApplication>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QTest>
#include <gtest/gtest.h>
#include <sstream>

namespace vq {
namespace {

void onMainThread(std::function<void()> function) {
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(function), Qt::QueuedConnection);
}

bool eventually(const std::function<bool()>& done) {
    return QTest::qWaitFor(done, 20000);
}

class SoundView : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(std::filesystem::exists("/usr/bin/pacat")) << "package pulseaudio-utils is missing";
        ASSERT_TRUE(server.running());
        ASSERT_TRUE(server.waitUntilReady()) << "PulseAudio did not start";
        section.resize(480, 320);
    }

    /// pacat playing silence for the application "Tuner" while the program lives.
    std::unique_ptr<BackgroundProgram> play(std::vector<std::string> options = {}) const {
        options.insert(options.begin(), {"--playback", "--property=application.name=Tuner"});
        options.push_back("/dev/zero");
        return std::make_unique<BackgroundProgram>(
            "/usr/bin/pacat", options,
            std::vector<std::string>{"HOME=" + home.path().string(),
                                     "XDG_RUNTIME_DIR=" + home.path().string()});
    }

    /// Whether the block `pactl list sink-inputs` prints for the Tuner stream contains `text`.
    bool tunerHas(const std::string& text) const {
        const auto all = server.control({"list", "sink-inputs"}).value_or("");
        const auto named = all.find("application.name = \"Tuner\"");
        const auto start = all.rfind("Sink Input #", named);
        return named != std::string::npos && all.substr(start, named - start).find(text) != std::string::npos;
    }

    /// The first column of the line of `pactl list short <what>` that contains `needle`.
    std::string indexOf(const std::string& what, const std::string& needle) const {
        std::istringstream lines(server.control({"list", "short", what}).value_or(""));
        for (std::string line; std::getline(lines, line);)
            if (line.find(needle) != std::string::npos)
                return line.substr(0, line.find('\t'));
        return {};
    }

    /// The output button marked as the one in use.
    QString outputInUse() const {
        for (QPushButton* button : section.outputButtons())
            if (button->property("role").toString() == "primary")
                return button->text();
        return {};
    }

    SoundRow* tuner() const {
        for (auto* row : section.streamRows())
            if (row->name() == "Tuner" && row->isVisible())
                return row;
        return nullptr;
    }

    e2e::TemporaryHome home;
    SoundServer server{home};
    SessionOf session{{{"HOME", home.path().string()}, {"XDG_RUNTIME_DIR", home.path().string()}}};
    SoundSection section{onMainThread};
};

TEST_F(SoundView, ApplicationsPlayingAreListedAndTheirLevelsAndOutputSetOnTheServer) {
    section.show();
    // The test server has two outputs, speakers in use.
    ASSERT_TRUE(
        eventually([&] { return section.outputRow()->isVisible() && section.outputChoice()->isVisible(); }));
    EXPECT_EQ(section.outputRow()->name(), "Speakers");
    ASSERT_EQ(section.outputButtons().size(), 2u);
    EXPECT_EQ(outputInUse(), "Speakers");
    EXPECT_TRUE(section.findChild<QLabel*>("empty")->isVisible());
    // The island takes the section's height when told of a change: a new row must be in it then.
    const int heightBefore = section.contentHeight(480);
    int heightTold = heightBefore;
    section.onChanged = [&] { heightTold = section.contentHeight(480); };

    auto player = play({"--stream-name=Test tone"});
    ASSERT_TRUE(eventually([&] { return tuner() != nullptr; }));
    SoundRow* row = tuner();
    EXPECT_FALSE(section.findChild<QLabel*>("empty")->isVisible());
    EXPECT_GT(heightTold, heightBefore);
    EXPECT_EQ(heightTold, section.contentHeight(480));
    EXPECT_EQ(row->findChild<QLabel*>("detail")->text(), "Test tone");
    EXPECT_EQ(row->slider()->value(), 100);

    // The user's changes reach the server: the slider, then mute.
    row->slider()->setValue(30);
    EXPECT_TRUE(eventually([&] { return tunerHas("/  30% /"); }));
    row->muteButton()->click();
    EXPECT_TRUE(eventually([&] { return tunerHas("Mute: yes"); }));

    // A change made elsewhere (to the only stream) moves the row.
    ASSERT_TRUE(server.control({"set-sink-input-volume", indexOf("sink-inputs", "\t"), "70%"}));
    EXPECT_TRUE(eventually([&] { return row->slider()->value() == 70; }));
    EXPECT_TRUE(row->muteButton()->isChecked());

    // The output's own level.
    section.outputRow()->slider()->setValue(55);
    EXPECT_TRUE(eventually([&] {
        return server.control({"get-sink-volume", "speakers"}).value_or("").find("55%") != std::string::npos;
    }));

    // Choosing an output makes it the default and moves what plays.
    const std::string headphones = indexOf("sinks", "\theadphones\t");
    ASSERT_FALSE(headphones.empty());
    for (QPushButton* button : section.outputButtons())
        if (button->text() == "Headphones")
            button->click();
    EXPECT_TRUE(eventually([&] {
        return server.control({"get-default-sink"}).value_or("").find("headphones") != std::string::npos;
    }));
    EXPECT_TRUE(eventually([&] { return tunerHas("Sink: " + headphones + "\n"); }));
    EXPECT_TRUE(eventually([&] { return section.outputRow()->name() == "Headphones"; }));
    EXPECT_EQ(outputInUse(), "Headphones");

    // The stream ends: its row goes.
    player.reset();
    EXPECT_TRUE(eventually([&] { return tuner() == nullptr; }));
    EXPECT_TRUE(section.findChild<QLabel*>("empty")->isVisible());

    // With one output left there is nothing to choose.
    ASSERT_TRUE(server.control({"unload-module", indexOf("modules", "sink_name=speakers")}));
    EXPECT_TRUE(eventually([&] { return !section.outputChoice()->isVisible(); }));
}

TEST_F(SoundView, WithoutASoundServerTheViewSaysSo) {
    server.quit();
    section.show();
    EXPECT_TRUE(eventually([&] { return section.findChild<QLabel*>("status")->isVisible(); }));
    EXPECT_FALSE(section.outputRow()->isVisible());
}

} // namespace
} // namespace vq
