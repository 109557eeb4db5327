#include <QApplication>

#include "app/Composition.h"

int main(int argc, char** argv) {
    composition::chooseWindowSystem();
    QApplication application(argc, argv);
    return composition::runAgent(application);
}
