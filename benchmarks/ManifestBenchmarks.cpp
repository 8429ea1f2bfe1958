// Which listed instances belong to a name: names that nobody has asked for yet, and the same names
// once more. The floor looks through the same list of strings once for each new name, and keeps the
// answers in a hash.

#include "Body.h"
#include "Fixture.h"

#include "JavaScript/JavaScriptDependencyManager.h"

#include <QHash>
#include <QStringList>

#include <map>

namespace {

class PlainManifest
{
public:
    explicit PlainManifest(const QStringList &listed)
        : m_listed(listed)
    {
    }

    const QStringList &query(const QString &name)
    {
        const auto known = m_answers.constFind(name);
        return known != m_answers.constEnd() ? *known : *m_answers.insert(name, select(name));
    }

private:
    QStringList select(const QString &name) const
    {
        QStringList matches;
        for (const QString &listed : m_listed) {
            if (listed.startsWith(name)) {
                if (listed.size() == name.size()) {
                    return {name};
                }
                matches.append(listed);
            }
        }
        return matches;
    }

    QStringList m_listed;
    QHash<QString, QStringList> m_answers;
};

/// A manifest of @p count instances, 25 in each line, with what is asked of it: a fifth of the
/// names are listed, a fifth belong to one line each, and the others select nothing.
struct Manifest
{
    explicit Manifest(int count)
    {
        for (int i = 0; i < count; ++i) {
            listed.append(QStringLiteral("line%1/device%2").arg(i / 25).arg(i % 25));
        }
        project.store(QStringLiteral("configuration/manifest.json"), Fixture::manifestText(listed));
        for (int i = 0; i < 4; ++i) {
            const int place = count * (2 * i + 1) / 8;
            names.append(listed.at(place));
            names.append(QStringLiteral("line%1/").arg(place / 25));
            for (int unknown = 0; unknown < 3; ++unknown) {
                names.append(QStringLiteral("line%1/sensor%2").arg(place / 25).arg(unknown));
            }
        }
    }

    Fixture::ScratchProject project;
    QStringList listed;
    QStringList names;
};

/// Made once for each size: 100,000 instances take a while.
const Manifest &manifestOf(int count)
{
    static std::map<int, Manifest> manifests;
    return manifests.try_emplace(count, count).first->second;
}

const JavaScriptDependencyManager &managerOf(int count)
{
    static std::map<int, JavaScriptDependencyManager> managers;
    return managers.try_emplace(count, manifestOf(count).project.path(), false).first->second;
}

template <typename Query>
int answerCount(const QStringList &names, Query query)
{
    int count = 0;
    for (const QString &name : names) {
        count += query(name).size();
    }
    return count;
}

bool expectAnswers(benchmark::State &state, int count)
{
    return Body::expect(state, count == 4 * 1 + 4 * 25, "one instance or a line for each name");
}

void coldOurs(benchmark::State &state, int count)
{
    const QStringList &names = manifestOf(count).names;
    const JavaScriptDependencyManager &fresh = managerOf(count);
    const auto ask = [&] {
        JavaScriptDependencyManager manager = fresh; // shares the list; its answers are its own
        return answerCount(names, [&](const QString &name) -> const QStringList & {
            return manager.queryCache(name);
        });
    };
    if (!expectAnswers(state, ask())) {
        return;
    }
    while (state.KeepRunningBatch(names.size())) {
        benchmark::DoNotOptimize(ask());
    }
}

void coldFloor(benchmark::State &state, int count)
{
    const QStringList &names = manifestOf(count).names;
    const PlainManifest fresh(manifestOf(count).listed);
    const auto ask = [&] {
        PlainManifest manifest = fresh;
        return answerCount(names, [&](const QString &name) -> const QStringList & {
            return manifest.query(name);
        });
    };
    if (!expectAnswers(state, ask())) {
        return;
    }
    while (state.KeepRunningBatch(names.size())) {
        benchmark::DoNotOptimize(ask());
    }
}

void memoisedOurs(benchmark::State &state, int count)
{
    const QStringList &names = manifestOf(count).names;
    JavaScriptDependencyManager manager = managerOf(count);
    const auto ask = [&] {
        return answerCount(names, [&](const QString &name) -> const QStringList & {
            return manager.queryCache(name);
        });
    };
    if (!expectAnswers(state, ask())) {
        return;
    }
    while (state.KeepRunningBatch(names.size())) {
        benchmark::DoNotOptimize(ask());
    }
}

void memoisedFloor(benchmark::State &state, int count)
{
    const QStringList &names = manifestOf(count).names;
    PlainManifest manifest(manifestOf(count).listed);
    const auto ask = [&] {
        return answerCount(names, [&](const QString &name) -> const QStringList & {
            return manifest.query(name);
        });
    };
    if (!expectAnswers(state, ask())) {
        return;
    }
    while (state.KeepRunningBatch(names.size())) {
        benchmark::DoNotOptimize(ask());
    }
}

BENCHMARK_CAPTURE(coldOurs, , 100)->Name("manifest query among 100, cold/ours");
BENCHMARK_CAPTURE(coldFloor, , 100)->Name("manifest query among 100, cold/floor");
BENCHMARK_CAPTURE(memoisedOurs, , 100)->Name("manifest query among 100, memoised/ours");
BENCHMARK_CAPTURE(memoisedFloor, , 100)->Name("manifest query among 100, memoised/floor");
BENCHMARK_CAPTURE(coldOurs, , 100000)->Name("manifest query among 100,000, cold/ours");
BENCHMARK_CAPTURE(coldFloor, , 100000)->Name("manifest query among 100,000, cold/floor");
BENCHMARK_CAPTURE(memoisedOurs, , 100000)->Name("manifest query among 100,000, memoised/ours");
BENCHMARK_CAPTURE(memoisedFloor, , 100000)->Name("manifest query among 100,000, memoised/floor");

} // namespace
