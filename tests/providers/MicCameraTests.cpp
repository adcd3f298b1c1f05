#include "tests/e2e/E2EProcess.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/providers/SoundServer.hpp"
#include "tests/support/BackgroundProgram.hpp"
#include "vantaquill/providers/MicCameraProvider.hpp"

#include <QCoreApplication>
#include <QMetaObject>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vq {
namespace {

using namespace std::chrono_literals;
using e2e::IslandProcess;
using e2e::TemporaryHome;

TEST(MicCamera, CameraNodesAreTheNumberedVideoDevices) {
    for (const char* name : {"video0", "video12"})
        EXPECT_TRUE(MicCameraProvider::isCameraNode(name)) << name;
    for (const char* name : {"video", "videodev", "video0-meta", "vhci", "media0"})
        EXPECT_FALSE(MicCameraProvider::isCameraNode(name)) << name;
}

// A folder standing in for /dev with a camera node in it, which a real process opens and closes: the
// kernel reports both through inotify and names the holder in /proc.
TEST(MicCamera, TheCameraActivityNamesWhoHoldsTheNodeUntilItIsClosed) {
    int argc = 0;
    QCoreApplication application(argc, nullptr);
    TemporaryHome home;
    const auto devices = home.path() / "dev";
    std::filesystem::create_directories(devices);
    std::ofstream(devices / "video0") << "frame";
    std::ofstream(devices / "videodev") << "not a camera";

    ManualScheduler scheduler;
    LiveActivityCenter center(scheduler);
    const auto onMainThread = [](std::function<void()> function) {
        QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(function), Qt::QueuedConnection);
    };
    center.registerProvider(std::make_unique<MicCameraProvider>(
        scheduler, onMainThread, [](const std::string&) {}, devices));
    center.start(MicCameraProvider::providerID);
    // Events are read as the event loop runs; the holders a settling moment later.
    const auto cameraUsers = [&](bool wanted) -> std::optional<std::string> {
        const brind::LiveActivity* shown = nullptr;
        if (!pumpUntil([&] {
                scheduler.advance(MicCameraProvider::settleDelay);
                shown = center.queue().activity(std::string(MicCameraProvider::cameraID));
                return (shown != nullptr) == wanted;
            }))
            return std::nullopt;
        return shown ? shown->subtitle.value_or("") : "";
    };
    ASSERT_EQ(cameraUsers(false), "");

    {
        // One program that opens the node itself, so the name the provider reads at the open is the
        // name it keeps (a shell that opens it and then execs another program would change names).
        BackgroundProgram holder(
            "/usr/bin/python3",
            {"-c", "import time\nf = open('" + (devices / "video0").string() + "')\ntime.sleep(60)"},
            {"PATH=/usr/bin:/bin"});
        ASSERT_EQ(cameraUsers(true), "python3");
        const auto* shown = center.queue().activity(std::string(MicCameraProvider::cameraID));
        EXPECT_EQ(shown->priority, brind::ActivityPriority::ambient);
        EXPECT_EQ(shown->title, "Camera in use");
        EXPECT_FALSE(shown->dismissible);
        EXPECT_EQ(MicCameraProvider::cameraHolders("/proc", devices), std::vector<std::string>{"python3"});
    }
    EXPECT_EQ(cameraUsers(false), "");
    EXPECT_TRUE(MicCameraProvider::cameraHolders("/proc", devices).empty());
}

// A recording from an input names its program; a recording of an output's monitor (a visualiser, a
// screen recorder) is not the microphone.
TEST(MicCamera, RecordingFromAnInputShowsTheMicrophoneNamingTheRecorder) {
    ASSERT_TRUE(std::filesystem::exists("/usr/bin/parecord")) << "package pulseaudio-utils is missing";
    TemporaryHome home;
    SoundServer sound(home);
    ASSERT_TRUE(sound.waitUntilReady()) << "PulseAudio did not start";
    ASSERT_TRUE(sound.control({"load-module", "module-null-source", "source_name=desk-mic"}));
    IslandProcess island(home);
    ASSERT_NE(island.port(), 0) << island.errors();

    std::vector<std::string> environment{"HOME=" + home.path().string(),
                                         "XDG_RUNTIME_DIR=" + home.path().string(), "PATH=/usr/bin:/bin"};
    const auto recorder = [&](const std::string& name, const std::string& device) {
        return std::make_unique<BackgroundProgram>(
            "/usr/bin/parecord",
            std::vector<std::string>{"--client-name=" + name, "--device=" + device,
                                     (home.path() / (name + ".wav")).string()},
            environment);
    };
    const auto recordings = [&] {
        const auto listed = sound.control({"list", "short", "source-outputs"});
        return listed ? static_cast<int>(std::count(listed->begin(), listed->end(), '\n')) : -1;
    };
    const auto waitForRecordings = [&](int count) {
        return eventually([&] { return recordings() == count; });
    };

    const auto visualiser = recorder("visualiser", "speakers.monitor");
    ASSERT_TRUE(waitForRecordings(1));
    auto dictation = recorder("dictation", "desk-mic");
    ASSERT_TRUE(waitForRecordings(2));
    ASSERT_TRUE(island.waitForLine("activity shown id=micCamera.microphone source=micCamera priority=ambient "
                                   "title=\"Microphone in use\" subtitle=\"dictation\"",
                                   patience))
        << island.errors();

    dictation.reset();
    ASSERT_TRUE(island.waitForLine("activity ended id=micCamera.microphone", patience));
    EXPECT_FALSE(sawLine(island, "visualiser"));
}

} // namespace
} // namespace vq
