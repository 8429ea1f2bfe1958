#include "FlowReport.h"

#include "filehost/JsonValue.h"

#include <algorithm>
#include <tuple>

namespace {

using Style = Output::Style;

constexpr int s_shownValue = 100; ///< characters of a value
constexpr int s_shownReads = 10; ///< of what no script wrote, for each write

} // namespace

FlowReport::FlowReport(const DataFlow &flow, const PropertyUrls &urls, Output &output,
                       Extent extent)
    : m_flow(flow)
    , m_urls(urls)
    , m_output(output)
    , m_extent(extent)
{
}

void FlowReport::printOrigin(int property)
{
    const DataFlow::Property &origin = m_flow.properties().at(property);
    line(0,
         m_output.styled(Style::Bold, urlOf(property)) + QStringLiteral("  ") + valuesOf(property));
    printWriters(origin.writes, 1);
    if (origin.writes.isEmpty()) {
        QStringList readers;
        for (const int read : origin.reads) {
            readers.append(scriptOf(read));
        }
        readers.sort();
        readers.removeDuplicates();
        line(1,
             QStringLiteral("written by no script; read by ") + readers.join(QStringLiteral(", ")));
    }
}

void FlowReport::printEffect(int property)
{
    line(0,
         m_output.styled(Style::Bold, urlOf(property)) + QStringLiteral("  ") + valuesOf(property));
    if (m_flow.properties().at(property).reads.isEmpty()) {
        line(1, QStringLiteral("read by no script"));
    }
    m_open.append(property);
    m_printed.insert(property);
    printReaders(property, -1, 1);
    m_open.removeLast();
}

void FlowReport::printUntouched(const QString &url, const QVariant &value)
{
    line(0,
         m_output.styled(Style::Bold, Output::printable(url)) + QStringLiteral("  ")
             + valueText(value));
    line(1, QStringLiteral("no script reads or writes it"));
}

void FlowReport::printWriters(const QVector<int> &writes, int depth)
{
    bool isFirst = true;
    for (const int write : writes) {
        const TreeAccess &access = *m_flow.step(write).access;
        QString verb =
            access.isWrite() ? QStringLiteral("written by ") : QStringLiteral("confirmed by ");
        if (writes.size() > 1) {
            verb.prepend(isFirst ? QStringLiteral("first ") : QStringLiteral("then "));
        }
        isFirst = false;
        printWrite(write, verb, depth);
    }
}

void FlowReport::printWrite(int write, const QString &verb, int depth)
{
    const TreeAccess &access = *m_flow.step(write).access;
    const DataFlow::Property &property = m_flow.properties().at(m_flow.step(write).property);
    QString text = verb + scriptOf(write);
    if (access.isOfOwnCopy) {
        text += QStringLiteral(" by relative URL, which nobody saves");
    }
    if (property.writes.size() > 1) {
        text += QStringLiteral(": ") + changeText(access.oldValue, access.value);
    }
    const QVector<int> reads = m_flow.readsBefore(write);
    if (m_open.contains(write)) {
        line(depth, text + QStringLiteral(", see above: a circle"));
    } else if (m_printed.contains(write)) {
        line(depth, text + QStringLiteral(", see above"));
    } else if (reads.isEmpty()) {
        line(depth, text + QStringLiteral(", having read nothing"));
    } else if (isTooDeep(depth)) {
        line(depth,
             text + QStringLiteral(", having read ") + QString::number(reads.size())
                 + (reads.size() == 1 ? QStringLiteral(" property")
                                      : QStringLiteral(" properties")));
    } else if (m_printedLists.contains(reads)) {
        line(depth, text + QStringLiteral(", having read the same as above"));
    } else {
        line(depth, text + QStringLiteral(", having read"));
        m_printedLists.insert(reads);
        m_open.append(write);
        printReads(reads, depth + 1);
        m_open.removeLast();
        m_printed.insert(write);
    }
}

void FlowReport::printReads(const QVector<int> &reads, int depth)
{
    enum Rank { Changed, Written, FromFile };
    QVector<Line> lines;
    for (const int read : reads) {
        const DataFlow::Step &step = m_flow.step(read);
        const DataFlow::Property &property = m_flow.properties().at(step.property);
        const int source = m_flow.sourceOf(read);
        const Rank rank = source < 0                                     ? FromFile
            : JsonValue::areEqual(property.oldValue, step.access->value) ? Written
                                                                         : Changed;
        lines.append({urlOf(step.property), read, rank, source});
    }
    std::sort(lines.begin(), lines.end(), [](const Line &a, const Line &b) {
        return std::tie(a.rank, a.url) < std::tie(b.rank, b.url);
    });
    const auto firstFromFile = std::find_if(lines.begin(), lines.end(), [](const Line &candidate) {
        return candidate.rank == FromFile;
    });
    const int fromFile = int(lines.end() - firstFromFile);
    const int omitted = m_extent.showsAllReads ? 0 : std::max(0, fromFile - s_shownReads);
    lines.resize(lines.size() - omitted);

    int width = 0;
    for (const Line &read : qAsConst(lines)) {
        width = std::max(width, read.url.size());
    }
    for (const Line &read : qAsConst(lines)) {
        const DataFlow::Step &step = m_flow.step(read.step);
        const DataFlow::Property &property = m_flow.properties().at(step.property);
        line(depth,
             read.url.leftJustified(width) + QStringLiteral("  ")
                 + (read.rank == Changed ? changeText(property.oldValue, step.access->value)
                                         : valueText(step.access->value)));
        if (read.source >= 0) {
            printWrite(read.source,
                       m_flow.step(read.source).access->isWrite() ? QStringLiteral("written by ")
                                                                  : QStringLiteral("confirmed by "),
                       depth + 1);
        } else {
            printUnseenWrites(read.step, depth + 1);
        }
    }
    if (omitted > 0) {
        line(
            depth,
            m_output.styled(
                Style::Dim,
                QStringLiteral("… %1 more, which no script wrote; --all shows them").arg(omitted)));
    }
}

/// The writes to a property that a read did not see, which gave what the file held.
void FlowReport::printUnseenWrites(int read, int depth)
{
    const DataFlow::Step &step = m_flow.step(read);
    for (const int write : m_flow.properties().at(step.property).writes) {
        const DataFlow::Step &other = m_flow.step(write);
        if ((other.run == step.run && write > read) || other.access->isOfOwnCopy) {
            continue;
        }
        line(depth,
             QStringLiteral("as in its file; %1 wrote ").arg(scriptOf(write))
                 + valueText(other.access->value)
                 + (write > read ? QStringLiteral(" afterwards")
                                 : QStringLiteral(" before, which is not seen by relative URL")));
    }
}

void FlowReport::printReaders(int property, int writer, int depth)
{
    QVector<int> reads; // the first of each run
    QSet<int> runs;
    for (const int read : m_flow.properties().at(property).reads) {
        const int run = m_flow.step(read).run;
        if (run != writer && !runs.contains(run)) {
            runs.insert(run);
            reads.append(read);
        }
    }
    std::sort(reads.begin(), reads.end(), [this](int a, int b) {
        return m_flow.runs().at(m_flow.step(a).run).instance
            < m_flow.runs().at(m_flow.step(b).run).instance;
    });
    for (const int read : qAsConst(reads)) {
        printReader(read, writer, depth);
    }
}

void FlowReport::printReader(int read, int writer, int depth)
{
    const DataFlow::Step &step = m_flow.step(read);
    QString text = QStringLiteral("read by ") + scriptOf(read);
    if (writer >= 0
        && !JsonValue::areEqual(step.access->value,
                                m_flow.properties().at(step.property).newValue)) {
        text += QStringLiteral(" as ") + valueText(step.access->value);
    }
    const QVector<int> writes = m_flow.writesAfter(read);
    if (writes.isEmpty()) {
        line(depth, text + QStringLiteral(", which then wrote nothing"));
    } else if (isTooDeep(depth)) {
        line(depth,
             text + QStringLiteral(", which then wrote ") + QString::number(writes.size())
                 + (writes.size() == 1 ? QStringLiteral(" property")
                                       : QStringLiteral(" properties")));
    } else if (m_printedLists.contains(writes)) {
        line(depth, text + QStringLiteral(", which then wrote the same as above"));
    } else {
        line(depth, text + QStringLiteral(", which then wrote"));
        m_printedLists.insert(writes);
        printWritten(writes, depth + 1);
    }
}

void FlowReport::printWritten(const QVector<int> &writes, int depth)
{
    QVector<Line> lines;
    int width = 0;
    for (const int write : writes) {
        lines.append({urlOf(m_flow.step(write).property), write, 0, -1});
        width = std::max(width, lines.last().url.size());
    }
    std::sort(lines.begin(), lines.end(),
              [](const Line &a, const Line &b) { return a.url < b.url; });
    for (const Line &write : qAsConst(lines)) {
        const DataFlow::Step &step = m_flow.step(write.step);
        const QVector<int> &reads = m_flow.properties().at(step.property).reads;
        const bool isRead = std::any_of(reads.begin(), reads.end(), [&](int read) {
            return m_flow.step(read).run != step.run;
        });
        QString text = write.url.leftJustified(width) + QStringLiteral("  ")
            + changeText(step.access->oldValue, step.access->value);
        if (step.access->isOfOwnCopy) {
            line(depth, text + QStringLiteral("  by relative URL, which nobody saves"));
        } else if (isRead && m_open.contains(step.property)) {
            line(depth, text + QStringLiteral("  see above: a circle"));
        } else if (isRead && m_printed.contains(step.property)) {
            line(depth, text + QStringLiteral("  see above"));
        } else {
            line(depth, text);
            m_printed.insert(step.property);
            m_open.append(step.property);
            printReaders(step.property, step.run, depth + 1);
            m_open.removeLast();
        }
    }
}

bool FlowReport::isTooDeep(int depth) const
{
    // A script and its values take two levels of indentation.
    return m_extent.depth >= 0 && (depth + 1) / 2 > m_extent.depth;
}

void FlowReport::line(int depth, const QString &text)
{
    m_output.line(QString(2 * depth, QLatin1Char(' ')) + text);
}

QString FlowReport::urlOf(int property) const
{
    const DataFlow::Property &named = m_flow.properties().at(property);
    return Output::printable(m_urls.urlOf(m_flow.trees().at(named.tree), named.path, named.key));
}

QString FlowReport::scriptOf(int step) const
{
    const ScriptRun &run = m_flow.runs().at(m_flow.step(step).run);
    return Output::printable(QStringLiteral("%1 (%2)").arg(run.instance, run.script));
}

QString FlowReport::valuesOf(int property) const
{
    const DataFlow::Property &changed = m_flow.properties().at(property);
    return changeText(changed.oldValue, changed.newValue);
}

QString FlowReport::valueText(const QVariant &value)
{
    if (!value.isValid()) {
        return QStringLiteral("missing");
    }
    const QString text = QString::fromUtf8(JsonValue::toText(value, JsonValue::Layout::Spaced));
    return Output::printable(
        text.size() <= s_shownValue ? text : text.left(s_shownValue - 1) + QStringLiteral("…"));
}

QString FlowReport::changeText(const QVariant &oldValue, const QVariant &newValue)
{
    if (JsonValue::areEqual(oldValue, newValue)) {
        return valueText(newValue);
    }
    if (!oldValue.isValid()) {
        return QStringLiteral("new ") + valueText(newValue);
    }
    // Of maps and lists what differs: ".max 4 -> 4.2".
    const QVector<PropertyChange> changes =
        PropertyChange{QString(), QString(), oldValue, newValue}.flattened();
    QStringList texts;
    int size = 0;
    for (const PropertyChange &change : changes) {
        const QString name = change.key.isEmpty() ? QString() : change.key + QLatin1Char(' ');
        const QString text = name
            + (change.oldValue.isValid() ? valueText(change.oldValue) + QStringLiteral(" -> ")
                                         : QStringLiteral("new "))
            + (change.newValue.isValid() ? valueText(change.newValue) : QStringLiteral("removed"));
        size += text.size();
        if (!texts.isEmpty() && size > s_shownValue) {
            texts.append(QStringLiteral("…"));
            break;
        }
        texts.append(text);
    }
    return Output::printable(texts.join(QStringLiteral(", ")));
}
