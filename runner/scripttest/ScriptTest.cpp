#include "ScriptTest.h"

#include "filehost/JsonEdit.h"
#include "filehost/JsonValue.h"
#include "filehost/Project.h"
#include "filehost/Walls.h"
#include "runner/check/ScriptProbe.h"
#include "runner/scripttest/OutcomeMember.h"
#include "runner/scripttest/OutcomeText.h"

#include <QDir>
#include <QDirIterator>

#include <algorithm>

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

/// The element of the key of a member, which stands in front of its value.
int keyOf(int valueElement)
{
    return valueElement - 1;
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
    const QString folder = project.path() + QStringLiteral("/tests");
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

Diagnostic ScriptTest::placeOfKey(int valueElement, const QString &message) const
{
    return placeOf(keyOf(valueElement), message);
}

Diagnostic ScriptTest::placeOfInstance(const QString &message) const
{
    return placeOf(m_instanceElement, message);
}

void ScriptTest::read()
{
    const Members members =
        readMembers(0,
                    {QStringLiteral("description"), QStringLiteral("instance"),
                     QStringLiteral("reach"), QStringLiteral("set"), QStringLiteral("steps")});
    m_description = textOf(members, QStringLiteral("description"));
    m_instance = textOf(members, QStringLiteral("instance"));
    m_instanceElement = members.value(QStringLiteral("instance"), 0);
    m_reach = readReach(members);
    m_settings = settingsOf(members);
    if (m_file.hasFailed()) {
        return;
    }
    const int steps = members.value(QStringLiteral("steps"), -1);
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
    checkInstance();
}

/// What needs an instance has one.
void ScriptTest::checkInstance()
{
    if (!m_instance.isEmpty()) {
        return;
    }
    const auto relative =
        std::find_if(m_settings.cbegin(), m_settings.cend(), [](const Setting &setting) {
            return !setting.url.contains(QLatin1String("://"));
        });
    const auto event = std::find_if(m_steps.cbegin(), m_steps.cend(),
                                    [](const Step &step) { return step.isEvent(); });
    if (relative != m_settings.cend()) {
        m_file.fail(relative->element,
                    QStringLiteral("expected an \"instance\" for the relative URL \"%1\"")
                        .arg(relative->url));
    } else if (event != m_steps.cend()) {
        m_file.fail(event->element, QStringLiteral("expected an \"instance\" for the event"));
    }
}

void ScriptTest::readStep(int element)
{
    const Members members =
        readMembers(element,
                    {QStringLiteral("set"), QStringLiteral("event"), QStringLiteral("argument"),
                     QStringLiteral("resolve"), QStringLiteral("expect")});
    Step step;
    step.element = element;
    step.settings = settingsOf(members);
    step.event = textOf(members, QStringLiteral("event"));
    step.argument = textOf(members, QStringLiteral("argument"));
    step.resolved = textOf(members, QStringLiteral("resolve"));
    step.expectedElement = members.value(QStringLiteral("expect"), -1);
    if (m_file.hasFailed()) {
        return;
    }
    checkStep(step, members);
    if (step.expectedElement >= 0) {
        readExpected(step.expectedElement, step);
    }
    m_steps.append(step);
}

void ScriptTest::checkStep(const Step &step, const Members &members)
{
    const int event = members.value(QStringLiteral("event"), -1);
    const int resolve = members.value(QStringLiteral("resolve"), -1);
    const int set = members.value(QStringLiteral("set"), -1);
    const int argument = members.value(QStringLiteral("argument"), -1);
    const QStringList events = ScriptProbe::eventFunctions();
    if ((event < 0) == (resolve < 0)) {
        m_file.fail(step.element, QStringLiteral("expected either \"event\" or \"resolve\""));
    } else if (event >= 0 && !events.contains(step.event)) {
        m_file.fail(event,
                    QStringLiteral("expected an event, %1, found \"%2\"")
                        .arg(quotedList(events), step.event));
    } else if (resolve >= 0 && (set >= 0 || argument >= 0)) {
        m_file.fail(set >= 0 ? set : argument,
                    QStringLiteral("expected nothing but \"expect\" beside \"resolve\""));
    }
    for (const Setting &setting : step.settings) {
        if (setting.url.contains(QLatin1String("://"))) {
            m_file.fail(setting.element,
                        QStringLiteral("expected a relative URL, since the user edits the "
                                       "instance alone, found \"%1\"")
                            .arg(setting.url));
        }
    }
}

/// The elements of an object's values by name; refuses other members than the @p known ones.
ScriptTest::Members ScriptTest::readMembers(int object, const QStringList &known)
{
    Members members;
    const auto all = m_file.members(object);
    for (const auto &member : all) {
        if (known.contains(member.first)) {
            members.insert(member.first, member.second);
        } else {
            refuseMember(member.second, known);
        }
    }
    return members;
}

/// Empty when there is no such member.
QString ScriptTest::textOf(const Members &members, const QString &name)
{
    return members.contains(name) ? m_file.string(members.value(name)) : QString();
}

QVector<ScriptTest::Setting> ScriptTest::settingsOf(const Members &members)
{
    const auto set = members.constFind(QStringLiteral("set"));
    return set == members.constEnd() ? QVector<Setting>() : readSettings(*set);
}

void ScriptTest::readExpected(int element, Step &step)
{
    QStringList known;
    for (const OutcomeMember &member : OutcomeMember::all()) {
        if (step.isEvent() ? member.isOfEvents : member.isOfResolves) {
            known.append(member.name);
        }
    }
    const auto members = m_file.members(element);
    for (const auto &member : members) {
        const OutcomeMember *kind = OutcomeMember::find(member.first);
        if (!known.contains(member.first)) {
            refuseMember(member.second, known);
        } else if (kind->id == OutcomeMember::Id::Result) {
            const auto type = m_file.json().element(member.second).type;
            if (type != JsonText::Type::True && type != JsonText::Type::False) {
                expect(member.second, JsonText::Type::True, QStringLiteral("true or false"));
            }
        } else if (kind->id == OutcomeMember::Id::Errors) {
            expectErrors(member.second, step.isEvent());
        } else if (kind->defaultValue.userType() == QMetaType::QVariantMap) {
            readSettings(member.second);
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

DialogReach ScriptTest::readReach(const Members &members)
{
    const auto element = members.constFind(QStringLiteral("reach"));
    if (element == members.constEnd()) {
        return DialogReach::Instance;
    }
    const QString name = m_file.string(*element);
    const auto reach = dialogReachOf(name);
    if (!reach && !m_file.hasFailed()) {
        m_file.fail(
            *element,
            QStringLiteral("expected %1, found \"%2\"").arg(quotedList(dialogReachNames()), name));
    }
    return reach.value_or(DialogReach::Instance);
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
    const int key = keyOf(valueElement);
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
                            + OutcomeText::toText(value, indentationAt(text, firstKey)));
            continue;
        }
        const int begin = json.element(element).begin;
        QByteArray changed;
        if (isKnown) {
            JsonEdit edit(json);
            edit.setValue(element, value);
            changed = edit.result(element);
        } else {
            changed = OutcomeText::toText(value, indentationAt(text, begin));
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
