// The floor of "configscript --version": a program with Qt that prints a line.

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    std::puts("1.0");
    return 0;
}
