#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "filehost/FileTreeNode.h"
#include "filehost/ProjectFolder.h"
#include "support/StrictTest.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace ConfigScript;

using Access = ConfigurationDataAndProcessDescriptionAccess;
using Node = ConfigurationAndProcessDataBase::BaseClassSharedPointer;

namespace {

const QString s_pump = QStringLiteral("line1/pump1");
const QString s_pumpFile = QStringLiteral("configuration/line1/pump1.json");
const QString s_speed = QStringLiteral("speed");

QDir configuration(const ProjectFolder &project)
{
    return QDir(project.path(QStringLiteral("configuration")));
}

Node read(const ProjectFolder &project, const QString &instance = s_pump)
{
    return Access::getParsedConfigurationProcessDescription(configuration(project), instance,
                                                            false);
}

bool write(const ProjectFolder &project, const QString &instance, const Node &root)
{
    return Access::setParsedConfigurationProcessDescription(
        configuration(project), QStringLiteral("pumps"), QStringLiteral("station"), instance, root,
        false);
}

Node tree(const QByteArray &text = "{ \"properties\": { \"speed\": 1 } }")
{
    Diagnostic error;
    return FileTree::parse(text, {}, error);
}

Message readWarning(const QString &text)
{
    return warning(
        QStringLiteral("static ConfigurationAndProcessDataBase::BaseClassSharedPointer "
                       "ConfigurationDataAndProcessDescriptionAccess::"
                       "getParsedConfigurationProcessDescription(const QDir&, const QString&, "
                       "bool)"),
        text);
}

Message writeWarning(const QString &text)
{
    return warning(QStringLiteral("static bool ConfigurationDataAndProcessDescriptionAccess::"
                                  "setParsedConfigurationProcessDescription(const QDir&, const "
                                  "QString&, const QString&, const QString&, "
                                  "ConfigurationAndProcessDataBase::BaseClassSharedPointer, bool)"),
                   text);
}

/// A node of another host.
class ForeignNode : public ConfigurationAndProcessDataBase
{
public:
    BaseClassSharedPointer getNode(const QString & /*relUrl*/) const override { return {}; }
    bool isUrlValid(const QString & /*relUrl*/) const override { return false; }
    QVariant getProperty(const QString & /*propertyKey*/) const override { return {}; }
    bool hasProperty(const QString & /*propertyKey*/) const override { return false; }
    int setProperty(const QString & /*propertyKey*/, const QVariant & /*value*/) override
    {
        return 2;
    }
    void addProperty(const QString & /*propertyKey*/, const QVariant & /*value*/) override { }
    QHash<QString, BaseClassSharedPointer> getChildMap() const override { return {}; }
};

} // namespace

class ConfigurationDataAndProcessDescriptionAccessTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void refusesNamesThatLeaveTheProject_data()
    {
        QTest::addColumn<QString>("instance");
        QTest::addColumn<QString>("message");
        const QString dots = QStringLiteral("the instance name holds the segment \"..\"");
        const QString empty = QStringLiteral("the instance name holds an empty segment");
        QTest::newRow("parent") << QStringLiteral("../secret")
                                << QStringLiteral("\"../secret\" ") + dots;
        QTest::newRow("parent inside") << QStringLiteral("line1/../../secret")
                                       << QStringLiteral("\"line1/../../secret\" ") + dots;
        QTest::newRow("nothing") << QString() << QStringLiteral("\"\" ") + empty;
        QTest::newRow("absolute") << QStringLiteral("/etc/passwd")
                                  << QStringLiteral("\"/etc/passwd\" ") + empty;
        QTest::newRow("this folder")
            << QStringLiteral(".")
            << QStringLiteral("\".\" the instance name holds the segment \".\"");
        QTest::newRow("backslash")
            << QStringLiteral("..\\secret")
            << QStringLiteral("\"..\\\\secret\" the instance name holds a backslash");
        QTest::newRow("NUL") << QStringLiteral("pump1%1x").arg(QChar(QChar::Null))
                             << QStringLiteral(
                                    "\"pump1\\u0000x\" the instance name holds a NUL character");
    }

    void refusesNamesThatLeaveTheProject()
    {
        QFETCH(QString, instance);
        QFETCH(QString, message);
        const ProjectFolder project;
        project.write(s_pumpFile, "{}");
        project.write(QStringLiteral("secret.json"), "{}");
        const QStringList entries = project.entries();
        QVERIFY(read(project, instance).isNull());
        EXPECT_MESSAGES({readWarning(QStringLiteral("Can not read instance: ") + message)});
        QVERIFY(!write(project, instance, tree()));
        EXPECT_MESSAGES({writeWarning(QStringLiteral("Can not write instance: ") + message)});
        QCOMPARE(project.entries(), entries);
        QCOMPARE(project.read(QStringLiteral("secret.json")), QByteArray("{}"));
    }

    void followsNoLinkOutOfTheProject()
    {
        const ProjectFolder project;
        const ProjectFolder outside;
        outside.write(QStringLiteral("pump1.json"), "{}");
        project.makeFolder(QStringLiteral("configuration"));
        project.link(QStringLiteral("configuration/line1"), outside.path());
        const QString message = QStringLiteral("\"line1/pump1\" a link leads out of the project "
                                               "folder: ")
            + project.path(s_pumpFile);
        QVERIFY(read(project).isNull());
        EXPECT_MESSAGES({readWarning(QStringLiteral("Can not read instance: ") + message)});
        QVERIFY(!write(project, s_pump, tree()));
        EXPECT_MESSAGES({writeWarning(QStringLiteral("Can not write instance: ") + message)});
        QCOMPARE(outside.read(QStringLiteral("pump1.json")), QByteArray("{}"));
        QCOMPARE(outside.entries(), QStringList({QStringLiteral("pump1.json")}));
    }

    void keepsALinkInsideTheProjectWhenItWrites()
    {
        const ProjectFolder project;
        project.write(QStringLiteral("configuration/pump2.json"), "{}");
        project.link(s_pumpFile, QStringLiteral("../pump2.json"));
        QVERIFY(read(project));
        QVERIFY(write(project, s_pump, tree()));
        QVERIFY(QFileInfo(project.path(s_pumpFile)).isSymLink());
        QVERIFY(project.read(QStringLiteral("configuration/pump2.json")).contains("speed"));
    }

    void tellsWhereAFileIsMalformed_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("error");
        QTest::newRow("no JSON") << QByteArray("{\n  \"properties\": { \"a\": }\n}")
                                 << QStringLiteral(":2:24: expected a value, found '}'");
        QTest::newRow("empty") << QByteArray()
                               << QStringLiteral(":1:1: expected a value, found the end of the "
                                                 "file");
        QTest::newRow("no tree")
            << QByteArray("{\n  \"children\": []\n}")
            << QStringLiteral(":2:15: expected an object as \"children\", found an array");
        QTest::newRow("no UTF-8") << QByteArray("{ \"properties\": { \"n\": \"P\xfcmpe\" } }")
                                  << QStringLiteral(":1:26: expected UTF-8, found the byte 0xfc");
    }

    void tellsWhereAFileIsMalformed()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, error);
        const ProjectFolder project;
        project.write(s_pumpFile, content);
        QVERIFY(read(project).isNull());
        EXPECT_MESSAGES({readWarning(project.path(s_pumpFile) + error)});
    }

    void refusesAFileThatIsTooLarge()
    {
        const ProjectFolder project;
        project.write(s_pumpFile, "{}");
        QVERIFY(QFile::resize(project.path(s_pumpFile), 33 * 1024 * 1024));
        QVERIFY(read(project).isNull());
        EXPECT_MESSAGES({readWarning(project.path(s_pumpFile)
                                     + QStringLiteral(": expected at most 33554432 bytes, found "
                                                      "34603008"))});
    }

    void tellsAFolderFromAMissingFile()
    {
        const ProjectFolder project;
        project.makeFolder(s_pumpFile);
        QVERIFY(read(project).isNull());
        EXPECT_MESSAGES({readWarning(project.path(s_pumpFile)
                                     + QStringLiteral(": cannot be read: it is no file"))});
        QVERIFY(read(project, QStringLiteral("pump2")).isNull());
        EXPECT_NO_MESSAGES();
    }

    void takesTheManifestForNoConfiguration()
    {
        const ProjectFolder project;
        const QString manifest = QStringLiteral("manifest");
        project.write(QStringLiteral("configuration/manifest.json"), "{}");
        const QString message =
            QStringLiteral(" instance: \"manifest\" this is the name of the manifest");
        QVERIFY(read(project, manifest).isNull());
        EXPECT_MESSAGES({readWarning(QStringLiteral("Can not read") + message)});
        QVERIFY(!write(project, manifest, tree()));
        EXPECT_MESSAGES({writeWarning(QStringLiteral("Can not write") + message)});
        QCOMPARE(project.read(QStringLiteral("configuration/manifest.json")), QByteArray("{}"));
    }

    void takesAnInstanceOfThatNameElsewhere()
    {
        const ProjectFolder project;
        const QString manifest = QStringLiteral("manifest");
        const QDir process(project.path(QStringLiteral("process")));
        QVERIFY(Access::setParsedConfigurationProcessDescription(process, QString(), s_pump,
                                                                 manifest, tree(), true));
        QVERIFY(project.read(QStringLiteral("process/manifest.json")).contains("speed"));
        QVERIFY(Access::getParsedConfigurationProcessDescription(process, manifest, true));

        const QString inFolder = QStringLiteral("line1/manifest");
        QVERIFY(write(project, inFolder, tree()));
        QVERIFY(read(project, inFolder));
    }

    void changesOnlyTheValuesInTheFile()
    {
        const ProjectFolder project;
        const QByteArray content = "{\r\n\t\"$schema\": \"x\",\r\n\t\"properties\": {\r\n\t\t"
                                   "\"ratio\": 1.50,\r\n\t\t\"speed\": 1e3\r\n\t}\r\n}\r\n";
        project.write(s_pumpFile, content);
        const Node root = read(project);
        QVERIFY(write(project, s_pump, root));
        QCOMPARE(project.read(s_pumpFile), content);
        QCOMPARE(root->setProperty(s_speed, 1200), 0);
        QVERIFY(write(project, s_pump, root));
        QCOMPARE(project.read(s_pumpFile), QByteArray(content).replace("1e3", "1200"));
        QCOMPARE(root->setProperty(s_speed, 1000), 0);
        QVERIFY(write(project, s_pump, root));
        QCOMPARE(project.read(s_pumpFile), content);
    }

    void keepsWhatOthersWroteIntoTheFile()
    {
        const ProjectFolder project;
        const QByteArray content = "{ \"properties\": { \"speed\": 1 } }\n";
        project.write(s_pumpFile, content);
        const Node first = read(project);
        const Node second = read(project);
        QCOMPARE(first->setProperty(s_speed, 2), 0);
        QCOMPARE(second->setProperty(s_speed, 3), 0);
        QVERIFY(write(project, s_pump, first));
        QVERIFY(!write(project, s_pump, second));
        EXPECT_MESSAGES({writeWarning(project.path(s_pumpFile)
                                      + QStringLiteral(": cannot be written: the file has changed "
                                                       "since it was read"))});
        QCOMPARE(project.read(s_pumpFile), QByteArray(content).replace('1', '2'));

        const Node third = read(project);
        QCOMPARE(third->setProperty(s_speed, 3), 0);
        QVERIFY(write(project, s_pump, third));
        QCOMPARE(project.read(s_pumpFile), QByteArray(content).replace('1', '3'));
    }

    void writesATreeUnderAnotherNameWhole()
    {
        const ProjectFolder project;
        const QByteArray content = "{ \"x\": [1.0], \"properties\": { \"speed\": 1 } }\n";
        project.write(s_pumpFile, content);
        QVERIFY(write(project, QStringLiteral("line2/a/pump2"), read(project)));
        QCOMPARE(project.read(QStringLiteral("configuration/line2/a/pump2.json")), content);
        QCOMPARE(project.read(s_pumpFile), content);
    }

    void leavesTheFileWhereItCannotWrite()
    {
        const ProjectFolder project;
        project.write(QStringLiteral("configuration/line1"), "a file in place of the folder");
        project.makeFolder(QStringLiteral("configuration/pump2.json"));
        const QStringList entries = project.entries();
        for (const QString &instance : {s_pump, QStringLiteral("pump2")}) {
            QVERIFY(!write(project, instance, tree()));
            const QVector<Message> messages = takeMessages();
            QCOMPARE(messages.size(), 1);
            const Message &message = messages.constFirst();
            const QString filePath =
                project.path(QStringLiteral("configuration/%1.json").arg(instance));
            QVERIFY2(message.text.startsWith(filePath + QStringLiteral(": cannot be written: ")),
                     qPrintable(message.text));
            QCOMPARE(message, writeWarning(message.text));
        }
        QCOMPARE(project.entries(), entries);
        QCOMPARE(project.read(QStringLiteral("configuration/line1")),
                 QByteArray("a file in place of the folder"));
    }

    void writesOnlyTreesOfThisHost()
    {
        const ProjectFolder project;
        QVERIFY(!write(project, s_pump, Node(new ForeignNode)));
        EXPECT_MESSAGES({writeWarning(QStringLiteral(
            "Can not write instance: \"line1/pump1\" the tree is not of this host"))});
        QVERIFY(!write(project, s_pump, Node()));
        EXPECT_MESSAGES({writeWarning(
            QStringLiteral("Can not write instance: \"line1/pump1\" there is no tree"))});
        QCOMPARE(project.entries(), QStringList());
    }
};

QTEST_GUILESS_MAIN(ConfigurationDataAndProcessDescriptionAccessTest)

#include "ConfigurationDataAndProcessDescriptionAccessTest.moc"
