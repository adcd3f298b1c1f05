// The preferences store watches its file through the event loop, and the settings window's tests
// build widgets: a QApplication on the offscreen platform. The Xvfb tests start their own programs.

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
