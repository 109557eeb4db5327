#include <gtest/gtest.h>

#include <QApplication>
#include <cstdio>

// Widgets need an application object; the offscreen platform lets them be
// created, laid out and drawn without a display.
int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // The offscreen platform says of each window mask and raise that it
    // cannot; that is expected and only clutters the output.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& message) {
        if (message.startsWith(QLatin1String("This plugin does not support"))) return;
        fprintf(stderr, "%s\n", qPrintable(message));
    });
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
