#include "runner/record/LineDiff.h"
#include "configscript/ChildProcess.h"
#include "configscript/Files.h"
#include "support/StrictTest.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

namespace {

/// A line for each letter: "abc" is "a\nb\nc\n".
QByteArray lines(const char *letters)
{
    QByteArray text;
    for (const char *letter = letters; *letter != '\0'; ++letter) {
        text += *letter;
        text += '\n';
    }
    return text;
}

QByteArray randomText(QRandomGenerator &random)
{
    QByteArray text;
    for (int i = random.bounded(30); i > 0; --i) {
        text += char('a' + random.bounded(4));
        text += '\n';
    }
    if (random.bounded(4) == 0) {
        text.chop(1); // no newline at the end
    }
    return text;
}

/// How many lines a shortest diff removes and adds.
int distance(const QByteArray &oldText, const QByteArray &newText)
{
    const auto split = [](const QByteArray &text) {
        QList<QByteArray> result = text.split('\n');
        const QByteArray last = result.takeLast();
        for (QByteArray &line : result) {
            line += '\n';
        }
        return last.isEmpty() ? result : result + QList<QByteArray>{last};
    };
    const QList<QByteArray> a = split(oldText);
    const QList<QByteArray> b = split(newText);
    QVector<QVector<int>> common(a.size() + 1, QVector<int>(b.size() + 1, 0));
    for (int i = 1; i <= a.size(); ++i) {
        for (int j = 1; j <= b.size(); ++j) {
            common[i][j] = a.at(i - 1) == b.at(j - 1)
                ? common.at(i - 1).at(j - 1) + 1
                : std::max(common.at(i - 1).at(j), common.at(i).at(j - 1));
        }
    }
    return a.size() + b.size() - 2 * common.constLast().constLast();
}

int changedLines(const QString &diff)
{
    int count = 0;
    const QStringList diffLines = diff.split(QLatin1Char('\n')).mid(2); // behind the names
    for (const QString &line : diffLines) {
        count += line.startsWith(QLatin1Char('-')) || line.startsWith(QLatin1Char('+')) ? 1 : 0;
    }
    return count;
}

} // namespace

class LineDiffTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void showsWhatDiffers_data();
    void showsWhatDiffers();
    void showsNothingForEqualTexts_data();
    void showsNothingForEqualTexts();
    void isShortestAndApplies();
};

void LineDiffTest::showsWhatDiffers_data()
{
    QTest::addColumn<QByteArray>("oldText");
    QTest::addColumn<QByteArray>("newText");
    QTest::addColumn<QString>("hunks");

    const auto add = [](const char *name, const QByteArray &oldText, const QByteArray &newText,
                        const char *hunks) {
        QTest::newRow(name) << oldText << newText << QString::fromUtf8(hunks);
    };
    add("a line in the middle", lines("abcdefghi"), lines("abcdXfghi"),
        "@@ -2,7 +2,7 @@\n b\n c\n d\n-e\n+X\n f\n g\n h\n");
    add("the first line", lines("abcdef"), lines("Xbcdef"),
        "@@ -1,4 +1,4 @@\n-a\n+X\n b\n c\n d\n");
    add("the last line", lines("abcdef"), lines("abcdeX"), "@@ -3,4 +3,4 @@\n c\n d\n e\n-f\n+X\n");
    add("the only line", lines("a"), lines("X"), "@@ -1,1 +1,1 @@\n-a\n+X\n");
    add("added in the middle", lines("abcdefgh"), lines("abcdXYefgh"),
        "@@ -2,6 +2,8 @@\n b\n c\n d\n+X\n+Y\n e\n f\n g\n");
    add("removed at the end", lines("abcdef"), lines("abcd"),
        "@@ -2,5 +2,3 @@\n b\n c\n d\n-e\n-f\n");
    add("two changes six lines apart share a hunk", lines("abcdefgh"), lines("XbcdefgY"),
        "@@ -1,8 +1,8 @@\n-a\n+X\n b\n c\n d\n e\n f\n g\n-h\n+Y\n");
    add("two changes seven lines apart do not", lines("abcdefghi"), lines("XbcdefghY"),
        "@@ -1,4 +1,4 @@\n-a\n+X\n b\n c\n d\n@@ -6,4 +6,4 @@\n f\n g\n h\n-i\n+Y\n");
    add("a later hunk counts what was added before", lines("abcdefghi"), lines("XZabcdefghY"),
        "@@ -1,3 +1,5 @@\n+X\n+Z\n a\n b\n c\n@@ -6,4 +8,4 @@\n f\n g\n h\n-i\n+Y\n");
    add("no newline at the end, the last line changed", "a\nb", "a\nX",
        "@@ -1,2 +1,2 @@\n a\n-b\n\\ No newline at end of file\n+X\n"
        "\\ No newline at end of file\n");
    add("no newline at the end, another line changed", "a\nb", "X\nb",
        "@@ -1,2 +1,2 @@\n-a\n+X\n b\n\\ No newline at end of file\n");
    add("newline added at the end", "a\nb", "a\nb\n",
        "@@ -1,2 +1,2 @@\n a\n-b\n\\ No newline at end of file\n+b\n");
    add("newline removed at the end", "a\nb\n", "a\nb",
        "@@ -1,2 +1,2 @@\n a\n-b\n+b\n\\ No newline at end of file\n");
    add("carriage returns", "a\r\nb\r\n", "a\r\nX\r\n", "@@ -1,2 +1,2 @@\n a\r\n-b\r\n+X\r\n");
    add("empty lines", "\na\n\n", "\nX\n\n", "@@ -1,3 +1,3 @@\n \n-a\n+X\n \n");
    add("UTF-8", "größe\n", "Größe\n", "@@ -1,1 +1,1 @@\n-größe\n+Größe\n");
}

void LineDiffTest::showsWhatDiffers()
{
    QFETCH(const QByteArray, oldText);
    QFETCH(const QByteArray, newText);
    QFETCH(const QString, hunks);

    QCOMPARE(unifiedDiff(oldText, newText, QStringLiteral("old.json"), QStringLiteral("new.json")),
             QStringLiteral("--- old.json\n+++ new.json\n") + hunks);
}

void LineDiffTest::showsNothingForEqualTexts_data()
{
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("lines") << lines("abc");
    QTest::newRow("no newline at the end") << QByteArray("a\nb");
}

void LineDiffTest::showsNothingForEqualTexts()
{
    QFETCH(const QByteArray, text);

    QCOMPARE(unifiedDiff(text, text, QStringLiteral("old"), QStringLiteral("new")), QString());
}

void LineDiffTest::isShortestAndApplies()
{
    QRandomGenerator random(42);
    const QTemporaryDir folder;
    for (int i = 0; i < 100; ++i) {
        const QByteArray oldText = randomText(random);
        const QByteArray newText = randomText(random);
        if (oldText == newText) {
            continue;
        }
        const QString diff =
            unifiedDiff(oldText, newText, QStringLiteral("text"), QStringLiteral("text"));
        QCOMPARE(changedLines(diff), distance(oldText, newText));

        writeFiles(folder.path(),
                   {{QStringLiteral("text"), oldText}, {QStringLiteral("diff"), diff.toUtf8()}});
        const ChildProcess patch = runChildProcess(
            {QStringLiteral("patch"), QStringLiteral("--silent"), QStringLiteral("--fuzz=0"),
             QStringLiteral("--posix"), QStringLiteral("--input=diff"), QStringLiteral("text")},
            folder.path());
        const QByteArray output = patch.output + patch.errors;
        QVERIFY2(patch.exitCode == 0 && output.isEmpty(),
                 qPrintable(QString::fromUtf8(output) + diff));
        QCOMPARE(readFiles(folder.path()).value(QStringLiteral("text")), newText);
    }
}

QTEST_APPLESS_MAIN(LineDiffTest)
#include "LineDiffTest.moc"
