#include "filehost/Project.h"
#include "filehost/FileTreeNode.h"
#include "filehost/ProjectFolder.h"
#include "filehost/RowName.h"
#include "support/StrictTest.h"

#include <QDir>
#include <QTest>

using namespace ConfigScript;

namespace {

const QString s_projectFile = QStringLiteral("project.json");
const QByteArray s_station = "{ \"moduleName\": \"pumps\", \"objectName\": \"station\" }";

QStringList objectNames(const Project &project, const QString &dataType)
{
    QStringList names;
    const auto items = project.providers().getProviderData(dataType).getItemList();
    for (const auto &item : items) {
        names.append(item.getObjectName());
    }
    return names;
}

} // namespace

class ProjectTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        StrictTest::init();
        m_folder.reset(new ProjectFolder);
    }

    void cleanup()
    {
        m_folder.reset();
        StrictTest::cleanup();
    }

    void needsNoMoreThanTwoNames()
    {
        m_folder->write(s_projectFile, s_station);
        const auto project = open();
        QVERIFY(project);
        QCOMPARE(m_error.file + m_error.message, QString());
        QCOMPARE(project->path(), m_folder->path());
        QCOMPARE(project->moduleName(), QStringLiteral("pumps"));
        QCOMPARE(project->objectName(), QStringLiteral("station"));
        QCOMPARE(project->language(), QStringLiteral("en"));
        QCOMPARE(project->otherFiles(),
                 (QHash<QString, QString>{{QStringLiteral("station"), m_folder->path()}}));
        QVERIFY(project->texts().isEmpty() && project->units().isEmpty());
        QVERIFY(project->providers().getRegisteredDataTypes().isEmpty());
        QVERIFY(project->languages().isEmpty());
        QVERIFY(project->instances(FileTree::Kind::Configuration).isEmpty());
        QVERIFY(project->instances(FileTree::Kind::Process).isEmpty());
    }

    void takesAnEmptyModuleNameAndMembersThatItDoesNotKnow()
    {
        m_folder->write(s_projectFile,
                        "{ \"$schema\": 1, \"objectName\": \"station\", \"moduleName\": \"\", "
                        "\"Language\": 5 }");
        const auto project = open();
        QVERIFY(project);
        QCOMPARE(project->moduleName(), QString());
        QCOMPARE(project->language(), QStringLiteral("en"));
    }

    void findsOtherObjectsFromItsOwnFolder()
    {
        m_folder->write(s_projectFile,
                        "{ \"moduleName\": \"\", \"objectName\": \"station\", "
                        "\"otherFiles\": { \"network\": \"../network\", \"inside\": \"./sub//x/\", "
                        "\"far\": \"/srv/far\", "
                        "\"station\": \"../elsewhere\" } }");
        const auto project = open();
        QVERIFY(project);
        const QString parent = QFileInfo(m_folder->path()).path();
        QCOMPARE(project->otherFiles(),
                 (QHash<QString, QString>{
                     {QStringLiteral("network"), parent + QStringLiteral("/network")},
                     {QStringLiteral("inside"), m_folder->path(QStringLiteral("sub/x"))},
                     {QStringLiteral("far"), QStringLiteral("/srv/far")},
                     {QStringLiteral("station"), m_folder->path()}}));
    }

    void reachesTheProvidersToo()
    {
        m_folder->write(s_projectFile,
                        "{ \"moduleName\": \"\", \"objectName\": \"station\", "
                        "\"otherFiles\": { \"network\": \"/srv/network\" } }");
        m_folder->write(QStringLiteral("providers.json"), "{ \"time\": [ \"clock\" ] }");
        const auto project = open();
        QVERIFY(project);
        QCOMPARE(
            project->reachableObjects(),
            (QHash<QString, QString>{{QStringLiteral("network"), QStringLiteral("/srv/network")},
                                     {QStringLiteral("station"), m_folder->path()},
                                     {QStringLiteral("clock"), m_folder->path()}}));
    }

    void opensTheSameFolderHoweverItIsWritten()
    {
        m_folder->write(QStringLiteral("a/") + s_projectFile, s_station);
        m_folder->makeFolder(QStringLiteral("b"));
        for (const char *path : {"a", "a/", "a/.", "b/../a", ".//a"}) {
            const auto project =
                Project::open(m_folder->path() + QLatin1Char('/') + QLatin1String(path), m_error);
            QVERIFY2(project, path);
            QCOMPARE(project->path(), m_folder->path(QStringLiteral("a")));
        }
        const QString before = QDir::currentPath();
        QDir::setCurrent(m_folder->path());
        const auto project = Project::open(QStringLiteral("a"), m_error);
        QDir::setCurrent(before);
        QVERIFY(project);
        QCOMPARE(project->path(), m_folder->path(QStringLiteral("a")));
    }

    void tellsWhatIsNoProject()
    {
        QVERIFY(!Project::open(m_folder->path(QStringLiteral("none")), m_error));
        QCOMPARE(m_error.toString(),
                 m_folder->path(QStringLiteral("none"))
                     + QStringLiteral(": no such project folder"));

        m_folder->write(QStringLiteral("file"), "{}");
        QVERIFY(!Project::open(m_folder->path(QStringLiteral("file")), m_error));
        QCOMPARE(m_error.toString(),
                 m_folder->path(QStringLiteral("file"))
                     + QStringLiteral(": expected a project folder, found a file"));

        QVERIFY(!open());
        QCOMPARE(m_error.toString(),
                 m_folder->path()
                     + QStringLiteral(": no project: expected a file project.json in it"));

        m_folder->makeFolder(s_projectFile);
        QVERIFY(!open());
        QCOMPARE(m_error.toString(),
                 m_folder->path(s_projectFile) + QStringLiteral(": cannot be read: it is no file"));
    }

    // Each row: a file of the project, its content, the error behind the file's path.
    void tellsWhatIsWrongInAFile_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("error");
        const auto row = [](const char *file, const QByteArray &content, const char *error) {
            QTest::addRow("%s %s", file, rowName(content).constData())
                << QString::fromLatin1(file) << content << QString::fromLatin1(error);
        };
        row("project.json", "", ":1:1: expected a value, found the end of the file");
        row("project.json", "{\n  \"moduleName\" \"pumps\" }",
            ":2:16: expected ':' after the member's name, found '\"'");
        row("project.json", "[]", ":1:1: expected an object, found an array");
        row("project.json", "{}", ":1:1: expected a member \"moduleName\"");
        row("project.json", "{ \"objectName\": \"a\" }", ":1:1: expected a member \"moduleName\"");
        row("project.json", "{ \"moduleName\": \"a\" }", ":1:1: expected a member \"objectName\"");
        row("project.json", "{ \"moduleName\": \"a\",\n  \"objectName\": \"\" }",
            ":2:17: expected an object name, found an empty one");
        row("project.json", "{ \"moduleName\": 5, \"objectName\": \"a\" }",
            ":1:17: expected a string, found a number");
        row("project.json", "{ \"moduleName\": \"\", \"objectName\": null }",
            ":1:35: expected a string, found null");
        row("project.json", "{ \"moduleName\": \"\", \"objectName\": \"a\", \"language\": [] }",
            ":1:52: expected a string, found an array");
        for (const char *language : {"../en", "/en", "en/", "a/b"}) {
            row("project.json",
                "{ \"moduleName\": \"\", \"objectName\": \"a\", \"language\": \""
                    + QByteArray(language) + "\" }",
                ":1:52: expected a language such as \"en\", found a path");
        }
        row("project.json", "{ \"moduleName\": \"\", \"objectName\": \"a\", \"otherFiles\": [] }",
            ":1:54: expected an object, found an array");
        row("project.json",
            "{ \"moduleName\": \"\", \"objectName\": \"a\", \"otherFiles\": { \"b\": true } }",
            ":1:61: expected a string, found true");
        row("texts/en.json", "{",
            ":1:2: expected a member's name in double quotes, or '}', found "
            "the end of the file");
        row("texts/en.json", "[]", ":1:1: expected an object, found an array");
        row("texts/en.json", "{ \"a\": \"A\",\n  \"b\": {} }",
            ":2:8: expected a string, found an object");
        row("units.json", "x", ":1:1: expected a value, found 'x'");
        row("units.json", "{ \"l\": \"litres\" }", ":1:8: expected an object, found a string");
        row("units.json", "{ \"l\": { \"en\": 1 } }", ":1:16: expected a string, found a number");
        row("providers.json", "{} x",
            ":1:4: expected nothing behind the outermost value, found 'x'");
        row("providers.json", "{ \"time\": \"clock\" }",
            ":1:11: expected an array of strings, found a string");
        row("providers.json", "{ \"time\": [ \"clock\", false ] }",
            ":1:22: expected a string, found false");
    }

    void tellsWhatIsWrongInAFile()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, content);
        QFETCH(QString, error);
        m_folder->write(s_projectFile, s_station);
        m_folder->write(file, content);
        QVERIFY(!open());
        QCOMPARE(m_error.toString(), m_folder->path(file) + error);
    }

    void refusesAHugeFile_data()
    {
        QTest::addColumn<QString>("file");
        for (const char *file : {"project.json", "texts/en.json", "units.json", "providers.json"}) {
            QTest::newRow(file) << QString::fromLatin1(file);
        }
    }

    void refusesAHugeFile()
    {
        QFETCH(QString, file);
        m_folder->write(s_projectFile, s_station);
        m_folder->write(file, s_station);
        QVERIFY(QFile::resize(m_folder->path(file), 200 * 1024 * 1024));
        QVERIFY(!open());
        QCOMPARE(m_error.toString(),
                 m_folder->path(file)
                     + QStringLiteral(": expected at most 33554432 bytes, found 209715200"));
    }

    void readsTheTextsOfItsLanguage()
    {
        m_folder->write(
            s_projectFile,
            "{ \"moduleName\": \"\", \"objectName\": \"station\", \"language\": \"de\" }");
        m_folder->write(QStringLiteral("texts/de.json"), "{ \"pump.1\": \"P\xc3\xbcmpe\" }");
        m_folder->write(QStringLiteral("texts/en.json"), "{ \"pump.1\": \"pump\" }");
        m_folder->write(QStringLiteral("texts/fr.json"), "{");
        m_folder->write(QStringLiteral("texts/it.JSON"), "{}");
        const auto project = open();
        QVERIFY(project);
        const QHash<QString, QString> german{
            {QStringLiteral("pump.1"), QString::fromUtf8("P\xc3\xbcmpe")}};
        QCOMPARE(project->texts(), german);
        QCOMPARE(project->languages(),
                 QStringList({QStringLiteral("de"), QStringLiteral("en"), QStringLiteral("fr")}));
        QCOMPARE(project->texts(QStringLiteral("de"), m_error), german);
        QCOMPARE(project->texts(QStringLiteral("en"), m_error).value(QStringLiteral("pump.1")),
                 QStringLiteral("pump"));
        QVERIFY(project->texts(QStringLiteral("it"), m_error).isEmpty());
        QCOMPARE(m_error.message, QString());
        QVERIFY(project->texts(QStringLiteral("fr"), m_error).isEmpty());
        QCOMPARE(m_error.line, 1);
    }

    void readsUnitsAndProviders()
    {
        m_folder->write(s_projectFile, s_station);
        m_folder->write(QStringLiteral("units.json"),
                        "{ \"l\": { \"en\": \"litres\", \"fr\": \"litres\" }, \"none\": {} }");
        m_folder->write(QStringLiteral("providers.json"),
                        "{ \"z\": [ \"b\", \"a\" ], \"time\": [ \"clock\" ], \"none\": [] }");
        const auto project = open();
        QVERIFY(project);
        QCOMPARE(project->units(),
                 (QHash<QString, QVariantMap>{{QStringLiteral("l"),
                                               {{QStringLiteral("en"), QStringLiteral("litres")},
                                                {QStringLiteral("fr"), QStringLiteral("litres")}}},
                                              {QStringLiteral("none"), {}}}));
        QCOMPARE(
            project->providers().getRegisteredDataTypes(),
            QStringList({QStringLiteral("z"), QStringLiteral("time"), QStringLiteral("none")}));
        QCOMPARE(objectNames(*project, QStringLiteral("z")),
                 QStringList({QStringLiteral("b"), QStringLiteral("a")}));
        QCOMPARE(objectNames(*project, QStringLiteral("none")), QStringList());
    }

    void listsItsInstances()
    {
        m_folder->write(s_projectFile, s_station);
        for (const char *name :
             {"configuration/manifest.json", "configuration/tank.json",
              "configuration/line1/pump2.json", "configuration/line1/pump1.json",
              "configuration/line1/manifest.json", "configuration/a.b.json",
              "configuration/notes.txt", "configuration/backup.json~", "configuration/upper.JSON",
              "configuration/empty/none", "configuration/.json", "process/manifest.json",
              "process/line1/pump1.json"}) {
            m_folder->write(QLatin1String(name), "{}");
        }
        const auto project = open();
        QVERIFY(project);
        QCOMPARE(project->instances(FileTree::Kind::Configuration),
                 QStringList({QStringLiteral("a.b"), QStringLiteral("line1/manifest"),
                              QStringLiteral("line1/pump1"), QStringLiteral("line1/pump2"),
                              QStringLiteral("tank")}));
        QCOMPARE(project->instances(FileTree::Kind::Process),
                 QStringList({QStringLiteral("line1/pump1"), QStringLiteral("manifest")}));
    }

    void listsOnlyInstancesThatItCanRead()
    {
        m_folder->write(s_projectFile, s_station);
        m_folder->write(QStringLiteral("configuration/back\\slash.json"), "{}");
        m_folder->write(QStringLiteral("configuration/pump1.json"), "{}");
        const ProjectFolder outside;
        outside.write(QStringLiteral("x.json"), "{}");
        m_folder->link(QStringLiteral("configuration/out"), outside.path());
        const auto project = open();
        QVERIFY(project);
        const QStringList instances = project->instances(FileTree::Kind::Configuration);
        QCOMPARE(instances, QStringList({QStringLiteral("pump1")}));
        QVERIFY(project->readTree(FileTree::Kind::Configuration, instances.first(), m_error));
    }

    void knowsWhereATreeLies()
    {
        m_folder->write(s_projectFile, s_station);
        const auto project = open();
        QVERIFY(project);
        QCOMPARE(project->treePath(FileTree::Kind::Configuration, QStringLiteral("line1/pump1")),
                 m_folder->path(QStringLiteral("configuration/line1/pump1.json")));
        QCOMPARE(project->treePath(FileTree::Kind::Process, QStringLiteral("pump1")),
                 m_folder->path(QStringLiteral("process/pump1.json")));
        for (const char *name : {"", "..", "../pump1", "a//b", "a\\b", "/a"}) {
            QCOMPARE(project->treePath(FileTree::Kind::Process, QLatin1String(name)), QString());
        }
        const QString manifest = QStringLiteral("manifest");
        QCOMPARE(project->treePath(FileTree::Kind::Configuration, manifest), QString());
        QCOMPARE(project->treePath(FileTree::Kind::Process, manifest),
                 m_folder->path(QStringLiteral("process/manifest.json")));
        QCOMPARE(project->treePath(FileTree::Kind::Configuration, QStringLiteral("a/manifest")),
                 m_folder->path(QStringLiteral("configuration/a/manifest.json")));
        QCOMPARE(project->userInterfaceScriptFolder(), m_folder->path(QStringLiteral("scripts")));
    }

    void showsFilesAsSeenFromItsFolder()
    {
        m_folder->write(s_projectFile, s_station);
        const auto project = open();
        QVERIFY(project);
        QCOMPARE(project->relativePath(m_folder->path(QStringLiteral("process/a.json"))),
                 QStringLiteral("process/a.json"));
        const QString sibling =
            QFileInfo(m_folder->path()).path() + QStringLiteral("/network/units.json");
        QCOMPARE(project->relativePath(sibling), QStringLiteral("../network/units.json"));
        QCOMPARE(project->relative({sibling, 2, 3, QStringLiteral("x")}).toString(),
                 QStringLiteral("../network/units.json:2:3: x"));
        QCOMPARE(project->relative({m_folder->path(s_projectFile), 0, 0, QStringLiteral("x")})
                     .toString(),
                 QStringLiteral("project.json: x"));
        QCOMPARE(project->relative(Diagnostic()).toString(), QString());
    }

    void tellsWhichScriptsLieOutside_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("isOutside");
        for (const char *name : {"pump.js", "line1/pump.js", "./pump.js", "a/../pump.js", "...",
                                 "..pump.js", "pÃ¼mp e.js"}) {
            QTest::newRow(name) << QString::fromUtf8(name) << false;
        }
        for (const char *name :
             {"..", "../pump.js", "a/../../pump.js", "./../pump.js", "/srv/pump.js", "//pump.js"}) {
            QTest::newRow(name) << QString::fromUtf8(name) << true;
        }
    }

    void tellsWhichScriptsLieOutside()
    {
        QFETCH(QString, name);
        QFETCH(bool, isOutside);
        m_folder->write(s_projectFile, s_station);
        const auto project = open();
        QVERIFY(project);
        QCOMPARE(project->scriptError(project->userInterfaceScriptFolder(), name),
                 isOutside ? QStringLiteral("\"%1\" leads out of the scripts' folder").arg(name)
                           : QString());
    }

    void tellsWhichScriptsLieOutsideByALink()
    {
        m_folder->write(s_projectFile, s_station);
        m_folder->write(QStringLiteral("scripts/pump.js"), QByteArray());
        m_folder->write(QStringLiteral("common/valve.js"), QByteArray());
        m_folder->link(QStringLiteral("scripts/inside.js"), QStringLiteral("../common/valve.js"));
        m_folder->link(QStringLiteral("scripts/outside.js"), QStringLiteral("../../valve.js"));
        m_folder->link(QStringLiteral("scripts/far"), QStringLiteral("/"));
        const auto project = open();
        QVERIFY(project);
        const auto error = [&project](const char *name) {
            return project->scriptError(project->userInterfaceScriptFolder(),
                                        QString::fromUtf8(name));
        };
        QCOMPARE(error("pump.js"), QString());
        QCOMPARE(error("inside.js"), QString());
        QCOMPARE(error("outside.js"),
                 QStringLiteral("\"outside.js\": a link leads out of the project folder"));
        QCOMPARE(error("far/etc/passwd"),
                 QStringLiteral("\"far/etc/passwd\": a link leads out of the project folder"));
        QCOMPARE(error("missing.js"), QString());
    }

    void readsATreeAsItIsNow()
    {
        m_folder->write(s_projectFile, s_station);
        const auto project = open();
        QVERIFY(project);
        const auto read = [&] {
            m_error = Diagnostic();
            return project->readTree(FileTree::Kind::Process, QStringLiteral("pump1"), m_error);
        };
        QVERIFY(!read());
        QCOMPARE(m_error.message, QString());
        m_folder->write(QStringLiteral("process/pump1.json"), "{ \"properties\": { \"a\": 1 } }");
        const auto root = read();
        QVERIFY(root);
        QCOMPARE(root->tree().identity().instance, QStringLiteral("pump1"));
        QVERIFY(root->tree().identity().kind == FileTree::Kind::Process);
        m_folder->write(QStringLiteral("process/pump1.json"), "{\n x");
        QVERIFY(!read());
        QCOMPARE(m_error.toString().left(m_error.toString().indexOf(QLatin1String(": "))),
                 m_folder->path(QStringLiteral("process/pump1.json:2:2")));
    }

private:
    std::optional<Project> open()
    {
        m_error = Diagnostic();
        return Project::open(m_folder->path(), m_error);
    }

    QScopedPointer<ProjectFolder> m_folder;
    Diagnostic m_error;
};

QTEST_GUILESS_MAIN(ProjectTest)

#include "ProjectTest.moc"
