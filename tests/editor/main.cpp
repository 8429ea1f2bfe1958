// The program of the editor's tests.
#include "support/TestClasses.h"

#include <QApplication>

int main(int argc, char **argv)
{
    // Pictures and sizes are the same on every screen.
    QCoreApplication::setAttribute(Qt::AA_Use96Dpi);
    const QApplication application(argc, argv);
    return TestClasses::run(argc, argv);
}
