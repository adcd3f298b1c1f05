// The clipboard tests run against a private Xvfb when one can be started, so the X11 watcher sees
// real selection changes from xclip; without it the Qt application runs offscreen and the X11 tests
// skip. The server has to exist before the application connects to it.

#include "tests/clipboard-desktop/ClipboardDisplay.hpp"

#include <QGuiApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    const auto& display = vq::clipboardtest::display();
    if (display && !display->name().empty()) {
        qputenv("DISPLAY", QByteArray::fromStdString(display->name()));
        qputenv("QT_QPA_PLATFORM", "xcb");
    } else {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QGuiApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
