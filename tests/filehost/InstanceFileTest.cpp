#include "filehost/store/InstanceFile.h"
#include "filehost/ProjectFolder.h"
#include "support/StrictTest.h"

#include <QDir>
#include <QTest>

using namespace ConfigScript;

namespace {

const QString s_pump = QStringLiteral("line1/pump1");
const QString s_pumpFile = QStringLiteral("configuration/line1/pump1.json");

QString pathIn(const ProjectFolder &project, const QString &instance, QString &error)
{
    return InstanceFile::path(QDir(project.path(QStringLiteral("configuration"))), instance, error);
}

} // namespace

class InstanceFileTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void acceptsNames_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *name : {"pump1", "line1/pump1", "a/b/c/d", "...", "..a", "a..", ".hidden",
                                 "a b", " ", "p\xc3\xbcmp \xf0\x9f\x9a\xb0", "a.json", "%2e%2e",
                                 "a:b", "~", "*?\"<>|", "line\n1"}) {
            QTest::newRow(name) << QString::fromUtf8(name);
        }
    }

    void acceptsNames()
    {
        QFETCH(QString, name);
        QCOMPARE(InstanceFile::nameError(name), QString());
        const ProjectFolder project;
        QString error;
        QCOMPARE(pathIn(project, name, error),
                 project.path(QStringLiteral("configuration/") + name + QStringLiteral(".json")));
        QCOMPARE(error, QString());
    }

    void refusesNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("error");
        const QString empty = QStringLiteral("the instance name holds an empty segment");
        QTest::newRow("nothing") << QString() << empty;
        QTest::newRow("separator") << QStringLiteral("/") << empty;
        QTest::newRow("absolute") << QStringLiteral("/etc/passwd") << empty;
        QTest::newRow("separator behind") << QStringLiteral("a/") << empty;
        QTest::newRow("two separators") << QStringLiteral("a//b") << empty;
        const QString dot = QStringLiteral("the instance name holds the segment \".\"");
        QTest::newRow("this folder") << QStringLiteral(".") << dot;
        QTest::newRow("this folder inside") << QStringLiteral("a/./b") << dot;
        const QString dots = QStringLiteral("the instance name holds the segment \"..\"");
        QTest::newRow("parent") << QStringLiteral("..") << dots;
        QTest::newRow("parent in front") << QStringLiteral("../a") << dots;
        QTest::newRow("parent inside") << QStringLiteral("a/../../b") << dots;
        QTest::newRow("parent behind") << QStringLiteral("a/..") << dots;
        const QString backslash = QStringLiteral("the instance name holds a backslash");
        QTest::newRow("backslash") << QStringLiteral("a\\b") << backslash;
        QTest::newRow("backslashes") << QStringLiteral("..\\..\\a") << backslash;
        const QString nul = QStringLiteral("the instance name holds a NUL character");
        QTest::newRow("NUL") << QStringLiteral("a%1b").arg(QChar(QChar::Null)) << nul;
        QTest::newRow("only NUL") << QString(QChar(QChar::Null)) << nul;
    }

    void refusesNames()
    {
        QFETCH(QString, name);
        QTEST(InstanceFile::nameError(name), "error");
        const ProjectFolder project;
        QString error;
        QVERIFY(pathIn(project, name, error).isEmpty());
        QTEST(error, "error");
    }

    void followsNoLinkOutOfTheProject_data()
    {
        QTest::addColumn<QString>("link");
        QTest::addColumn<QString>("target"); // in the folder outside
        const QString configuration = QStringLiteral("configuration");
        const QString line = QStringLiteral("configuration/line1");
        QTest::newRow("file") << s_pumpFile << QStringLiteral("line1/pump1.json");
        QTest::newRow("dangling file") << s_pumpFile << QStringLiteral("none.json");
        QTest::newRow("folder") << line << QStringLiteral("line1");
        QTest::newRow("folder without the file") << line << QStringLiteral("empty");
        QTest::newRow("dangling folder") << line << QStringLiteral("none");
        QTest::newRow("configuration") << configuration << QString();
        QTest::newRow("dangling configuration") << configuration << QStringLiteral("none");
    }

    void followsNoLinkOutOfTheProject()
    {
        QFETCH(QString, link);
        QFETCH(QString, target);
        const ProjectFolder project;
        const ProjectFolder outside;
        outside.write(QStringLiteral("line1/pump1.json"), "{}");
        outside.makeFolder(QStringLiteral("empty"));
        project.link(link, outside.path(target));
        QString error;
        QCOMPARE(pathIn(project, s_pump, error), QString());
        QCOMPARE(error,
                 QStringLiteral("a link leads out of the project folder: ")
                     + project.path(s_pumpFile));
    }

    void followsNoLinkToAFolderWithALongerName()
    {
        const ProjectFolder parent;
        parent.makeFolder(QStringLiteral("project/configuration"));
        parent.makeFolder(QStringLiteral("project2"));
        parent.link(QStringLiteral("project/configuration/line1"),
                    parent.path(QStringLiteral("project2")));
        QString error;
        QVERIFY(InstanceFile::path(QDir(parent.path(QStringLiteral("project/configuration"))),
                                   s_pump, error)
                    .isEmpty());
    }

    void followsLinksInsideTheProject_data()
    {
        QTest::addColumn<QString>("link");
        QTest::addColumn<QString>("target");
        QTest::newRow("file") << s_pumpFile << QStringLiteral("configuration/pump2.json");
        QTest::newRow("folder") << QStringLiteral("configuration/line1")
                                << QStringLiteral("configuration");
        QTest::newRow("folder elsewhere")
            << QStringLiteral("configuration/line1") << QStringLiteral("shared");
        QTest::newRow("configuration")
            << QStringLiteral("configuration") << QStringLiteral("shared");
    }

    void followsLinksInsideTheProject()
    {
        QFETCH(QString, link);
        QFETCH(QString, target);
        const ProjectFolder project;
        project.makeFolder(QStringLiteral("shared"));
        if (link != QLatin1String("configuration")) {
            project.write(QStringLiteral("configuration/pump2.json"), "{}");
        }
        project.link(link, project.path(target));
        QString error;
        QCOMPARE(pathIn(project, s_pump, error), project.path(s_pumpFile));
        QCOMPARE(error, QString());
    }

    void takesAProjectThatIsReachedThroughALink()
    {
        const ProjectFolder project;
        project.write(s_pumpFile, "{}");
        const ProjectFolder other;
        other.link(QStringLiteral("project"), project.path());
        QString error;
        QCOMPARE(InstanceFile::path(QDir(other.path(QStringLiteral("project/configuration"))),
                                    s_pump, error),
                 other.path(QStringLiteral("project/") + s_pumpFile));
        QCOMPARE(error, QString());
    }

    void takesAFolderThatDoesNotExistYet()
    {
        const ProjectFolder project;
        QString error;
        QCOMPARE(InstanceFile::path(QDir(project.path(QStringLiteral("new/configuration"))), s_pump,
                                    error),
                 project.path(QStringLiteral("new/") + s_pumpFile));
        QCOMPARE(error, QString());
    }
};

QTEST_GUILESS_MAIN(InstanceFileTest)

#include "InstanceFileTest.moc"
