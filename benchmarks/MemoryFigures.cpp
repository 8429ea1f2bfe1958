// How much memory loaded trees and idle handlers take, and whether it grows when a program repeats
// itself. Prints one line for each figure: measure, ours, floor ("-" for none), tab-separated.
// The floor is plain Qt: a QJsonDocument of the same file, an engine with one wrapped object.

#include "Fixture.h"

#include "JavaScript/JavaScriptDependencyResolver.h"
#include "JavaScript/JavaScriptHandlerUiWrapper.h"
#include "filehost/FileTreeNode.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "host/SystemInformationManagerDBusProviderDescriptionHandler.h"
#include "host/TextManager.h"
#include "host/UnitManagerWrapper.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJSEngine>
#include <QJsonDocument>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ConfigScript;

namespace {

/// What the process holds, in bytes.
struct Memory
{
    double heap = 0; ///< given out by malloc, whatever its size
    double resident = 0; ///< the engine keeps its own heap beside that of malloc

    static Memory now()
    {
        const struct mallinfo2 info = mallinfo2();
        Memory memory;
        memory.heap = double(info.uordblks) + double(info.hblkhd);
        memory.resident = residentSize();
        return memory;
    }

    Memory operator-(const Memory &other) const
    {
        return {heap - other.heap, resident - other.resident};
    }

    Memory operator/(double divisor) const { return {heap / divisor, resident / divisor}; }

private:
    /// Counted page by page: the kernel's quick figure, in statm, is some dozen pages behind.
    static double residentSize()
    {
        QFile file(QStringLiteral("/proc/self/smaps_rollup"));
        if (!file.open(QIODevice::ReadOnly)) {
            Fixture::fail(file.fileName() + QStringLiteral(": ") + file.errorString());
        }
        const QList<QByteArray> lines = file.readAll().split('\n');
        for (const QByteArray &line : lines) {
            if (line.startsWith("Rss:")) { // "Rss:    1234 kB"
                return line.mid(4).trimmed().split(' ').first().toDouble() * 1024;
            }
        }
        Fixture::fail(QStringLiteral("no resident size"));
    }
};

/**
 * What @p measure returns, run in a process of its own: no figure depends on what was freed before
 * it was taken.
 */
template <typename Measure>
Memory inOwnProcess(Measure measure)
{
    int ends[2];
    if (pipe(ends) != 0) {
        Fixture::fail(QStringLiteral("no pipe"));
    }
    const pid_t process = fork();
    if (process < 0) {
        Fixture::fail(QStringLiteral("no process"));
    }
    if (process == 0) {
        malloc_trim(0); // what was freed shall not hide what is taken
        const Memory memory = measure();
        const bool isWritten = write(ends[1], &memory, sizeof(memory)) == ssize_t(sizeof(memory));
        _exit(isWritten ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    Memory memory;
    close(ends[1]);
    const bool isRead = read(ends[0], &memory, sizeof(memory)) == ssize_t(sizeof(memory));
    close(ends[0]);
    int status = 0;
    if (waitpid(process, &status, 0) != process || status != 0 || !isRead) {
        Fixture::fail(QStringLiteral("a measure failed"));
    }
    return memory;
}

void print(const char *measure, double ours)
{
    std::printf("%s\t%.0f\t-\n", measure, ours);
    std::fflush(stdout);
}

void print(const char *measure, double ours, double floor)
{
    std::printf("%s\t%.0f\t%.0f\n", measure, ours, floor);
    std::fflush(stdout);
}

void require(bool condition, const char *expectation)
{
    if (!condition) {
        Fixture::fail(QStringLiteral("expected ") + QLatin1String(expectation));
    }
}

class LoadedTree
{
public:
    static constexpr int nodeCount = 40000;
    static constexpr int fanOut = 34;

    LoadedTree()
    {
        const QByteArray text = Fixture::treeText(nodeCount, fanOut);
        m_fileSize = text.size();
        m_project.store(QStringLiteral("configuration/large.json"), text);
    }

    double fileSizePerNode() const { return double(m_fileSize) / nodeCount; }

    Memory ours() const
    {
        const auto load = [this] {
            return ConfigurationDataAndProcessDescriptionAccess::
                getParsedConfigurationProcessDescription(m_project.configurationFolder(),
                                                         QStringLiteral("large"), false);
        };
        const Memory before = Memory::now();
        const auto root = load();
        const Memory after = Memory::now();
        require(!root.isNull()
                    && root->getNode(Fixture::nodeUrl(nodeCount - 1, fanOut))
                            ->getProperty(QStringLiteral("value"))
                        == QVariant(nodeCount - 0.5),
                "the last node's value");
        return (after - before) / nodeCount;
    }

    Memory floor() const
    {
        const Memory before = Memory::now();
        QFile file(m_project.configurationFolder() + QStringLiteral("/large.json"));
        require(file.open(QIODevice::ReadOnly), "a file");
        const auto document = QJsonDocument::fromJson(file.readAll());
        file.close();
        const Memory after = Memory::now();
        require(document.isObject(), "an object");
        return (after - before) / nodeCount;
    }

private:
    Fixture::ScratchProject m_project;
    int m_fileSize = 0;
};

QSharedPointer<FileTreeNode> smallTree()
{
    Diagnostic error;
    const auto root = FileTree::parse(Fixture::treeText(40, 3), FileTree::Identity(), error);
    require(!root.isNull(), "a tree");
    return root;
}

/// One of @p count objects that @p make makes; the first of its kind, which fills caches, does not
/// count.
template <typename Make>
Memory perObject(int count, Make make)
{
    const auto first = make();
    std::vector<decltype(make())> objects;
    objects.reserve(size_t(count));
    const Memory before = Memory::now();
    for (int i = 0; i < count; ++i) {
        objects.push_back(make());
    }
    return (Memory::now() - before) / count;
}

Memory idleHandler()
{
    const UnitManagerWrapper units(false, false);
    const TextManager texts;
    return perObject(
        50, [&] { return std::make_unique<JavaScriptHandlerUiWrapper>(units, texts, nullptr); });
}

Memory idleEngine()
{
    return perObject(50, [] {
        auto engine = std::make_unique<QJSEngine>();
        engine->installExtensions(QJSEngine::ConsoleExtension);
        engine->newQObject(new QObject(engine.get()));
        return engine;
    });
}

/// What 1,000 repetitions add, after 500 in which the engine's pools grow to their size.
template <typename Repeat>
Memory growth(Repeat repeat)
{
    for (int i = 0; i < 500; ++i) {
        repeat();
    }
    const Memory before = Memory::now();
    for (int i = 0; i < 1000; ++i) {
        repeat();
    }
    return Memory::now() - before;
}

Memory growthOfHandlers()
{
    const UnitManagerWrapper units(false, false);
    const TextManager texts;
    const QString script = Fixture::scriptText(2048);
    return growth([&] {
        JavaScriptHandlerUiWrapper handler(units, texts, nullptr);
        handler.initializeHandler(smallTree(), script, QString());
        require(handler.callFunctionOnOpen(), "an event that succeeds");
    });
}

/// Three instances; each run changes the first one's file.
class SmallProject
{
public:
    SmallProject()
    {
        const QStringList names{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
        for (const QString &name : names) {
            QByteArray tree = Fixture::treeText(40, 3);
            tree.replace("\"properties\": {\n        \"labelTextId\"",
                         "\"properties\": {\n        \"dependencyFileExtern\": \"count.js\",\n"
                         "        \"labelTextId\"");
            m_project.store(QStringLiteral("configuration/%1.json").arg(name), tree);
        }
        m_project.store(QStringLiteral("configuration/manifest.json"),
                        Fixture::manifestText(names));
        m_project.store(QStringLiteral("dependency/count.js"),
                        (QStringLiteral("function onSave(api, url) {\n"
                                        "  if (url.endsWith(\"/a\")) {\n"
                                        "    const value = api.getPropertyExtern(url, \"value\");\n"
                                        "    api.setPropertyExtern(url, \"value\", value + 1);\n"
                                        "  }\n"
                                        "}\n")
                         + Fixture::scriptText(2048))
                            .toUtf8());
    }

    std::unique_ptr<JavaScriptDependencyResolver> makeResolver() const
    {
        return std::make_unique<JavaScriptDependencyResolver>(
            m_project.path(), QStringLiteral("plant"), QStringLiteral("station"), m_providers,
            m_texts, QHash<QString, QString>{{QStringLiteral("station"), m_project.path()}},
            nullptr);
    }

    /// How many runs were saved.
    double runs() const
    {
        const auto root =
            ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
                m_project.configurationFolder(), QStringLiteral("a"), false);
        require(!root.isNull(), "a tree");
        return root->getProperty(QStringLiteral("value")).toDouble() - 0.5;
    }

private:
    Fixture::ScratchProject m_project;
    SystemInformationManagerDBusProviderDescriptionHandler m_providers;
    TextManager m_texts;
};

Memory growthOfResolvers()
{
    const SmallProject project;
    const Memory memory = growth([&] { project.makeResolver()->resolveAllDependencies(); });
    require(project.runs() == 1500, "1500 runs that were saved");
    return memory;
}

Memory growthOfRuns()
{
    const SmallProject project;
    const auto resolver = project.makeResolver();
    const Memory memory = growth([&] { resolver->resolveAllDependencies(); });
    require(project.runs() == 1500, "1500 runs that were saved");
    return memory;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    Fixture::failOnWarnings();

    {
        const LoadedTree tree;
        const Memory ours = inOwnProcess([&] { return tree.ours(); });
        const Memory floor = inOwnProcess([&] { return tree.floor(); });
        print("file of 40,000 nodes, bytes per node", tree.fileSizePerNode());
        print("tree of 40,000 nodes, heap bytes per node", ours.heap, floor.heap);
        print("tree of 40,000 nodes, resident bytes per node", ours.resident, floor.resident);
    }
    {
        const Memory ours = inOwnProcess(idleHandler);
        const Memory floor = inOwnProcess(idleEngine);
        print("idle handler, heap bytes", ours.heap, floor.heap);
        print("idle handler, resident bytes", ours.resident, floor.resident);
    }
    const Memory handlers = inOwnProcess(growthOfHandlers);
    print("1,000 handlers opened and closed, heap bytes added", handlers.heap);
    print("1,000 handlers opened and closed, resident bytes added", handlers.resident);
    const Memory resolvers = inOwnProcess(growthOfResolvers);
    print("1,000 resolvers, heap bytes added", resolvers.heap);
    print("1,000 resolvers, resident bytes added", resolvers.resident);
    const Memory runs = inOwnProcess(growthOfRuns);
    print("1,000 runs of one resolver, heap bytes added", runs.heap);
    print("1,000 runs of one resolver, resident bytes added", runs.resident);
    return EXIT_SUCCESS;
}
