#include "runner/check/Finding.h"
#include "support/StrictTest.h"

#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QTest>

class FindingTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void everyKindHasItsRow();
    void theManualListsAllKindsAndNoOther();
};

void FindingTest::everyKindHasItsRow()
{
    const QVector<Finding::Description> &kinds = Finding::kinds();
    QCOMPARE(kinds.size(), int(Finding::Kind::SameOrder) + 1);
    for (int i = 0; i < kinds.size(); ++i) {
        QCOMPARE(int(kinds.at(i).kind), i);
        QVERIFY(kinds.at(i).canBeError || kinds.at(i).canBeWarning);
    }
}

void FindingTest::theManualListsAllKindsAndNoOther()
{
    QFile file(QStringLiteral(COMMAND_MANUAL));
    QVERIFY(file.open(QFile::ReadOnly));
    QString manual = QString::fromUtf8(file.readAll());
    manual = manual.mid(manual.indexOf(QLatin1String("\n## check\n")));
    manual.truncate(manual.indexOf(QLatin1String("\n## "), 1));

    // | `name` | severity | cause | remedy |
    static const QRegularExpression row(
        QStringLiteral("^\\| `([a-z-]+)` \\| ((?:error|warning)[^|]*) \\| [^|]+ \\| [^|]+ \\|$"),
        QRegularExpression::MultilineOption);
    QMap<QString, QString> documented; // severities by name
    for (auto match = row.globalMatch(manual); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        const QString text = found.captured(2);
        documented.insert(
            found.captured(1),
            (text.contains(QLatin1String("error")) ? QStringLiteral("error ") : QString())
                + (text.contains(QLatin1String("warning")) ? QStringLiteral("warning")
                                                           : QString()));
    }
    QMap<QString, QString> known;
    for (const Finding::Description &kind : Finding::kinds()) {
        known.insert(QString::fromLatin1(kind.name),
                     (kind.canBeError ? QStringLiteral("error ") : QString())
                         + (kind.canBeWarning ? QStringLiteral("warning") : QString()));
    }
    QCOMPARE(documented, known);
}

QTEST_GUILESS_MAIN(FindingTest)
#include "FindingTest.moc"
