#include <QGuiApplication>
#include <QTemporaryFile>
#include <cstdlib>
#include <gtest/gtest.h>

// The layer-shell surface needs a Qt application for its event loop and QPainter's fonts, but not a
// Qt window: Qt runs offscreen and the surface speaks to sway over its own connection. Qt's screens
// are named and placed like the outputs the tests give sway, as Qt on Wayland names them.
int main(int argc, char** argv) {
    QTemporaryFile screens;
    if (!screens.open())
        return 1;
    screens.write(R"({"screens": [
        {"name": "HEADLESS-1", "x": 0, "y": 0, "width": 1280, "height": 720, "logicalDpi": 96, "dpr": 1},
        {"name": "HEADLESS-2", "x": 1280, "y": 0, "width": 1280, "height": 720, "logicalDpi": 96, "dpr": 1}
    ]})");
    screens.flush();
    setenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + screens.fileName().toStdString()).c_str(), 1);
    QGuiApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
