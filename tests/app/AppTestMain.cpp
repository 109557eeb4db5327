#include <gtest/gtest.h>

#include <QApplication>

// The agent's code needs an application object and its event loop; widget
// code runs on Qt's offscreen platform so that no display is needed.
int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
