#include "LineDiff.h"

#include <QStringList>
#include <QVector>

#include <algorithm>

namespace {

constexpr int s_context = 3;

/// A line of the diff; its mark is ' ', '-' or '+'.
struct DiffLine
{
    char mark;
    QByteArray text;
};

/// The lines with their ends.
QList<QByteArray> linesOf(const QByteArray &text)
{
    QList<QByteArray> lines;
    for (int begin = 0; begin < text.size();) {
        const int newline = text.indexOf('\n', begin);
        const int end = newline < 0 ? text.size() : newline + 1;
        lines.append(text.mid(begin, end - begin));
        begin = end;
    }
    return lines;
}

/// The furthest points reached with each number of edits, by diagonal (Myers, section 4).
QVector<QVector<int>> furthestPoints(const QList<QByteArray> &a, const QList<QByteArray> &b)
{
    const int maximum = a.size() + b.size();
    QVector<int> furthest(2 * maximum + 2, 0);
    QVector<QVector<int>> trace;
    for (int edits = 0; edits <= maximum; ++edits) {
        trace.append(furthest);
        for (int diagonal = -edits; diagonal <= edits; diagonal += 2) {
            const int index = diagonal + maximum;
            int x = diagonal == -edits
                    || (diagonal != edits && furthest[index - 1] < furthest[index + 1])
                ? furthest[index + 1]
                : furthest[index - 1] + 1;
            int y = x - diagonal;
            while (x < a.size() && y < b.size() && a.at(x) == b.at(y)) {
                ++x;
                ++y;
            }
            furthest[index] = x;
            if (x >= a.size() && y >= b.size()) {
                return trace;
            }
        }
    }
    return trace;
}

QVector<DiffLine> diffLines(const QList<QByteArray> &a, const QList<QByteArray> &b)
{
    const QVector<QVector<int>> trace = furthestPoints(a, b);
    const int maximum = a.size() + b.size();
    QVector<DiffLine> lines;
    int x = a.size();
    int y = b.size();
    for (int edits = trace.size() - 1; edits >= 0; --edits) {
        const QVector<int> &furthest = trace.at(edits);
        const int diagonal = x - y;
        const int index = diagonal + maximum;
        const bool isInsertion =
            diagonal == -edits || (diagonal != edits && furthest[index - 1] < furthest[index + 1]);
        const int previousX = isInsertion ? furthest[index + 1] : furthest[index - 1];
        const int previousY = previousX - (isInsertion ? diagonal + 1 : diagonal - 1);
        while (x > previousX && y > previousY && x > 0 && y > 0) {
            lines.append({' ', a.at(--x)});
            --y;
        }
        if (edits > 0) {
            if (isInsertion) {
                lines.append({'+', b.at(--y)});
            } else {
                lines.append({'-', a.at(--x)});
            }
        }
    }
    std::reverse(lines.begin(), lines.end());
    return lines;
}

QString hunk(const QVector<DiffLine> &lines, int begin, int end, int oldLine, int newLine)
{
    int oldCount = 0;
    int newCount = 0;
    QString text;
    for (int i = begin; i < end; ++i) {
        const DiffLine &line = lines.at(i);
        oldCount += line.mark != '+' ? 1 : 0;
        newCount += line.mark != '-' ? 1 : 0;
        text += QLatin1Char(line.mark) + QString::fromUtf8(line.text);
        if (!line.text.endsWith('\n')) {
            text += QStringLiteral("\n\\ No newline at end of file\n");
        }
    }
    return QStringLiteral("@@ -%1,%2 +%3,%4 @@\n")
               .arg(oldLine)
               .arg(oldCount)
               .arg(newLine)
               .arg(newCount)
        + text;
}

} // namespace

QString unifiedDiff(const QByteArray &oldText, const QByteArray &newText, const QString &oldName,
                    const QString &newName)
{
    if (oldText == newText) {
        return QString();
    }
    const QVector<DiffLine> lines = diffLines(linesOf(oldText), linesOf(newText));
    QString diff = QStringLiteral("--- %1\n+++ %2\n").arg(oldName, newName);

    int oldLine = 1;
    int newLine = 1;
    for (int begin = 0; begin < lines.size();) {
        // A hunk reaches from its first change to the last one that no gap of unchanged lines
        // separates from it.
        int change = begin;
        while (change < lines.size() && lines.at(change).mark == ' ') {
            ++change;
        }
        if (change == lines.size()) {
            break;
        }
        int last = change;
        for (int i = change; i < lines.size() && i - last <= 2 * s_context + 1; ++i) {
            if (lines.at(i).mark != ' ') {
                last = i;
            }
        }
        const int hunkBegin = std::max(begin, change - s_context);
        const int hunkEnd = std::min(last + 1 + s_context, lines.size());
        oldLine += hunkBegin - begin;
        newLine += hunkBegin - begin;
        diff += hunk(lines, hunkBegin, hunkEnd, oldLine, newLine);
        for (int i = hunkBegin; i < hunkEnd; ++i) {
            oldLine += lines.at(i).mark != '+' ? 1 : 0;
            newLine += lines.at(i).mark != '-' ? 1 : 0;
        }
        begin = hunkEnd;
    }
    return diff;
}
