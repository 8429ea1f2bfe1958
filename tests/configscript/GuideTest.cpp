#include "configscript/CommandTest.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>
#include <QVector>

namespace {

/// A fenced part of the guide.
struct Block
{
    QString language; ///< "console", or that of a file
    QString file;
    QString text; ///< whole lines
};

QString readFile(const QString &path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QVector<Block> blocksOf(const QString &guide)
{
    static const QRegularExpression fence(QStringLiteral("^```(\\w*) ?(\\S*)\\n(.*?^)```$"),
                                          QRegularExpression::MultilineOption
                                              | QRegularExpression::DotMatchesEverythingOption);
    QVector<Block> blocks;
    auto match = fence.globalMatch(guide);
    while (match.hasNext()) {
        const auto block = match.next();
        blocks.append({block.captured(1), block.captured(2), block.captured(3)});
    }
    return blocks;
}

/// What the guide shows of a session, when its commands are run in the folder.
QString session(const QString &text, const ScratchFolder &folder)
{
    QString result;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        if (line.startsWith(QLatin1String("$ "))) {
            Program program(folder.path());
            program.setShellCommand(QStringLiteral("program=(\"$@\")\n"
                                                   "configscript() { \"${program[@]}\" \"$@\"; }\n"
                                                   "exec 2>&1\n")
                                    + line.mid(2));
            result += line + QLatin1Char('\n') + program.run({}).output;
        }
    }
    return result;
}

/// The guide's own folder and durations, as those of a run are shown.
QString comparable(QString text)
{
    static const QRegularExpression duration(QStringLiteral("\\d+\\.\\d ms"));
    return text.replace(duration, QStringLiteral("# ms"))
        .replace(QLatin1String("/tmp/tour"), QLatin1String("<folder>"));
}

/**
 * Follows a guide from its first block to its last in a copy of the examples.
 * @return where it does not tell what happens
 */
QString differencesOf(const QString &guide)
{
    const ScratchFolder folder;
    folder.copyExamples();
    QString differences;
    const QVector<Block> blocks = blocksOf(guide);
    for (const Block &block : blocks) {
        if (block.language == QLatin1String("console")) {
            differences +=
                difference({{QStringLiteral("guide"), comparable(block.text).toUtf8()}},
                           {{QStringLiteral("guide"), session(block.text, folder).toUtf8()}});
        } else if (!(QLatin1Char('\n') + readFile(folder.path(block.file)))
                        .contains(QLatin1Char('\n') + block.text)) {
            differences += QStringLiteral("not in \"%1\":\n%2").arg(block.file, block.text);
        }
    }
    return differences;
}

} // namespace

/// The guide for script authors tells what happens.
class GuideTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void tellsWhatHappens();
    void noticesADifference_data();
    void noticesADifference();
};

void GuideTest::tellsWhatHappens()
{
    const QString guide = readFile(QStringLiteral(GUIDE_FILE));
    QVERIFY(!guide.isEmpty());
    QCOMPARE(blocksOf(guide).size() * 2, guide.count(QLatin1String("```")));
    const QString differences = differencesOf(guide);
    QVERIFY2(differences.isEmpty(), qPrintable(differences));
}

void GuideTest::noticesADifference_data()
{
    QTest::addColumn<QString>("block");
    QTest::addColumn<bool>("isTrue");
    const auto add = [](const char *name, const char *block, bool isTrue) {
        QTest::newRow(name) << QString::fromLatin1(block) << isTrue;
    };
    add("output", "```console\n$ configscript new project a\nwrote the project a\n```\n", true);
    add("other output", "```console\n$ configscript new project a\nwrote the project b\n```\n",
        false);
    add("missing output", "```console\n$ configscript new project a\n```\n", false);
    add("output too much", "```console\n$ true\nwrote the project b\n```\n", false);
    add("errors",
        "```console\n$ configscript check a\nconfigscript: a: no such project folder\n```\n", true);
    add("no errors", "```console\n$ configscript check a\n```\n", false);
    add("snippet",
        "```js guide/mistakes/thrown-text.js\n  throw \"the current is missing\";\n```\n", true);
    add("other snippet", "```js guide/mistakes/thrown-text.js\n  throw \"missing\";\n```\n", false);
    add("part of a line", "```js guide/mistakes/thrown-text.js\nthe current is missing\";\n```\n",
        false);
    add("snippet of no file", "```js guide/none.js\n  throw \"missing\";\n```\n", false);
    add("snippet without a file", "```js\nfunction onOpen(api) {}\n```\n", false);
    add("no snippet", "```\ntext\n```\n", false);
}

void GuideTest::noticesADifference()
{
    QFETCH(const QString, block);
    QFETCH(const bool, isTrue);
    const QString differences = differencesOf(block);
    QVERIFY2(differences.isEmpty() == isTrue, qPrintable(differences));
}

TEST_CLASS(GuideTest)
#include "GuideTest.moc"
