#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "filehost/ProjectFolder.h"
#include "filehost/RowName.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/JsonDataIterator.h"
#include "support/StrictTest.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace ConfigScript;

class ManifestTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void listsTheInstances_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("entries");
        QTest::addColumn<QString>("entryErrors");
        QTest::addColumn<QString>("warnings");
        const auto row = [](const char *content, const char *entries, const char *entryErrors,
                            const char *warnings) {
            QTest::newRow(content)
                << QByteArray(content) << QString::fromLatin1(entries)
                << QString::fromLatin1(entryErrors) << QString::fromLatin1(warnings);
        };
        const auto list = [&row](const QByteArray &array, const char *entries,
                                 const char *entryErrors, const char *warnings) {
            row(("[{ \"dependencyFileExtern\": " + array + " }]").constData(), entries, entryErrors,
                warnings);
        };
        list("[]", "", "", "");
        row("[{ \"dependencyFileExtern\": null }]", "", "", "");
        list("[{ \"instanceName\": \"line1/pump1\" }, { \"instanceName\": \"a\", \"x\": 1 }]",
             "1:29 line1/pump1, 1:64 a", "", "");
        list("[{ \"instanceName\": \"a\" }, { \"instanceName\": \"a\" }]", "1:29 a, 1:54 a", "",
             "1:54 \"a\" is listed twice");
        list("[\"a\", {}, { \"instanceName\": 5 }, { \"instanceName\": \"b\" }]", "1:61 b",
             "1:29 expected an object with the string \"instanceName\", "
             "1:34 expected an object with the string \"instanceName\", "
             "1:38 expected an object with the string \"instanceName\"",
             "");
        list("[{ \"instanceName\": \"a\" }, [], { \"instanceName\": \"a\" }]", "1:29 a, 1:58 a",
             "1:54 expected an object with the string \"instanceName\"",
             "1:58 \"a\" is listed twice");
        row("[{ \"x\": [{ \"dependencyFileExtern\": [{ \"instanceName\": \"a\" }] }] }]", "1:37 a",
            "", "");
        row("[1, {}]", "", "", "1:1 expected an object with the member \"dependencyFileExtern\"");
    }

    void listsTheInstances()
    {
        QFETCH(QByteArray, content);
        const ProjectFolder folder;
        const Manifest manifest = read(folder, content);
        QVERIFY2(!manifest.hasFailed(), qPrintable(manifest.error().toString()));
        QStringList entries;
        for (const Manifest::Entry &entry : manifest.entries()) {
            QCOMPARE(manifest.placeOf(entry).file, manifest.filePath());
            entries.append(text(manifest.placeOf(entry)) + entry.instanceName);
        }
        QTEST(entries.join(QStringLiteral(", ")), "entries");
        QTEST(text(manifest.entryErrors(), manifest.filePath()), "entryErrors");
        QTEST(text(manifest.warnings(), manifest.filePath()), "warnings");
    }

    void tellsWhyItCannotBeUsed_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("error");
        QTest::newRow("no JSON") << QByteArray("[\n  x]")
                                 << QStringLiteral("2:3 expected a value, found 'x'");
        QTest::newRow("no array") << QByteArray(" {}")
                                  << QStringLiteral("1:2 expected an array on top, found an "
                                                    "object");
        QTest::newRow("no list") << QByteArray("[{ \"dependencyFileExtern\": \"a\" }]")
                                 << QStringLiteral("1:28 expected an array as "
                                                   "\"dependencyFileExtern\", found a string");
    }

    void tellsWhyItCannotBeUsed()
    {
        QFETCH(QByteArray, content);
        const ProjectFolder folder;
        const Manifest manifest = read(folder, content);
        QVERIFY(manifest.hasFailed());
        QCOMPARE(manifest.error().file, manifest.filePath());
        QTEST(text(manifest.error()), "error");
        QVERIFY(manifest.entries().isEmpty() && manifest.entryErrors().isEmpty()
                && manifest.warnings().isEmpty());
    }

    // The library searches with a JsonDataIterator.
    void findsTheListThatTheLibraryFinds_data()
    {
        QTest::addColumn<QByteArray>("content");
        for (const char *content :
             {R"([{ "x": 1 }, { "list": [{ "instanceName": "a" }] }])",
              R"([{ "list": [{ "instanceName": "a" }] }, { "list": [{ "instanceName": "b" }] }])",
              R"([[{ "x": { "list": [{ "instanceName": "a" }] } }], { "list": [] }])",
              R"([{ "x": { "list": [] }, "list": [{ "instanceName": "a" }] }])",
              R"([{ "z": { "list": [{ "instanceName": "a" }] },
                   "b": { "list": [{ "instanceName": "b" }] } }])",
              // Too small for a double: Qt takes the file for none of JSON.
              R"([{ "x": 1e-400, "list": [{ "instanceName": "a" }] }])"}) {
            QTest::newRow(rowName(content).constData())
                << QByteArray(content).replace("list", "dependencyFileExtern");
        }
    }

    void findsTheListThatTheLibraryFinds()
    {
        QFETCH(QByteArray, content);
        JsonDataIterator iterator(JsonDataIteratorKeyComparator(
            ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern()));
        iterator.iterate(QJsonDocument::fromJson(content).array());
        const QJsonArray found = iterator.getResult().toArray();

        const ProjectFolder folder;
        const Manifest manifest = read(folder, content);
        QCOMPARE(manifest.entries().size(), found.size());
        for (int i = 0; i < found.size(); ++i) {
            QCOMPARE(manifest.entries().at(i).instanceName,
                     found.at(i).toObject().value(QLatin1String("instanceName")).toString());
        }
    }

    void refusesAHugeFile()
    {
        const ProjectFolder folder;
        folder.write(QStringLiteral("configuration/manifest.json"), "[]");
        QVERIFY(QFile::resize(folder.path(QStringLiteral("configuration/manifest.json")),
                              200 * 1024 * 1024));
        const Manifest manifest = read(folder, QByteArray());
        QCOMPARE(manifest.error().toString(),
                 manifest.filePath()
                     + QStringLiteral(": expected at most 33554432 bytes, found 209715200"));
    }

    void missesItsFile()
    {
        const ProjectFolder folder;
        const Manifest manifest = read(folder, QByteArray());
        QCOMPARE(manifest.filePath(), folder.path(QStringLiteral("configuration/manifest.json")));
        QCOMPARE(manifest.error().toString(),
                 manifest.filePath()
                     + QStringLiteral(": no such file: expected the project's manifest"));
    }

private:
    /// @param content null for no file
    static Manifest read(const ProjectFolder &folder, const QByteArray &content)
    {
        folder.write(QStringLiteral("project.json"),
                     "{ \"moduleName\": \"pumps\", \"objectName\": \"station\" }");
        if (!content.isNull()) {
            folder.write(QStringLiteral("configuration/manifest.json"), content);
        }
        Diagnostic error;
        return Manifest(*Project::open(folder.path(), error));
    }

    static QString text(const Diagnostic &diagnostic)
    {
        return QStringLiteral("%1:%2 %3")
            .arg(diagnostic.line)
            .arg(diagnostic.column)
            .arg(diagnostic.message);
    }

    /// @param filePath the file they should be of; not part of the text
    static QString text(const QVector<Diagnostic> &diagnostics, const QString &filePath)
    {
        QStringList texts;
        for (const Diagnostic &diagnostic : diagnostics) {
            texts.append(diagnostic.file == filePath ? text(diagnostic) : diagnostic.toString());
        }
        return texts.join(QStringLiteral(", "));
    }
};

QTEST_GUILESS_MAIN(ManifestTest)

#include "ManifestTest.moc"
