// Faces are painted into images, which needs a QGuiApplication (fonts, icon themes); the offscreen
// platform needs no display.

#include "vantaquill/island/faces/IconTheme.hpp"

#include <QGuiApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    // The icon theme is chosen once per process: from the real environment, before any test points
    // the XDG folders elsewhere.
    vq::IconTheme::ensure();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
