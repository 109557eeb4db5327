#include <QApplication>

#include "app/QtMainQueue.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    dispatch::MainQueue::install(std::make_shared<QtMainQueue>());
    return 0;
}
