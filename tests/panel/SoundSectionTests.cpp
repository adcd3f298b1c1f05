#include "vantaquill/panel/sound/SoundSection.hpp"

#include "tests/providers/SoundServer.hpp"
#include "vantaquill/panel/sound/SoundRow.hpp"

#include <QCoreApplication>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QTest>

#include <gtest/gtest.h>

#include <sstream>

namespace vq {
namespace {

constexpr int patience = 20000;

void onMainThread(std::function<void()> function) {
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(function), Qt::QueuedConnection);
}

class SoundView : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(std::filesystem::exists("/usr/bin/pacat")) << "package pulseaudio-utils is missing";
        ASSERT_TRUE(server.running());
        ASSERT_TRUE(server.waitUntilReady()) << "PulseAudio did not start";
    }

    /// The block `pactl list sink-inputs` prints for the stream of `application`.
    std::string streamAsServerHasIt(const std::string& application) const {
        const auto all = server.control({"list", "sink-inputs"}).value_or("");
        const auto named = all.find("application.name = \"" + application + "\"");
        if (named == std::string::npos)
            return {};
        const auto start = all.rfind("Sink Input #", named);
        return all.substr(start, named - start);
    }

    /// The output button marked as the one in use.
    static QString outputInUse(const SoundSection& section) {
        for (QPushButton* button : section.outputButtons()) {
            if (button->property("role").toString() == "primary")
                return button->text();
        }
        return {};
    }

    SoundRow* rowOf(const SoundSection& section, const QString& application) const {
        for (auto* row : section.streamRows()) {
            if (row->name() == application && row->isVisible())
                return row;
        }
        return nullptr;
    }

    e2e::TemporaryHome home;
    SoundServer server{home};
    SessionOf session{{{"HOME", home.path().string()}, {"XDG_RUNTIME_DIR", home.path().string()}}};
};

TEST_F(SoundView, ApplicationsPlayingAreListedAndTheirLevelsSetOnTheServer) {
    SoundSection section(onMainThread);
    section.resize(480, 320);
    section.show();
    ASSERT_TRUE(QTest::qWaitFor([&] { return section.outputRow()->isVisible(); }, patience));
    EXPECT_EQ(section.outputRow()->name(), "Speakers");
    EXPECT_TRUE(section.findChild<QLabel*>("empty")->isVisible());
    // The island takes the section's height when told of a change: a new row must be in it then.
    const int heightBefore = section.contentHeight(480);
    int heightTold = heightBefore;
    section.onChanged = [&] { heightTold = section.contentHeight(480); };

    std::optional<BackgroundProgram> player;
    player.emplace("/usr/bin/pacat",
                   std::vector<std::string>{"--playback", "--property=application.name=Tuner",
                                            "--stream-name=Test tone", "/dev/zero"},
                   std::vector<std::string>{"HOME=" + home.path().string(), "XDG_RUNTIME_DIR=" + home.path().string()});
    SoundRow* row = nullptr;
    ASSERT_TRUE(QTest::qWaitFor([&] { return (row = rowOf(section, "Tuner")) != nullptr; }, patience));
    EXPECT_FALSE(section.findChild<QLabel*>("empty")->isVisible());
    EXPECT_GT(heightTold, heightBefore);
    EXPECT_EQ(heightTold, section.contentHeight(480));
    EXPECT_EQ(row->findChild<QLabel*>("detail")->text(), "Test tone");
    EXPECT_EQ(row->slider()->value(), 100);

    // The user's changes reach the server: the slider, then mute.
    row->slider()->setValue(30);
    EXPECT_TRUE(QTest::qWaitFor([&] { return streamAsServerHasIt("Tuner").find("/  30% /") != std::string::npos; },
                                patience))
        << streamAsServerHasIt("Tuner");
    row->muteButton()->click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return streamAsServerHasIt("Tuner").find("Mute: yes") != std::string::npos; },
                                patience));

    // A change made elsewhere moves the row.
    const auto index = streamAsServerHasIt("Tuner").substr(std::string("Sink Input #").size());
    ASSERT_TRUE(server.control({"set-sink-input-volume", index.substr(0, index.find('\n')), "70%"}));
    EXPECT_TRUE(QTest::qWaitFor([&] { return row->slider()->value() == 70; }, patience));
    EXPECT_TRUE(row->muteButton()->isChecked());

    // The output's own level.
    section.outputRow()->slider()->setValue(55);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return server.control({"get-sink-volume", "speakers"}).value_or("").find("55%") != std::string::npos; },
        patience));

    // The stream ends: its row goes.
    player.reset();
    EXPECT_TRUE(QTest::qWaitFor([&] { return rowOf(section, "Tuner") == nullptr; }, patience));
    EXPECT_TRUE(section.findChild<QLabel*>("empty")->isVisible());
}

TEST_F(SoundView, ChoosingAnOutputMakesItTheDefaultAndMovesWhatPlays) {
    SoundSection section(onMainThread);
    section.resize(480, 320);
    section.show();
    // The test server has two outputs, speakers in use.
    ASSERT_TRUE(QTest::qWaitFor([&] { return section.outputChoice()->isVisible(); }, patience));
    ASSERT_EQ(section.outputButtons().size(), 2u);
    EXPECT_EQ(outputInUse(section), "Speakers");

    BackgroundProgram player("/usr/bin/pacat",
                             {"--playback", "--property=application.name=Tuner", "/dev/zero"},
                             {"HOME=" + home.path().string(), "XDG_RUNTIME_DIR=" + home.path().string()});
    ASSERT_TRUE(QTest::qWaitFor([&] { return rowOf(section, "Tuner") != nullptr; }, patience));
    // `pactl list short sinks` prints "index<tab>name<tab>…" a line.
    std::string headphonesIndex;
    std::istringstream sinks(server.control({"list", "short", "sinks"}).value_or(""));
    for (std::string line; std::getline(sinks, line);) {
        if (line.find("\theadphones\t") != std::string::npos)
            headphonesIndex = line.substr(0, line.find('\t'));
    }
    ASSERT_FALSE(headphonesIndex.empty());

    for (QPushButton* button : section.outputButtons()) {
        if (button->text() == "Headphones")
            button->click();
    }
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return server.control({"get-default-sink"}).value_or("").find("headphones") != std::string::npos; },
        patience));
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return streamAsServerHasIt("Tuner").find("Sink: " + headphonesIndex + "\n") != std::string::npos; },
        patience))
        << streamAsServerHasIt("Tuner");
    EXPECT_TRUE(QTest::qWaitFor([&] { return section.outputRow()->name() == "Headphones"; }, patience));
    EXPECT_EQ(outputInUse(section), "Headphones");

    // With one output left there is nothing to choose.
    std::string speakersModule;
    std::istringstream modules(server.control({"list", "short", "modules"}).value_or(""));
    for (std::string line; std::getline(modules, line);) {
        if (line.find("sink_name=speakers") != std::string::npos)
            speakersModule = line.substr(0, line.find('\t'));
    }
    ASSERT_TRUE(server.control({"unload-module", speakersModule}));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !section.outputChoice()->isVisible(); }, patience));
}

TEST_F(SoundView, WithoutASoundServerTheViewSaysSo) {
    server.quit();
    SoundSection section(onMainThread);
    section.show();
    EXPECT_TRUE(QTest::qWaitFor([&] { return section.findChild<QLabel*>("status")->isVisible(); }, patience));
    EXPECT_FALSE(section.outputRow()->isVisible());
}

} // namespace
} // namespace vq
