#include "TestClasses.h"

#include <QTest>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

/// Made on first use: the classes are added while the program's globals are constructed.
std::map<std::string, TestClasses::Maker> &makers()
{
    static std::map<std::string, TestClasses::Maker> all;
    return all;
}

} // namespace

bool TestClasses::add(const char *name, Maker make)
{
    return makers().emplace(name, make).second;
}

int TestClasses::run(int argc, char **argv)
{
    const auto maker = argc > 1 ? makers().find(argv[1]) : makers().end();
    if (maker == makers().end()) {
        std::fprintf(stderr, "The first argument names a test class:\n");
        for (const auto &each : makers()) {
            std::fprintf(stderr, "  %s\n", each.first.c_str());
        }
        return 2;
    }
    std::vector<char *> arguments(argv + 1, argv + argc);
    arguments.front() = argv[0];
    const std::unique_ptr<QObject> test(maker->second());
    return QTest::qExec(test.get(), int(arguments.size()), arguments.data());
}
