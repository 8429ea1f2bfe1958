#include "ScriptTestRecorder.h"

#include "runner/test/ScriptTest.h"
#include "runner/test/StepOutcome.h"

#include <QFileInfo>

namespace ConfigScript {

namespace ScriptTestRecorder {

QByteArray record(const Project &project, const QString &instance,
                  const QVector<EventRun::Event> &events, const RunReport &report)
{
    const QVector<QVariantMap> outcomes = StepOutcome::ofDialog(project, instance, report);
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
    return ScriptTest::toText(instance, steps);
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

} // namespace ConfigScript
