#include "runner/run/ScratchCopy.h"
#include "configscript/Permissions.h"
#include "configscript/ScratchFolder.h"
#include "support/StrictTest.h"

#include <QDir>
#include <QTest>

namespace {

const QByteArray s_plant = "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\" }";

QByteArray plantWith(const QByteArray &otherFiles)
{
    return s_plant.chopped(1) + ", \"otherFiles\": " + otherFiles + " }";
}

} // namespace

class ScratchCopyTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void copiesWhatMakesAProject();
    void copiesOtherProjects_data();
    void copiesOtherProjects();
    void passesOverAnotherProjectThatIsMissing();
    void copiesFoldersWithNothingInCommon_data();
    void copiesFoldersWithNothingInCommon();
    void leadsLinksIntoTheCopy();
    void leavesOtherLinksAsTheyAre();
    void endsWithLinksInACircle();
    void keepsReadOnlyFilesReadOnly();
    void copiesNamesWithOddCharacters();
    void restoresWhatChanged();
    void restoresAgainAndAgain();
    void leavesNothingBehind();
    void refusesAProjectThatIsNone();

private:
    std::unique_ptr<ScratchCopy> copyOf(const QString &name);
    QString temporary() const { return m_folder->path(QStringLiteral("temporary")); }

    std::unique_ptr<ScratchFolder> m_folder;
    QByteArray m_temporaryFolder; ///< the system's, before the test
};

void ScratchCopyTest::init()
{
    StrictTest::init();
    m_folder = std::make_unique<ScratchFolder>();
    m_temporaryFolder = qgetenv("TMPDIR");
    QDir().mkpath(temporary());
    qputenv("TMPDIR", temporary().toUtf8());
}

void ScratchCopyTest::cleanup()
{
    qputenv("TMPDIR", m_temporaryFolder);
    if (m_temporaryFolder.isNull()) {
        qunsetenv("TMPDIR");
    }
    m_folder.reset();
    StrictTest::cleanup();
}

/// Null, after a failed check, when there is none.
std::unique_ptr<ScratchCopy> ScratchCopyTest::copyOf(const QString &name)
{
    Diagnostic error;
    const auto project = Project::open(m_folder->path(name), error);
    auto copy = project ? ScratchCopy::make(*project, error) : nullptr;
    if (!copy) {
        QTest::qFail(qPrintable(error.toString()), __FILE__, __LINE__);
    }
    return copy;
}

void ScratchCopyTest::copiesWhatMakesAProject()
{
    const Files parts{{QStringLiteral("project.json"), s_plant},
                      {QStringLiteral("providers.json"), "{}"},
                      {QStringLiteral("units.json"), "{ }"},
                      {QStringLiteral("configuration/manifest.json"), "[]"},
                      {QStringLiteral("configuration/line1/a.json"), "{}"},
                      {QStringLiteral("configuration/.hidden.json"), "{}"},
                      {QStringLiteral("process/a.json"), "{}"},
                      {QStringLiteral("dependency/a.js"), ";"},
                      {QStringLiteral("dependency/lib/b.txt"), QByteArray("\0\xff\r\n", 4)},
                      {QStringLiteral("scripts/a.js"), ""},
                      {QStringLiteral("texts/en.json"), "{}"}};
    writeFiles(m_folder->path(QStringLiteral("plant")), parts);
    writeFiles(m_folder->path(QStringLiteral("plant")),
               {{QStringLiteral("README.md"), "no part"},
                {QStringLiteral(".git/config"), "no part"},
                {QStringLiteral(".configscript-lock"), "no part"},
                {QStringLiteral("configuration.old/a.json"), "no part"},
                {QStringLiteral("types/a.d.ts"), "no part"}});
    m_folder->write(QStringLiteral("beside/project.json"), s_plant);
    const auto copy = copyOf(QStringLiteral("plant"));
    QVERIFY(copy);

    const QString path = copy->project().path();
    QVERIFY2(path.startsWith(temporary() + QLatin1Char('/')), qPrintable(path));
    COMPARE_FILES(readFiles(path), parts);
    QCOMPARE(QDir(path + QStringLiteral("/..")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList{QStringLiteral("plant")});
    QCOMPARE(copy->originalOf(path + QStringLiteral("/process/a.json")),
             m_folder->path(QStringLiteral("plant/process/a.json")));
    QCOMPARE(copy->project().otherFiles(),
             (QHash<QString, QString>{{QStringLiteral("plant"), path}}));
}

void ScratchCopyTest::copiesOtherProjects_data()
{
    QTest::addColumn<QString>("folder"); // where the other one lies
    QTest::addColumn<QString>("name"); // in project.json

    QTest::newRow("beside") << "net"
                            << "../net";
    QTest::newRow("further away") << "far/away/net"
                                  << "../far/away/net";
    QTest::newRow("inside") << "all/plant/net"
                            << "net";
    QTest::newRow("around") << "all"
                            << "..";
    QTest::newRow("the same") << "all/plant"
                              << ".";
    QTest::newRow("absolute") << "net"
                              << "<folder>/net";
    QTest::newRow("slash at the end") << "net"
                                      << "../../net/";
}

void ScratchCopyTest::copiesOtherProjects()
{
    QFETCH(const QString, folder);
    QFETCH(const QString, name);

    const QString plant =
        folder.startsWith(QLatin1String("all")) || name.contains(QLatin1String("../../"))
        ? QStringLiteral("all/plant")
        : QStringLiteral("plant");
    m_folder->write(folder + QStringLiteral("/project.json"), s_plant);
    m_folder->write(folder + QStringLiteral("/configuration/a.json"), "{ }");
    m_folder->write(
        plant + QStringLiteral("/project.json"),
        plantWith("{ \"network\": \""
                  + QString(name).replace(QLatin1String("<folder>"), m_folder->path()).toUtf8()
                  + "\" }"));
    m_folder->write(plant + QStringLiteral("/configuration/b.json"), "{}");
    const auto copy = copyOf(plant);
    QVERIFY(copy);

    const QString otherPath = copy->project().otherFiles().value(QStringLiteral("network"));
    QVERIFY2(otherPath.startsWith(temporary() + QLatin1Char('/')), qPrintable(otherPath));
    COMPARE_FILES(readFiles(otherPath + QStringLiteral("/configuration")),
                  readFiles(m_folder->path(folder + QStringLiteral("/configuration"))));
    COMPARE_FILES(readFiles(copy->project().path() + QStringLiteral("/configuration")),
                  readFiles(m_folder->path(plant + QStringLiteral("/configuration"))));
    QCOMPARE(copy->originalOf(otherPath), m_folder->path(folder));
    QCOMPARE(QDir(copy->project().path()).relativeFilePath(otherPath),
             QDir(m_folder->path(plant)).relativeFilePath(m_folder->path(folder)));
}

void ScratchCopyTest::passesOverAnotherProjectThatIsMissing()
{
    m_folder->write(QStringLiteral("plant/project.json"), plantWith("{ \"network\": \"../net\" }"));
    const auto copy = copyOf(QStringLiteral("plant"));
    QVERIFY(copy);
    const QString otherPath = copy->project().otherFiles().value(QStringLiteral("network"));
    QVERIFY2(otherPath.startsWith(temporary() + QLatin1Char('/')), qPrintable(otherPath));
    QVERIFY(!QFileInfo::exists(otherPath));
}

void ScratchCopyTest::copiesFoldersWithNothingInCommon_data()
{
    QTest::addColumn<bool>("isBelowRoot"); // the only folder that both lie in, or the root itself

    QTest::newRow("the root") << false;
    QTest::newRow("a folder of the root") << true;
}

void ScratchCopyTest::copiesFoldersWithNothingInCommon()
{
    QFETCH(const bool, isBelowRoot);

    const QString other =
        (isBelowRoot ? QLatin1Char('/') + m_folder->path().section(QLatin1Char('/'), 1, 1)
                     : QString())
        + QStringLiteral("/no such folder/net");
    m_folder->write(QStringLiteral("plant/project.json"),
                    plantWith("{ \"network\": \"" + other.toUtf8() + "\" }"));
    m_folder->write(QStringLiteral("plant/configuration/a.json"), "{}");
    const auto copy = copyOf(QStringLiteral("plant"));
    QVERIFY(copy);
    const QHash<QString, QString> folders = copy->project().otherFiles();
    for (const QString &folder : folders) {
        QVERIFY2(folder.startsWith(temporary() + QLatin1Char('/')), qPrintable(folder));
    }
    COMPARE_FILES(readFiles(copy->project().path()),
                  readFiles(m_folder->path(QStringLiteral("plant"))));
    QCOMPARE(copy->originalOf(folders.value(QStringLiteral("network"))), other);
    QCOMPARE(QDir(temporary()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
}

void ScratchCopyTest::leadsLinksIntoTheCopy()
{
    m_folder->write(QStringLiteral("plant/project.json"), plantWith("{ \"network\": \"../net\" }"));
    m_folder->write(QStringLiteral("plant/configuration/a.json"), "{ \"in\": \"plant\" }");
    m_folder->write(QStringLiteral("plant/trees/t.json"), "{ \"in\": \"trees\" }");
    m_folder->write(QStringLiteral("plant/trees/unused.json"), "no part");
    m_folder->write(QStringLiteral("plant/data/dependency/s.js"), ";");
    m_folder->write(QStringLiteral("net/configuration/n.json"), "{ \"in\": \"net\" }");
    const QString configuration = QStringLiteral("plant/configuration/");
    m_folder->link(configuration + QStringLiteral("relative.json"), QStringLiteral("a.json"));
    m_folder->link(configuration + QStringLiteral("absolute.json"),
                   m_folder->path(configuration + QStringLiteral("a.json")));
    m_folder->link(configuration + QStringLiteral("elsewhere.json"),
                   QStringLiteral("../trees/t.json"));
    m_folder->link(configuration + QStringLiteral("again.json"), QStringLiteral("elsewhere.json"));
    m_folder->link(configuration + QStringLiteral("other.json"),
                   m_folder->path(QStringLiteral("net/configuration/n.json")));
    m_folder->link(QStringLiteral("plant/dependency"), QStringLiteral("data/dependency"));
    const auto copy = copyOf(QStringLiteral("plant"));
    QVERIFY(copy);

    const QString path = copy->project().path();
    const auto targetOf = [&](const char *name) {
        const QFileInfo info(path + QLatin1Char('/') + QLatin1String(name));
        return info.isSymLink() ? copy->originalOf(info.canonicalFilePath()) : QString();
    };
    const QString target = m_folder->path(configuration + QStringLiteral("a.json"));
    QCOMPARE(targetOf("configuration/relative.json"), target);
    QCOMPARE(targetOf("configuration/absolute.json"), target);
    QCOMPARE(targetOf("configuration/elsewhere.json"),
             m_folder->path(QStringLiteral("plant/trees/t.json")));
    QCOMPARE(targetOf("configuration/again.json"),
             m_folder->path(QStringLiteral("plant/trees/t.json")));
    QCOMPARE(targetOf("configuration/other.json"),
             m_folder->path(QStringLiteral("net/configuration/n.json")));
    QCOMPARE(targetOf("dependency"), m_folder->path(QStringLiteral("plant/data/dependency")));
    QVERIFY(!QFileInfo::exists(path + QStringLiteral("/trees/unused.json")));
}

void ScratchCopyTest::leavesOtherLinksAsTheyAre()
{
    m_folder->write(QStringLiteral("plant/project.json"), s_plant);
    m_folder->write(QStringLiteral("shared/units.json"), "{ \"kW\": { \"en\": \"kW\" } }");
    m_folder->link(QStringLiteral("plant/units.json"), QStringLiteral("../shared/units.json"));
    m_folder->link(QStringLiteral("plant/texts"), QStringLiteral("/no such folder"));
    const auto copy = copyOf(QStringLiteral("plant"));
    QVERIFY(copy);
    const auto targetOf = [&copy](const char *name) {
        return QFileInfo(copy->project().path() + QLatin1String(name)).symLinkTarget();
    };
    QCOMPARE(targetOf("/units.json"), m_folder->path(QStringLiteral("shared/units.json")));
    QCOMPARE(copy->project().units().keys(), QStringList{QStringLiteral("kW")});
    QCOMPARE(targetOf("/texts"), QStringLiteral("/no such folder"));
}

void ScratchCopyTest::endsWithLinksInACircle()
{
    m_folder->write(QStringLiteral("plant/project.json"), s_plant);
    m_folder->write(QStringLiteral("plant/configuration/a.json"), "{}");
    m_folder->link(QStringLiteral("plant/configuration/self"), QStringLiteral("."));
    m_folder->link(QStringLiteral("plant/configuration/up"), QStringLiteral(".."));
    m_folder->link(QStringLiteral("plant/configuration/x"), QStringLiteral("y"));
    m_folder->link(QStringLiteral("plant/configuration/y"), QStringLiteral("x"));
    const auto copy = copyOf(QStringLiteral("plant"));
    QVERIFY(copy);
    QCOMPARE(QDir(copy->project().path() + QStringLiteral("/configuration"))
                 .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot),
             (QStringList{QStringLiteral("a.json"), QStringLiteral("self"), QStringLiteral("up"),
                          QStringLiteral("x"), QStringLiteral("y")}));
}

void ScratchCopyTest::keepsReadOnlyFilesReadOnly()
{
    m_folder->write(QStringLiteral("plant/project.json"), s_plant);
    m_folder->write(QStringLiteral("plant/configuration/a.json"), "{}");
    const Permissions permissions(m_folder->path(QStringLiteral("plant/configuration/a.json")),
                                  QFile::ReadOwner);
    auto copy = copyOf(QStringLiteral("plant"));
    QVERIFY(copy);
    const QString path = copy->project().path() + QStringLiteral("/configuration/a.json");
    QVERIFY(!(QFile::permissions(path) & QFile::WriteOwner));
    QFile::remove(path);
    Diagnostic error;
    QVERIFY2(copy->restore(error), qPrintable(error.toString()));
    QVERIFY(!(QFile::permissions(path) & QFile::WriteOwner));
    copy.reset();
    QVERIFY(QDir(temporary()).isEmpty());
}

void ScratchCopyTest::copiesNamesWithOddCharacters()
{
    const QString plant = QStringLiteral("Pumpen Süd %1 [x]*");
    const Files parts{{QStringLiteral("project.json"), s_plant},
                      {QStringLiteral("configuration/Kühl 1.json"), "{}"},
                      {QStringLiteral("configuration/%20%1#?.json"), "{}"},
                      {QStringLiteral("configuration/a\nb'\"$`.json"), "{}"},
                      {QStringLiteral("configuration/back\\slash.json"), "{}"},
                      {QStringLiteral("configuration/*/-rf.json"), "{}"}};
    writeFiles(m_folder->path(plant), parts);
    const auto copy = copyOf(plant);
    QVERIFY(copy);
    COMPARE_FILES(readFiles(copy->project().path()), parts);
}

void ScratchCopyTest::restoresWhatChanged()
{
    m_folder->write(QStringLiteral("plant/project.json"), plantWith("{ \"network\": \"../net\" }"));
    m_folder->write(QStringLiteral("plant/configuration/changed.json"), "{}");
    m_folder->write(QStringLiteral("plant/configuration/removed.json"), "{}");
    m_folder->write(QStringLiteral("plant/configuration/same.json"), "{}");
    m_folder->write(QStringLiteral("net/process/changed.json"), "{}");
    m_folder->link(QStringLiteral("plant/configuration/link.json"), QStringLiteral("same.json"));
    const auto copy = copyOf(QStringLiteral("plant"));
    QVERIFY(copy);
    const QString path = copy->project().path();
    const QString otherPath = copy->project().otherFiles().value(QStringLiteral("network"));
    const Files copied = readFiles(path + QStringLiteral("/.."));

    writeFiles(path,
               {{QStringLiteral("configuration/changed.json"), "{ }"},
                {QStringLiteral("configuration/added.json"), "{}"},
                {QStringLiteral("process/new/added.json"), "{}"}});
    writeFiles(otherPath,
               {{QStringLiteral("process/changed.json"), "{ \"a\": 1 }"},
                {QStringLiteral("configuration/added.json"), "{}"}});
    QVERIFY(QFile::remove(path + QStringLiteral("/configuration/removed.json")));
    QVERIFY(QFile::remove(path + QStringLiteral("/configuration/link.json")));
    Diagnostic error;
    QVERIFY2(copy->restore(error), qPrintable(error.toString()));
    COMPARE_FILES(readFiles(path + QStringLiteral("/..")), copied);
    QVERIFY(QFileInfo(path + QStringLiteral("/configuration/link.json")).isSymLink());
}

void ScratchCopyTest::restoresAgainAndAgain()
{
    m_folder->write(QStringLiteral("plant/project.json"), s_plant);
    m_folder->write(QStringLiteral("plant/configuration/a.json"), "{}");
    const auto copy = copyOf(QStringLiteral("plant"));
    QVERIFY(copy);
    const Files copied = readFiles(copy->project().path());
    for (int i = 0; i < 3; ++i) {
        writeFiles(copy->project().path(),
                   {{QStringLiteral("configuration/a.json"), QByteArray(i + 3, ' ')}});
        Diagnostic error;
        QVERIFY2(copy->restore(error), qPrintable(error.toString()));
        COMPARE_FILES(readFiles(copy->project().path()), copied);
    }
}

void ScratchCopyTest::leavesNothingBehind()
{
    m_folder->copyExamples();
    const Files before = readFiles(m_folder->path());
    {
        const auto copy = copyOf(QStringLiteral("pump-station"));
        QVERIFY(copy);
        writeFiles(copy->project().path(), {{QStringLiteral("configuration/x/added.json"), "{}"}});
        QVERIFY(!QDir(temporary()).isEmpty());
    }
    QVERIFY(QDir(temporary()).isEmpty());
    COMPARE_FILES(readFiles(m_folder->path()), before);
}

void ScratchCopyTest::refusesAProjectThatIsNone()
{
    m_folder->write(QStringLiteral("plant/project.json"), s_plant);
    Diagnostic error;
    const auto project = Project::open(m_folder->path(QStringLiteral("plant")), error);
    QVERIFY(project);
    m_folder->remove(QStringLiteral("plant/project.json"));
    QVERIFY(!ScratchCopy::make(*project, error));
    QCOMPARE(error.message, QStringLiteral("no such project folder"));
    QVERIFY(QDir(temporary()).isEmpty());
}

QTEST_APPLESS_MAIN(ScratchCopyTest)
#include "ScratchCopyTest.moc"
