#include <QApplication>

#include "app/Composition.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    return composition::runAgent(application);
}
