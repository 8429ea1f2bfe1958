#include "support/StrictTest.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTest>
#include <QVector>

#include <algorithm>

namespace {

/// A warning in the sources.
struct Warning
{
    QString function; ///< class and operation, for example JavaScriptApi::getProperty
    QString statement;
    QRegularExpression form; ///< of its text on the page
};

/// A warning on the page, by one function.
struct Entry
{
    QString function;
    QString text;
};

QString read(const QString &fileName)
{
    QFile file(QStringLiteral(PROJECT_FOLDER "/") + fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("cannot read %s", qPrintable(file.fileName()));
    }
    return QString::fromUtf8(file.readAll());
}

QRegularExpressionMatchIterator matches(const QString &pattern, const QString &text)
{
    return QRegularExpression(pattern, QRegularExpression::MultilineOption).globalMatch(text);
}

/// What a chain of << prints, or a text in parentheses: literals as they are, separated by blanks;
/// any other piece stands on the page as <name>, in double quotes or without. A piece that is not
/// quoted is a whole message.
QRegularExpression formOf(const QString &chain)
{
    const QString other = chain.contains(QLatin1String("noquote"))
        ? QStringLiteral(".+")
        : QStringLiteral("\"?<[^<>]+>\"?");
    QStringList pieces;
    const QString stream = chain.contains(QLatin1String("<<"))
        ? chain
        : QStringLiteral("<< ") + chain.mid(1, chain.size() - 2);
    auto piece = matches(QStringLiteral("<<\\s*((?:\"[^\"]*\"\\s*)+|[^<]+)"), stream);
    while (piece.hasNext()) {
        const QString text = piece.next().captured(1).trimmed();
        const QString literal =
            text.mid(1, text.size() - 2).remove(QRegularExpression(QStringLiteral("\"\\s+\"")));
        pieces.append(text.startsWith(QLatin1Char('"')) ? QRegularExpression::escape(literal)
                                                        : other);
    }
    return QRegularExpression(QRegularExpression::anchoredPattern(pieces.join(QLatin1Char(' '))));
}

QString lastFunctionIn(const QString &text)
{
    QString function;
    auto name = matches(QStringLiteral(R"(^(?=\S).*?(\w+)::\s*(~?\w+)\()"), text);
    while (name.hasNext()) {
        const auto match = name.next();
        function = match.captured(1) + QLatin1String("::") + match.captured(2);
    }
    return function;
}

QVector<Warning> warningsIn(const QString &folder)
{
    QVector<Warning> warnings;
    const QDir project(QStringLiteral(PROJECT_FOLDER));
    QDirIterator files(project.filePath(folder), {QStringLiteral("*.cpp")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString source = read(project.relativeFilePath(files.next()));
        auto statement = matches(
            QStringLiteral(R"(\bqC?(?:Debug|Info|Warning|Critical|Fatal)\b([^;]*);)"), source);
        while (statement.hasNext()) {
            const auto match = statement.next();
            warnings.append({lastFunctionIn(source.left(match.capturedStart())),
                             match.captured().simplified(), formOf(match.captured(1))});
        }
    }
    return warnings;
}

/// The entries of one chapter of the page: a heading with the text, then a line with the functions.
QVector<Entry> entriesIn(const QString &chapter)
{
    const QString page = read(QStringLiteral("docs/messages.md"));
    const int begin = page.indexOf(QLatin1String("\n## ") + chapter + QLatin1Char('\n'));
    const int end = page.indexOf(QLatin1String("\n## "), begin + 1);
    QVector<Entry> entries;
    auto heading = matches(QStringLiteral(R"(^### `(.+)`\n\n(Written by .+)$)"),
                           begin < 0 ? QString() : page.mid(begin, end - begin));
    while (heading.hasNext()) {
        const auto match = heading.next();
        auto function = matches(QStringLiteral("`([^`]+)`"), match.captured(2));
        while (function.hasNext()) {
            entries.append({function.next().captured(1), match.captured(1)});
        }
    }
    return entries;
}

bool describes(const Entry &entry, const Warning &warning)
{
    return entry.function == warning.function && warning.form.match(entry.text).hasMatch();
}

} // namespace

/// docs/messages.md names every warning and no other.
class MessagesPageTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void namesTheWarningsOfTheSources_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("chapter");
        QTest::newRow("library") << QStringLiteral("JavaScript") << QStringLiteral("The library");
        QTest::newRow("file host") << QStringLiteral("filehost") << QStringLiteral("The file host");
    }

    void namesTheWarningsOfTheSources()
    {
        QFETCH(QString, folder);
        QFETCH(QString, chapter);
        const QVector<Warning> warnings = warningsIn(folder);
        const QVector<Entry> entries = entriesIn(chapter);
        QVERIFY(!warnings.isEmpty());

        QStringList differences;
        for (const Warning &warning : warnings) {
            if (std::none_of(entries.begin(), entries.end(), [&warning](const Entry &entry) {
                    return describes(entry, warning);
                })) {
                differences.append(QStringLiteral("not on the page: %1 in %2")
                                       .arg(warning.statement, warning.function));
            }
        }
        for (const Entry &entry : entries) {
            if (std::none_of(warnings.begin(), warnings.end(), [&entry](const Warning &warning) {
                    return describes(entry, warning);
                })) {
                differences.append(
                    QStringLiteral("not in the sources: %1 in %2").arg(entry.text, entry.function));
            }
        }
        QVERIFY2(differences.isEmpty(), qPrintable(differences.join(QLatin1Char('\n'))));
    }
};

TEST_CLASS(MessagesPageTest)

#include "MessagesPageTest.moc"
