#pragma once

class QObject;

/**
 * The test classes of a program. A program holds those of one folder, and a run of it is that of
 * one class:
 *
 *     PROGRAM CLASS [ARGUMENT OF QT TEST...]
 */
class TestClasses
{
public:
    using Maker = QObject *(*)();

    /// Adds a class, which @p make creates by new. Before main(): use it through TEST_CLASS.
    static bool add(const char *name, Maker make);

    /// Runs the class that the first argument names, and returns Qt Test's result; 2, and the names
    /// of all classes on the standard error stream, where it names none. The application object
    /// must exist.
    static int run(int argc, char **argv);
};

/// Names a class derived from StrictTest to its program, once, at the end of its source.
#define TEST_CLASS(Class) \
    [[maybe_unused]] static const bool is##Class##Added = \
        TestClasses::add(#Class, []() -> QObject * { return new Class; });
