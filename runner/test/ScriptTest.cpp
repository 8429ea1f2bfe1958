#include "ScriptTest.h"

#include "filehost/Project.h"
#include "filehost/ProjectLayout.h"
#include "filehost/json/JsonEdit.h"
#include "filehost/json/JsonValue.h"
#include "filehost/store/Walls.h"
#include "runner/ScriptProbe.h"
#include "runner/test/JsonLines.h"
#include "runner/test/StepOutcome.h"

#include <QDir>
#include <QDirIterator>

#include <algorithm>

namespace ConfigScript {

namespace {

QString quotedList(QStringList names)
{
    for (QString &name : names) {
        name = QLatin1Char('"') + name + QLatin1Char('"');
    }
    const QString last = names.takeLast();
    return names.isEmpty() ? last
                           : names.join(QStringLiteral(", ")) + QStringLiteral(" or ") + last;
}

/// The blanks in front of the line that holds @p offset.
QByteArray indentationAt(const QByteArray &text, int offset)
{
    const int begin = text.lastIndexOf('\n', offset) + 1;
    int end = begin;
    while (text.at(end) == ' ' || text.at(end) == '\t') {
        ++end;
    }
    return text.mid(begin, end - begin);
}

QByteArray settingsText(const QVector<ScriptTest::Setting> &settings, const QByteArray &indentation)
{
    QVariantMap nodes;
    for (const ScriptTest::Setting &setting : settings) {
        QVariantMap values = nodes.value(setting.url).toMap();
        values.insert(setting.key, setting.value);
        nodes.insert(setting.url, values);
    }
    return JsonLines::toText(nodes, indentation, 0);
}

} // namespace

QString ScriptTest::Step::title() const
{
    if (isEvent()) {
        return argument.isEmpty() ? event : event + QLatin1Char(' ') + argument;
    }
    return resolved.isEmpty() ? QStringLiteral("resolve") : QStringLiteral("resolve ") + resolved;
}

QString ScriptTest::suffix()
{
    return QStringLiteral(".test.json");
}

QStringList ScriptTest::filesOf(const Project &project, Diagnostic &error)
{
    const QString folder = ProjectLayout(project.path()).testsFolder();
    QStringList paths;
    if (!Walls::liesInside(project.path(), folder)) {
        error = {folder, 0, 0, QStringLiteral("a link leads out of the project folder")};
        return paths;
    }
    QDirIterator files(folder, {QLatin1Char('*') + suffix()}, QDir::Files | QDir::System,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        if (path.endsWith(suffix())) { // name filters take upper case for lower case
            paths.append(project.relativePath(path));
        }
    }
    paths.sort();
    return paths;
}

ScriptTest::ScriptTest(const QString &filePath)
    : m_file(filePath)
{
    read();
}

Diagnostic ScriptTest::placeOf(int element, const QString &message) const
{
    Diagnostic place = m_file.json().placeOf(m_file.json().element(element).begin, message);
    place.file = m_file.filePath();
    return place;
}

Diagnostic ScriptTest::placeOfInstance(const QString &message) const
{
    return placeOf(m_instanceElement, message);
}

void ScriptTest::read()
{
    const QStringList known{QStringLiteral("description"), QStringLiteral("instance"),
                            QStringLiteral("set"), QStringLiteral("steps")};
    int steps = -1;
    const auto members = m_file.members();
    for (const auto &member : members) {
        switch (known.indexOf(member.first)) {
        case 0:
            m_description = m_file.string(member.second);
            break;
        case 1:
            m_instance = m_file.string(member.second);
            m_instanceElement = member.second;
            break;
        case 2:
            m_settings = readSettings(member.second);
            break;
        case 3:
            steps = member.second;
            break;
        default:
            refuseMember(member.second, known);
        }
    }
    if (m_file.hasFailed()) {
        return;
    }
    if (steps < 0) {
        m_file.fail(0, QStringLiteral("expected a member \"steps\""));
        return;
    }
    const QVector<int> all = elements(steps, QStringLiteral("an array of steps"));
    for (const int step : all) {
        readStep(step);
    }
    if (all.isEmpty()) {
        m_file.fail(steps, QStringLiteral("expected at least one step"));
    }
    const auto isRelative = [](const Setting &setting) {
        return !setting.url.contains(QLatin1String("://"));
    };
    const auto relative = std::find_if(m_settings.cbegin(), m_settings.cend(), isRelative);
    const auto event = std::find_if(m_steps.cbegin(), m_steps.cend(),
                                    [](const Step &step) { return step.isEvent(); });
    if (m_instance.isEmpty() && relative != m_settings.cend()) {
        m_file.fail(relative->element,
                    QStringLiteral("expected an \"instance\" for the relative URL \"%1\"")
                        .arg(relative->url));
    } else if (m_instance.isEmpty() && event != m_steps.cend()) {
        m_file.fail(event->element, QStringLiteral("expected an \"instance\" for the event"));
    }
}

void ScriptTest::readStep(int element)
{
    const QStringList known{QStringLiteral("set"), QStringLiteral("event"),
                            QStringLiteral("argument"), QStringLiteral("resolve"),
                            QStringLiteral("expect")};
    Step step;
    step.element = element;
    int set = -1;
    int event = -1;
    int argument = -1;
    int resolve = -1;
    const auto members = m_file.members(element);
    for (const auto &member : members) {
        switch (known.indexOf(member.first)) {
        case 0:
            set = member.second;
            step.settings = readSettings(set);
            break;
        case 1:
            event = member.second;
            step.event = m_file.string(event);
            break;
        case 2:
            argument = member.second;
            step.argument = m_file.string(argument);
            break;
        case 3:
            resolve = member.second;
            step.resolved = m_file.string(resolve);
            break;
        case 4:
            step.expectedElement = member.second;
            break;
        default:
            refuseMember(member.second, known);
        }
    }
    if (m_file.hasFailed()) {
        return;
    }
    const QStringList events = ScriptProbe::eventFunctions();
    if ((event < 0) == (resolve < 0)) {
        m_file.fail(element, QStringLiteral("expected either \"event\" or \"resolve\""));
    } else if (event >= 0 && !events.contains(step.event)) {
        m_file.fail(event,
                    QStringLiteral("expected an event, %1, found \"%2\"")
                        .arg(quotedList(events), step.event));
    } else if (resolve >= 0 && (set >= 0 || argument >= 0)) {
        m_file.fail(set >= 0 ? set : argument,
                    QStringLiteral("expected nothing but \"expect\" beside \"resolve\""));
    }
    for (const Setting &setting : qAsConst(step.settings)) {
        if (setting.url.contains(QLatin1String("://"))) {
            m_file.fail(setting.element,
                        QStringLiteral("expected a relative URL, since the user edits the "
                                       "instance alone, found \"%1\"")
                            .arg(setting.url));
        }
    }
    if (step.expectedElement >= 0) {
        readExpected(step.expectedElement, step);
    }
    m_steps.append(step);
}

void ScriptTest::readExpected(int element, Step &step)
{
    QStringList known = StepOutcome::members();
    const QStringList foreign = step.isEvent()
        ? QStringList{StepOutcome::announced(), StepOutcome::unsaved()}
        : QStringList{StepOutcome::reads()};
    for (const QString &name : foreign) {
        known.removeOne(name);
    }
    const auto members = m_file.members(element);
    for (const auto &member : members) {
        if (!known.contains(member.first)) {
            refuseMember(member.second, known);
        } else if (member.first == StepOutcome::result()) {
            const auto type = m_file.json().element(member.second).type;
            if (type != JsonText::Type::True && type != JsonText::Type::False) {
                expect(member.second, JsonText::Type::True, QStringLiteral("true or false"));
            }
        } else if (StepOutcome::defaultOf(member.first).userType() == QMetaType::QVariantMap) {
            readSettings(member.second);
        } else if (member.first == StepOutcome::errors()) {
            expectErrors(member.second, step.isEvent());
        } else {
            m_file.strings(member.second);
        }
    }
    if (!m_file.hasFailed()) {
        step.expected = m_file.json().value(element).toMap();
    }
}

void ScriptTest::expectErrors(int element, bool isEvent)
{
    QStringList known{QStringLiteral("url"), QStringLiteral("textId"), QStringLiteral("value")};
    if (!isEvent) {
        known.append(QStringLiteral("instance"));
    }
    const QVector<int> errors = elements(element, QStringLiteral("an array of reported errors"));
    for (const int error : errors) {
        const auto members = m_file.members(error);
        for (const auto &member : members) {
            if (!known.contains(member.first)) {
                refuseMember(member.second, known);
            } else if (member.first != known.at(2)) {
                m_file.string(member.second);
            }
        }
    }
}

QVector<ScriptTest::Setting> ScriptTest::readSettings(int element)
{
    QVector<Setting> settings;
    const auto nodes = m_file.members(element);
    for (const auto &node : nodes) {
        const auto properties = m_file.members(node.second);
        for (const auto &property : properties) {
            settings.append(
                {node.first, property.first, m_file.json().value(property.second), node.second});
        }
    }
    return settings;
}

QVector<int> ScriptTest::elements(int array, const QString &expected)
{
    QVector<int> result;
    if (expect(array, JsonText::Type::Array, expected)) {
        const JsonText &json = m_file.json();
        for (int i = json.firstChild(array); i < json.element(array).next;
             i = json.element(i).next) {
            result.append(i);
        }
    }
    return result;
}

bool ScriptTest::expect(int element, JsonText::Type type, const QString &expected)
{
    if (m_file.hasFailed() || m_file.json().element(element).type == type) {
        return !m_file.hasFailed();
    }
    m_file.fail(element, m_file.json().unexpected(element, expected).message);
    return false;
}

void ScriptTest::refuseMember(int valueElement, const QStringList &known)
{
    const int key = valueElement - 1;
    m_file.fail(key,
                QStringLiteral("expected %1, found \"%2\"")
                    .arg(quotedList(known), m_file.json().string(key)));
}

QByteArray ScriptTest::updated(const QVector<QVariantMap> &expected) const
{
    const JsonText &json = m_file.json();
    QByteArray text = json.text();
    // From the end, so that the places in front stay.
    for (int i = m_steps.size() - 1; i >= 0; --i) {
        const Step &step = m_steps.at(i);
        const QVariantMap &value = expected.at(i);
        const int element = step.expectedElement;
        if (JsonValue::areEqual(step.expected, value)) {
            continue;
        }
        const QStringList keys = value.keys();
        const bool isKnown = std::all_of(keys.begin(), keys.end(), [&step](const QString &key) {
            return step.expected.contains(key);
        });
        if (element < 0) {
            const int stepBegin = json.element(step.element).begin;
            const int firstKey = json.element(json.firstChild(step.element)).begin;
            const QByteArray lead = text.mid(stepBegin + 1, firstKey - stepBegin - 1);
            text.insert(endOfLastMember(step.element),
                        ',' + lead + "\"expect\": "
                            + StepOutcome::toText(value, indentationAt(text, firstKey)));
            continue;
        }
        const int begin = json.element(element).begin;
        QByteArray changed;
        if (isKnown) {
            JsonEdit edit(json);
            edit.setValue(element, value);
            changed = edit.result(element);
        } else {
            changed = StepOutcome::toText(value, indentationAt(text, begin));
        }
        text.replace(begin, json.end(element) - begin, changed);
    }
    return text;
}

int ScriptTest::endOfLastMember(int object) const
{
    const JsonText &json = m_file.json();
    int end = json.element(object).begin;
    for (int i = json.firstChild(object); i < json.element(object).next;
         i = json.element(i + 1).next) {
        end = json.end(i + 1);
    }
    return end;
}

QByteArray ScriptTest::toText(const QString &instance, const QVector<Step> &steps)
{
    const QByteArray inner("      ");
    QByteArray text = "{\n  \"instance\": " + JsonValue::toText(instance) + ",\n  \"steps\": [";
    for (int i = 0; i < steps.size(); ++i) {
        const Step &step = steps.at(i);
        text += i > 0 ? ",\n    {\n" : "\n    {\n";
        if (!step.settings.isEmpty()) {
            text += inner + "\"set\": " + settingsText(step.settings, inner) + ",\n";
        }
        text += step.isEvent() ? inner + "\"event\": " + JsonValue::toText(step.event) + ",\n"
                               : inner + "\"resolve\": " + JsonValue::toText(step.resolved) + ",\n";
        if (!step.argument.isEmpty()) {
            text += inner + "\"argument\": " + JsonValue::toText(step.argument) + ",\n";
        }
        text += inner + "\"expect\": " + StepOutcome::toText(step.expected, inner) + "\n    }";
    }
    return text + "\n  ]\n}\n";
}

} // namespace ConfigScript
