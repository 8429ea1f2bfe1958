#include "filehost/FileTreeNode.h"
#include "filehost/ProjectFolder.h"
#include "filehost/store/TextFile.h"
#include "support/StrictTest.h"

#include <QFile>
#include <QTest>

using namespace ConfigScript;

namespace {

const QString s_fileName = QStringLiteral("pump.json");
const QString s_otherName = QStringLiteral("line2/pump.json");
const QString s_speed = QStringLiteral("speed");
const QByteArray s_content = "{ \"properties\": { \"speed\": 1 } }\n";

FileTree::Identity identityIn(const ProjectFolder &project)
{
    return {project.path(s_fileName), QStringLiteral("pump"), FileTree::Kind::Process};
}

/// The content with another speed.
QByteArray contentWith(int speed)
{
    return QByteArray(s_content).replace("1", QByteArray::number(speed));
}

QSharedPointer<FileTreeNode> readIn(const ProjectFolder &project)
{
    Diagnostic error;
    const auto root = FileTree::read(identityIn(project), error);
    if (root.isNull()) {
        qFatal("%s", qPrintable(error.toString()));
    }
    return root;
}

/// @return what went wrong; empty for nothing
QString write(const QSharedPointer<FileTreeNode> &root, const ProjectFolder &project, int speed,
              const QString &name = s_fileName)
{
    root->setProperty(s_speed, speed);
    Diagnostic error;
    const bool isWritten = root->tree().write(*root, project.path(), project.path(name), error);
    return isWritten == error.toString().isEmpty() ? error.toString()
                                                   : QStringLiteral("result and error differ");
}

QString changedError(const ProjectFolder &project)
{
    return project.path(s_fileName)
        + QStringLiteral(": cannot be written: the file has changed since it was read");
}

} // namespace

class FileTreeTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void tellsWhatIsNoTree_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("error");
        const auto row = [](const char *text, const char *error) {
            QTest::newRow(text) << QByteArray(text) << QString::fromLatin1(error);
        };
        row("[]", "1:1: expected a node: an object, found an array");
        row(" null", "1:2: expected a node: an object, found null");
        row("{ \"properties\": [1] }",
            "1:17: expected an object as \"properties\", found an array");
        row("{ \"properties\": null }", "1:17: expected an object as \"properties\", found null");
        row("{ \"readOnly\": { \"a\": true } }",
            "1:15: expected an array of keys as \"readOnly\", found an object");
        row("{ \"readOnly\": [\"a\", 1] }",
            "1:21: expected a property's key in \"readOnly\", found a number");
        row("{ \"children\": \"a\" }", "1:15: expected an object as \"children\", found a string");
        row("{ \"children\": { \"a\": true } }", "1:22: expected a node: an object, found true");
        row("{ \"children\": { \"a\": { \"children\": { \"b\": false } } } }",
            "1:43: expected a node: an object, found false");
        row("{ \"children\": { \"\": {} } }",
            "1:17: expected a child's name: not empty, without \"/\"");
        row("{ \"children\": { \"a/b\": {} } }",
            "1:17: expected a child's name: not empty, without \"/\"");
        row("{ \"children\": { \"a\\u002fb\": {} } }",
            "1:17: expected a child's name: not empty, without \"/\"");
        row("{ \"a\": tru }", "1:8: expected a value, found 't'");
        row("\xef\xbb\xbf\xef\xbb\xbf{}", "1:1: expected a value, found the character U+FEFF");
        row("{}\xef\xbb\xbf",
            "1:3: expected nothing behind the outermost value, found the character U+FEFF");
    }

    void tellsWhatIsNoTree()
    {
        QFETCH(QByteArray, text);
        Diagnostic error;
        QVERIFY(FileTree::parse(text, {}, error).isNull());
        QTEST(QStringLiteral("%1:%2: %3").arg(error.line).arg(error.column).arg(error.message),
              "error");
    }

    void takesAnyOtherMembers()
    {
        Diagnostic error;
        const auto root = FileTree::parse(
            R"({ "Properties": 1, "property": [], "child": null, "": {}, "$schema": "x" })", {},
            error);
        QVERIFY2(root, qPrintable(error.toString()));
        QVERIFY(root->propertyKeys().isEmpty() && root->childNames().isEmpty());
    }

    // To JSON, a key is the same however it is spelled.
    void knowsItsMembersInEverySpelling()
    {
        Diagnostic error;
        const auto root = FileTree::parse(R"({
            "\u0070roperties": { "a": 1 },
            "read\u004fnly": [ "a" ],
            "childre\u006e": { "c": {} } })",
                                          {}, error);
        QVERIFY2(root, qPrintable(error.toString()));
        QCOMPARE(root->getProperty(QStringLiteral("a")).toInt(), 1);
        QVERIFY(root->isReadOnly(QStringLiteral("a")));
        QVERIFY(root->isUrlValid(QStringLiteral("c")));
    }

    void readsTheFileThatItIsTold()
    {
        const ProjectFolder project;
        project.write(s_fileName, "{ \"properties\": { \"a\": 1 } }");
        const FileTree::Identity identity = identityIn(project);
        Diagnostic error;
        const auto root = FileTree::read(identity, error);
        QVERIFY2(root, qPrintable(error.toString()));
        QCOMPARE(root->getProperty(QStringLiteral("a")).toInt(), 1);
        QCOMPARE(root->tree().identity().filePath, identity.filePath);
        QCOMPARE(root->tree().identity().instance, identity.instance);
        QCOMPARE(root->tree().identity().kind, identity.kind);
    }

    void findsNothingWrongWithAMissingFile()
    {
        const ProjectFolder project;
        Diagnostic error;
        QVERIFY(FileTree::read(identityIn(project), error).isNull());
        QCOMPARE(error.toString(), QString());
    }

    void namesTheMalformedFile()
    {
        const ProjectFolder project;
        for (const char *text : {"{\n  x", "{\n  \"children\": 1 }"}) {
            project.write(s_fileName, text);
            Diagnostic error;
            QVERIFY(FileTree::read(identityIn(project), error).isNull());
            QCOMPARE(error.file, project.path(s_fileName));
            QCOMPARE(error.line, 2);
        }
    }

    void readsFilesUpToItsLimit()
    {
        const ProjectFolder project;
        project.write(s_fileName, QByteArray("{}").leftJustified(int(TextFile::maximumSize), ' '));
        Diagnostic error;
        QVERIFY2(FileTree::read(identityIn(project), error), qPrintable(error.toString()));

        QVERIFY(QFile::resize(project.path(s_fileName), TextFile::maximumSize + 1));
        QVERIFY(FileTree::read(identityIn(project), error).isNull());
        QCOMPARE(error.toString(),
                 project.path(s_fileName)
                     + QStringLiteral(": expected at most 33554432 bytes, found 33554433"));
    }

    void refusesAHugeFile()
    {
        const ProjectFolder project;
        project.write(s_fileName, s_content);
        QVERIFY(QFile::resize(project.path(s_fileName), 200 * 1024 * 1024));
        Diagnostic error;
        QVERIFY(FileTree::read(identityIn(project), error).isNull());
        QCOMPARE(error.toString(),
                 project.path(s_fileName)
                     + QStringLiteral(": expected at most 33554432 bytes, found 209715200"));
    }

    void writesNoFileThatItWouldNotRead()
    {
        const ProjectFolder project;
        project.write(s_fileName, s_content);
        const auto root = readIn(project);
        root->setProperty(QStringLiteral("text"),
                          QString(int(TextFile::maximumSize), QLatin1Char('x')));
        QVERIFY2(write(root, project, 1).startsWith(project.path(s_fileName)),
                 "the file was written");
        QCOMPARE(project.read(s_fileName), s_content);
    }

    void writesItsFileAgainAndAgain()
    {
        const ProjectFolder project;
        project.write(s_fileName, s_content);
        const auto root = readIn(project);
        for (const int speed : {1, 2, 2, 1, 1500}) {
            QCOMPARE(write(root, project, speed), QString());
            QCOMPARE(project.read(s_fileName), contentWith(speed));
        }
    }

    void keepsAFileThatHasChanged()
    {
        const ProjectFolder project;
        project.write(s_fileName, s_content);
        const auto root = readIn(project);
        const QByteArray others = s_content + "\n"; // another text, though the same tree
        project.write(s_fileName, others);
        for (int i = 0; i < 2; ++i) {
            QCOMPARE(write(root, project, 2), changedError(project));
            QCOMPARE(project.read(s_fileName), others);
        }

        project.write(s_fileName, s_content); // as it was read
        QCOMPARE(write(root, project, 2), QString());
        QCOMPARE(project.read(s_fileName), contentWith(2));
        project.write(s_fileName, s_content); // as it was read, but not as it was written
        QCOMPARE(write(root, project, 2), changedError(project));
        QCOMPARE(project.read(s_fileName), s_content);
    }

    void writesOneOfTwoTreesOfAFile()
    {
        const ProjectFolder project;
        project.write(s_fileName, s_content);
        const auto first = readIn(project);
        const auto second = readIn(project);
        QCOMPARE(write(second, project, 1), QString()); // nothing that the first one lacks
        QCOMPARE(write(first, project, 2), QString());
        QCOMPARE(write(second, project, 3), changedError(project));
        QCOMPARE(write(first, project, 4), QString());
        QCOMPARE(project.read(s_fileName), contentWith(4));
        QCOMPARE(write(readIn(project), project, 5), QString());
    }

    void writesADeletedFileAnew()
    {
        const ProjectFolder project;
        project.write(s_fileName, s_content);
        const auto root = readIn(project);
        for (const int speed : {1, 2}) {
            QVERIFY(QFile::remove(project.path(s_fileName)));
            QCOMPARE(write(root, project, speed), QString());
            QCOMPARE(project.read(s_fileName), contentWith(speed));
        }
    }

    void replacesAnyOtherFile()
    {
        const ProjectFolder project;
        project.write(s_fileName, s_content);
        project.write(s_otherName, "something else");
        const auto root = readIn(project);
        QCOMPARE(write(root, project, 2, s_otherName), QString());
        QCOMPARE(project.read(s_otherName), contentWith(2));
        project.write(s_otherName, "something new");
        QCOMPARE(write(root, project, 3, s_otherName), QString());
        QCOMPARE(project.read(s_otherName), contentWith(3));
        QCOMPARE(project.read(s_fileName), s_content);

        QCOMPARE(write(root, project, 4), QString()); // its own, as it was read
        project.write(s_fileName, contentWith(3)); // as the other one was written
        QCOMPARE(write(root, project, 5), changedError(project));
    }

    void keepsWhatIsNoFileInItsPlace()
    {
        const ProjectFolder project;
        project.write(s_fileName, s_content);
        const auto root = readIn(project);
        QVERIFY(QFile::remove(project.path(s_fileName)));
        project.makeFolder(s_fileName);
        QCOMPARE(write(root, project, 2),
                 project.path(s_fileName) + QStringLiteral(": cannot be read: it is no file"));
        QCOMPARE(project.entries(), QStringList(s_fileName));
    }
};

QTEST_GUILESS_MAIN(FileTreeTest)

#include "FileTreeTest.moc"
