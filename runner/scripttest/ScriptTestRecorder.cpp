#include "ScriptTestRecorder.h"

#include "filehost/JsonValue.h"
#include "runner/scripttest/JsonLines.h"
#include "runner/scripttest/OutcomeText.h"
#include "runner/scripttest/ScriptTest.h"
#include "runner/scripttest/StepOutcome.h"

#include <QFileInfo>

namespace ScriptTestRecorder {

namespace {

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

QByteArray toText(const QString &instance, DialogReach reach,
                  const QVector<ScriptTest::Step> &steps)
{
    const QByteArray inner("      ");
    QByteArray text = "{\n  \"instance\": " + JsonValue::toText(instance);
    if (reach != DialogReach::Instance) {
        text += ",\n  \"reach\": " + JsonValue::toText(nameOf(reach));
    }
    text += ",\n  \"steps\": [";
    for (int i = 0; i < steps.size(); ++i) {
        const ScriptTest::Step &step = steps.at(i);
        text += i > 0 ? ",\n    {\n" : "\n    {\n";
        if (!step.settings.isEmpty()) {
            text += inner + "\"set\": " + settingsText(step.settings, inner) + ",\n";
        }
        text += step.isEvent() ? inner + "\"event\": " + JsonValue::toText(step.event) + ",\n"
                               : inner + "\"resolve\": " + JsonValue::toText(step.resolved) + ",\n";
        if (!step.argument.isEmpty()) {
            text += inner + "\"argument\": " + JsonValue::toText(step.argument) + ",\n";
        }
        text += inner + "\"expect\": " + OutcomeText::toText(step.expected, inner) + "\n    }";
    }
    return text + "\n  ]\n}\n";
}

QByteArray record(const Project &project, const QString &instance, DialogReach reach,
                  const QVector<EventRun::Event> &events, const RunRecord &record)
{
    const QVector<QVariantMap> outcomes = StepOutcome::ofDialog(project, instance, record);
    QVector<ScriptTest::Step> steps;
    for (int i = 0; i < events.size(); ++i) {
        const EventRun::Event &event = events.at(i);
        ScriptTest::Step step;
        step.event = event.function;
        step.argument = event.argument;
        for (const EventRun::Edit &edit : event.edits) {
            step.settings.append({edit.relUrl, edit.key, edit.value, -1});
        }
        step.expected = StepOutcome::recorded(outcomes.at(i));
        steps.append(step);
    }
    return toText(instance, reach, steps);
}

Diagnostic fileError(const QString &filePath)
{
    const QFileInfo info(filePath);
    QString message;
    if (!filePath.endsWith(ScriptTest::suffix())) {
        message = QStringLiteral("expected a file name that ends in ") + ScriptTest::suffix();
    } else if (info.exists() || info.isSymLink()) {
        message = QStringLiteral("exists already, and is left as it is");
    }
    return {filePath, 0, 0, message};
}

} // namespace ScriptTestRecorder
