#include "filehost/Diagnostic.h"
#include "support/StrictTest.h"

#include <QTest>

using namespace ConfigScript;

class DiagnosticTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void writesThePlaceInFrontOfTheMessage_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("line");
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("text");
        const QString file = QStringLiteral("a b.json");
        QTest::newRow("all") << file << 12 << 3 << QStringLiteral("a b.json:12:3: broken");
        QTest::newRow("no column") << file << 12 << 0 << QStringLiteral("a b.json:12: broken");
        QTest::newRow("no line") << file << 0 << 0 << QStringLiteral("a b.json: broken");
        QTest::newRow("column without line")
            << file << 0 << 3 << QStringLiteral("a b.json: broken");
        QTest::newRow("no file") << QString() << 12 << 3 << QStringLiteral("12:3: broken");
        QTest::newRow("message only") << QString() << 0 << 0 << QStringLiteral("broken");
    }

    void writesThePlaceInFrontOfTheMessage()
    {
        QFETCH(QString, file);
        QFETCH(int, line);
        QFETCH(int, column);
        const Diagnostic diagnostic{file, line, column, QStringLiteral("broken")};
        QTEST(diagnostic.toString(), "text");
    }
};

QTEST_GUILESS_MAIN(DiagnosticTest)

#include "DiagnosticTest.moc"
