// The programs of tests that need no window.
#include "support/TestClasses.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return TestClasses::run(argc, argv);
}
