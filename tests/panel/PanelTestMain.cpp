// Sections are widgets: these tests build them against real stores and brokers, show them on
// Qt's offscreen platform and click and type with QTest. The island on a real display server is
// tested through the application in tests/desktop and tests/wayland.

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
