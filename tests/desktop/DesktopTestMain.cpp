// The controller tests ask the faces where buttons are, which needs a QGuiApplication (fonts); the
// offscreen platform needs no display. The screen tests start their own X server and processes.

#include <QGuiApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
