#include "configscript/ProgramRun.h"
#include "editor/EditorTest.h"
#include "editor/model/NodeModel.h"
#include "editor/window/DependencyDialog.h"
#include "editor/window/JsonDialog.h"
#include "editor/window/NodePanel.h"
#include "editor/window/NodeView.h"
#include "editor/worker/ScriptStopper.h"
#include "runner/run/EventRun.h"
#include "runner/run/ScratchCopy.h"
#include "runner/scripttest/ScriptTestRecorder.h"
#include "runner/scripttest/ScriptTestRun.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStatusBar>
#include <QTest>
#include <QTimer>

Q_DECLARE_METATYPE(DialogReach)

namespace {

const QString s_pump = QStringLiteral("line1/pump1");
const QString s_ratedPower = QStringLiteral("motor/ratedPower");
const QString s_inputPower = QStringLiteral("motor/inputPower");
const QString s_pumpFile = QStringLiteral("pump-station/configuration/line1/pump1.json");

const QString s_speedLimits = QStringLiteral("limits/speed");
const QString s_thresholds = QStringLiteral("thresholds");

/// Presses a button of the message box that comes next, and keeps its text.
void answerNextBox(QMessageBox::StandardButton button, QString *text)
{
    QTimer::singleShot(0, qApp, [button, text] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box) {
            answerNextBox(button, text); // not there yet
            return;
        }
        if (text) {
            *text = box->text();
        }
        box->button(button)->click();
    });
}

const QString s_test = QStringLiteral("pump-station/tests/line1-pump1.test.json");

const QByteArray s_throwing("function onOpen() {}\n"
                            "function onValueChange() {\n"
                            "  throw new RangeError('far');\n"
                            "}\n");

/// Takes the file that the next dialog offers, or leaves the dialog without one.
void answerNextFile(QDialog::DialogCode answer)
{
    QTimer::singleShot(0, qApp, [answer] {
        auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        if (!dialog) {
            answerNextFile(answer); // not there yet
        } else if (answer == QDialog::Accepted) {
            static_cast<QDialog *>(dialog)->accept();
        } else {
            dialog->reject();
        }
    });
}

/// Records a test with the menu.
bool record(EditorSession &session, QDialog::DialogCode answer = QDialog::Accepted)
{
    answerNextFile(answer);
    return session.press(QStringLiteral("Record Test..."));
}

/// Changes a field without the keyboard, which goes nowhere without a screen after a dialog.
bool change(EditorSession &session, int ratedPower)
{
    NodeModel &model = session.window().nodePanel().model();
    return model.setData(model.indexOf(s_ratedPower), ratedPower) && session.settle();
}

/// What the command records of these events of the pump.
QByteArray recordedByCommand(const EditorSession &session, const QVector<EventRun::Event> &events)
{
    Diagnostic diagnostic;
    const auto project =
        Project::open(session.folder().path(QStringLiteral("pump-station")), diagnostic);
    ScriptStopper guard;
    EventRun run(*project, s_pump, DialogReach::Instance, guard);
    run.setRecording(RunRecorder::Recording::Accesses);
    QString error;
    const auto report = run.run(events, HostSession::Writing::Nothing, error);
    return report
        ? ScriptTestRecorder::record(*project, s_pump, DialogReach::Instance, events, *report)
        : error.toUtf8();
}

/// Whether the command finds that the recorded test passes.
bool passes(const EditorSession &session)
{
    Diagnostic error;
    const auto project =
        Project::open(session.folder().path(QStringLiteral("pump-station")), error);
    const auto copy = ScratchCopy::make(*project, error);
    ScriptStopper guard;
    return ScriptTestRun(*copy, guard).run(ScriptTest(session.folder().path(s_test))).hasPassed();
}

QModelIndex lastEvent(const EventsModel &events)
{
    return events.index(events.rowCount() - 1, 0);
}

} // namespace

/// Drives the real window with the keyboard, on a copy of the examples.
class EditingTest : public EditorTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void showsTheScriptsAnswerAndTheErrorAtItsField();
    void keepsAnInstanceUnsavedWhileItsScriptRefuses();
    void savesAndWritesTheDependenciesThatTheUserAccepts();
    void leavesTheDependenciesThatTheUserRefuses();
    void undoesAnEditTogetherWithTheScriptsAnswer();
    void undoesAPropertyThatAScriptAdded();
    void countsAFastSeriesOfStepsAsOneEdit();
    void editsAMapOnManyLines();
    void goesOnWithManyLinesWhereTheLineWasLeft();
    void stopsAScriptThatDoesNotEnd();
    void readsAScriptThatChangedOnTheDiskAndKeepsTheEdits();
    void readsAFileThatAppears_data();
    void readsAFileThatAppears();
    void neverOverwritesAFileThatAnotherProgramChanged();
    void showsWhereABrokenTreeIsWrong();
    void showsWhyAnInstanceCannotBeUsed_data();
    void showsWhyAnInstanceCannotBeUsed();
    void editsAndSavesAnInstanceWithoutAScript();
    void previewsDependenciesInsideTheUnsavedTree();
    void previewsWhatTheCommandDoesInPlace();
    void writesNothingWhenAFileChangedAfterTheProposal();
    void showsLabelsInTheChosenLanguage();
    void asksBeforeItClosesWithUnsavedWork_data();
    void asksBeforeItClosesWithUnsavedWork();
    void staysOpenWhenAScriptRefusesTheLastSave();
    void worksOnWithABrokenManifest();
    void leavesAnInstanceThatIsSavedAndKeepsOneThatIsNot();
    void doesNotOverwriteWhatTheUserTypesWithWhatAScriptWrites();
    void recordsASessionAsTheCommandDoes();
    void recordsWhatWasUndoneAndKeptAsEdits();
    void makesTheFolderOfTheTestsForATestOnly();
    void recordsAnewAfterASave();
    void recordsNothingThatATestCannotDo();
    void tellsWhereARecordedTestFails();
    void recordsATestThatReachesWhatTheDialogReached_data();
    void recordsATestThatReachesWhatTheDialogReached();
    void savesWhatAScriptWroteIntoOtherInstances();
    void showsAnExceptionOnceWithFileAndLine();
    void recordsExceptions();
};

void EditingTest::initTestCase()
{
    QCoreApplication::setOrganizationName(QStringLiteral("ConfigScriptTests"));
}

void EditingTest::showsTheScriptsAnswerAndTheErrorAtItsField()
{
    EditorSession session;
    QVERIFY(session.open(s_pump));
    QCOMPARE(session.shown(s_inputPower, NodeModel::ValueColumn), QStringLiteral("12.04"));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("200")));

    QCOMPARE(session.shown(s_inputPower, NodeModel::ValueColumn), QStringLiteral("218.82"));
    QCOMPARE(session.shown(s_inputPower, NodeModel::RemarkColumn),
             QStringLiteral("was 12.04; by the script"));
    QCOMPARE(session.shown(s_ratedPower, NodeModel::RemarkColumn),
             QStringLiteral("The value is above the maximum. (90)"));
    NodeModel &model = session.window().nodePanel().model();
    QCOMPARE(model.indexOf(s_ratedPower).data(NodeModel::MarkRole).value<Field::Mark>(),
             Field::Mark::ByUser);
    QCOMPARE(model.indexOf(s_inputPower).data(NodeModel::MarkRole).value<Field::Mark>(),
             Field::Mark::ByScript);

    InstanceModel &instances = session.window().workspace().instances();
    const QModelIndex pump = instances.indexOf(s_pump);
    QCOMPARE(pump.siblingAtColumn(InstanceModel::UnsavedColumn).data(Qt::ToolTipRole).toString(),
             QStringLiteral("2 unsaved values"));
    QCOMPARE(pump.siblingAtColumn(InstanceModel::ErrorColumn).data(Qt::ToolTipRole).toString(),
             QStringLiteral("1 error"));

    // The list of errors leads to the field.
    auto *errors = session.window().findChild<QListWidget *>();
    QCOMPARE(errors->count(), 1);
    QCOMPARE(errors->item(0)->text(),
             QStringLiteral("Rated power: The value is above the maximum. (90)"));
    NodeView &view = session.window().nodePanel().view();
    view.setCurrentIndex(model.indexOf(s_inputPower));
    errors->setCurrentRow(0);
    errors->setFocus();
    QTest::keyClick(errors, Qt::Key_Return);
    QCOMPARE(view.currentIndex().data(NodeModel::PathRole).toString(), s_ratedPower);
}

void EditingTest::keepsAnInstanceUnsavedWhileItsScriptRefuses()
{
    EditorSession session;
    const Files before = session.folder().files();
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("200")));
    QVERIFY(session.press(QStringLiteral("Save")));

    QVERIFY(session.document().isUnsaved());
    QCOMPARE(session.document().notice(),
             QStringLiteral("Not saved: the script reports an error."));
    QVERIFY(!session.window().dependencyDialog());
    QCOMPARE(session.folder().files(), before);
}

void EditingTest::savesAndWritesTheDependenciesThatTheUserAccepts()
{
    EditorSession session;
    const Files before = session.folder().files();
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("200")));
    QVERIFY(session.press(QStringLiteral("Save")));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("15")));
    QVERIFY(session.document().errors().isEmpty());
    QVERIFY(session.press(QStringLiteral("Save")));
    QVERIFY(!session.document().isUnsaved());
    QCOMPARE(session.stored(s_pump, s_ratedPower), QVariant(15));
    QCOMPARE(session.stored(s_pump, s_inputPower), QVariant(16.41));
    // The view keeps its place.
    QCOMPARE(
        session.window().nodePanel().view().currentIndex().data(NodeModel::PathRole).toString(),
        s_ratedPower);

    DependencyDialog *dialog = session.window().dependencyDialog();
    QVERIFY(dialog);
    const QStandardItemModel &changes = dialog->changes();
    QCOMPARE(changes.rowCount(), 1);
    const QString process = QStringLiteral("process/line1/pump1.json");
    QCOMPARE(changes.item(0)->text(), process);
    QCOMPARE(changes.item(0)->rowCount(), 1);
    QCOMPARE(changes.item(0)->child(0, 0)->text(), QStringLiteral("measurements/power:range.max"));
    QCOMPARE(changes.item(0)->child(0, 1)->text(), QStringLiteral("13.2"));
    QCOMPARE(changes.item(0)->child(0, 2)->text(), QStringLiteral("18"));
    Files saved = session.folder().files();
    QCOMPARE(saved.value(QStringLiteral("pump-station/") + process),
             before.value(QStringLiteral("pump-station/") + process));

    dialog->accept();
    QVERIFY(session.settle());
    const Files after = session.folder().files();
    Files expected = before;
    expected[s_pumpFile].replace("\"value\": 11,\n            \"unit\": \"kW\"",
                                 "\"value\": 15,\n            \"unit\": \"kW\"");
    expected[s_pumpFile].replace("12.04", "16.41");
    expected[QStringLiteral("pump-station/") + process].replace("13.2", "18");
    for (const QString &name : expected.keys()) {
        QCOMPARE(after.value(name), expected.value(name));
    }
}

void EditingTest::leavesTheDependenciesThatTheUserRefuses()
{
    EditorSession session;
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("15")));
    QVERIFY(session.press(QStringLiteral("Save")));
    const Files saved = session.folder().files();
    QVERIFY(session.window().dependencyDialog());
    session.window().dependencyDialog()->reject();
    QVERIFY(session.settle());
    QCOMPARE(session.folder().files(), saved);
}

void EditingTest::undoesAnEditTogetherWithTheScriptsAnswer()
{
    EditorSession session;
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("200")));
    QVERIFY(session.press(QStringLiteral("Undo")));
    QCOMPARE(session.shown(s_ratedPower, NodeModel::ValueColumn), QStringLiteral("11"));
    QCOMPARE(session.shown(s_inputPower, NodeModel::ValueColumn), QStringLiteral("12.04"));
    QVERIFY(session.document().errors().isEmpty());
    QVERIFY(!session.document().isUnsaved());

    QVERIFY(session.press(QStringLiteral("Redo")));
    QCOMPARE(session.shown(s_inputPower, NodeModel::ValueColumn), QStringLiteral("218.82"));
    QCOMPARE(session.document().errors().size(), 1);

    // The tree of the script goes with what is shown.
    QVERIFY(session.press(QStringLiteral("Undo")));
    QVERIFY(session.enter(QStringLiteral("motor/efficiency"), QStringLiteral("50")));
    QCOMPARE(session.shown(s_inputPower, NodeModel::ValueColumn), QStringLiteral("22"));
}

void EditingTest::undoesAPropertyThatAScriptAdded()
{
    EditorSession session;
    session.folder().write(
        QStringLiteral("pump-station/scripts/pump.js"),
        "function onOpen() {}\n"
        "function onValueChange(api, url) { api.setProperty(url, 'note', 'seen'); }\n"
        "function onOk(api) { return api.getProperty('motor/ratedPower', 'note') === undefined; "
        "}\n");
    const Files before = session.folder().files();
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("15")));
    QCOMPARE(session.shown(s_ratedPower, NodeModel::ValueColumn, QStringLiteral("note")),
             QStringLiteral("seen"));
    QVERIFY(session.press(QStringLiteral("Undo")));
    QVERIFY(!session.document().isUnsaved());
    QVERIFY(session.press(QStringLiteral("Save")));
    QVERIFY(session.document().notice().isEmpty()); // the script no longer finds it, either
    QCOMPARE(session.folder().files().value(s_pumpFile), before.value(s_pumpFile));
}

void EditingTest::countsAFastSeriesOfStepsAsOneEdit()
{
    EditorSession session;
    QVERIFY(session.open(s_pump));
    NodePanel &panel = session.window().nodePanel();
    panel.view().jumpTo(panel.model().indexOf(s_ratedPower));
    QTest::keyClick(&panel.view(), Qt::Key_F2);
    QWidget *editor = QApplication::focusWidget();
    for (int i = 0; i < 5; ++i) {
        QTest::keyClick(editor, Qt::Key_Up);
    }
    QCOMPARE(session.document().undoStack().count(), 0);
    QTRY_COMPARE(session.document().undoStack().count(), 1);
    QCOMPARE(session.shown(s_ratedPower, NodeModel::ValueColumn), QStringLiteral("16"));
    QCOMPARE(session.shown(s_inputPower, NodeModel::ValueColumn), QStringLiteral("17.51"));
}

void EditingTest::editsAMapOnManyLines()
{
    EditorSession session;
    QVERIFY(session.open(s_pump));
    NodePanel &panel = session.window().nodePanel();
    const QModelIndex field = panel.model().indexOf(s_speedLimits, s_thresholds);
    panel.view().jumpTo(field);
    QTest::keyClick(&panel.view(), Qt::Key_Return, Qt::ControlModifier);
    auto *dialog = session.window().findChild<JsonDialog *>();
    QVERIFY(dialog);
    QVERIFY(dialog->isVisible());
    QCOMPARE(dialog->windowTitle(), QStringLiteral("limits/speed:thresholds"));
    auto *text = dialog->findChild<QPlainTextEdit *>();
    QCOMPARE(text->toPlainText(), QStringLiteral("{\n    \"max\": 1524,\n    \"min\": 586\n}"));

    const auto *error = dialog->findChild<QLabel *>();
    auto *ok = dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok);
    text->setPlainText(QStringLiteral("{\n  \"max\": 1600,\n  min: 600\n}"));
    QCOMPARE(error->text(),
             QStringLiteral("3:3: expected a member's name in double quotes, found 'm'"));
    QVERIFY(!ok->isEnabled());
    text->setPlainText(QStringLiteral("{\n  \"max\": 1600,\n  \"min\": 600\n}"));
    QCOMPARE(error->text(), QString());
    QApplication::setActiveWindow(dialog); // which nobody else does without a screen
    QTest::keyClick(text, Qt::Key_Return, Qt::ControlModifier);
    QTRY_VERIFY(session.document().isUnsaved()); // the button is pressed for a moment
    QVERIFY(session.settle());
    QCOMPARE(field.data().toString(), QStringLiteral("{ \"max\": 1600, \"min\": 600 }"));
    QCOMPARE(session.document().undoStack().count(), 1); // one event
}

void EditingTest::goesOnWithManyLinesWhereTheLineWasLeft()
{
    EditorSession session;
    QVERIFY(session.open(s_pump));
    NodePanel &panel = session.window().nodePanel();
    panel.view().jumpTo(panel.model().indexOf(s_speedLimits, s_thresholds));
    QTest::keyClick(&panel.view(), Qt::Key_F2);
    QWidget *line = QApplication::focusWidget();
    QTest::keyClick(line, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(line, QStringLiteral("{ \"max\": "));
    QTest::keyClick(line, Qt::Key_Return, Qt::ControlModifier);
    auto *dialog = session.window().findChild<JsonDialog *>();
    QVERIFY(dialog);
    QCOMPARE(dialog->findChild<QPlainTextEdit *>()->toPlainText(), QStringLiteral("{ \"max\": "));
    dialog->reject();
    QVERIFY(session.settle());
    QVERIFY(!session.document().isUnsaved());
}

void EditingTest::stopsAScriptThatDoesNotEnd()
{
    EditorSession session;
    session.folder().write(QStringLiteral("pump-station/scripts/pump.js"),
                           "function onOpen() {}\n"
                           "function onValueChange() { while (true) {} }\n"
                           "function onOk() {}\n");
    QVERIFY(session.open(s_pump));
    NodePanel &panel = session.window().nodePanel();
    panel.model().setData(panel.model().indexOf(s_ratedPower), 15);
    auto *stop = session.window().findChild<QPushButton *>(QStringLiteral("stop"));
    QVERIFY(!stop->isVisible());
    QTRY_VERIFY(stop->isVisible());
    QVERIFY(session.window().workspace().isBusy());
    stop->click();
    QVERIFY(session.settle());
    QVERIFY(!stop->isVisible());
    QCOMPARE(session.document().notice(), QStringLiteral("onValueChange was stopped by the user."));
    QVERIFY(session.press(QStringLiteral("Save"))); // scripts run again
    QVERIFY(!session.document().isUnsaved());
}

void EditingTest::readsAScriptThatChangedOnTheDiskAndKeepsTheEdits()
{
    EditorSession session;
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("15")));
    session.folder().write(
        QStringLiteral("pump-station/scripts/pump.js"),
        "function onOpen(api) { api.setProperty('motor/inputPower', 'value', 1); }\n");
    QTRY_COMPARE(session.shown(s_inputPower, NodeModel::ValueColumn), QStringLiteral("1"));
    QCOMPARE(session.shown(s_ratedPower, NodeModel::ValueColumn), QStringLiteral("15"));

    session.folder().write(QStringLiteral("pump-station/scripts/pump.js"), "function onOpen( {}\n");
    QTRY_COMPARE(session.document().problem(),
                 QStringLiteral("scripts/pump.js:2: SyntaxError: Expected token `)'"));
    QVERIFY(session.document().isUnsaved());
    session.folder().write(QStringLiteral("pump-station/scripts/pump.js"),
                           "function onOpen() {}\n");
    QTRY_VERIFY(session.document().problem().isEmpty());
    QCOMPARE(session.shown(s_ratedPower, NodeModel::ValueColumn), QStringLiteral("15"));
}

void EditingTest::readsAFileThatAppears_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("problem");
    QTest::newRow("script") << QStringLiteral("pump-station/scripts/pump.js")
                            << QStringLiteral("scripts/pump.js: no such file");
    QTest::newRow("tree") << s_pumpFile << QStringLiteral("no instance \"line1/pump1\"");
}

void EditingTest::readsAFileThatAppears()
{
    QFETCH(const QString, file);
    QFETCH(const QString, problem);
    EditorSession session;
    const QByteArray text = session.folder().files().value(file);
    session.folder().remove(file);
    QVERIFY(session.open(s_pump));
    QCOMPARE(session.document().problem(), problem);
    const MessagesModel &messages = session.window().workspace().messages();
    QCOMPARE(messages.rowCount(), 1);

    const QString folder = file.left(file.lastIndexOf(QLatin1Char('/')) + 1);
    session.folder().write(folder + QStringLiteral("other.txt"), "");
    QTest::qWait(500);
    QVERIFY(session.settle());
    QCOMPARE(messages.rowCount(), 1); // what is still wrong is not told again
    session.folder().write(file, text);
    QTRY_COMPARE(session.document().problem(), QString());
}

void EditingTest::neverOverwritesAFileThatAnotherProgramChanged()
{
    EditorSession session;
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("15")));
    QByteArray text = session.folder().files().value(s_pumpFile);
    text.replace("Hall A, row 1", "Hall B, row 2");
    session.folder().write(s_pumpFile, text);
    QVERIFY(session.press(QStringLiteral("Save")));
    QVERIFY(session.document().isUnsaved());
    QVERIFY(session.document().offersReload());
    QVERIFY2(session.document().notice().contains(
                 QStringLiteral("the file has changed since it was read")),
             qPrintable(session.document().notice()));
    QCOMPARE(session.folder().files().value(s_pumpFile), text);

    QVERIFY(session.press(QStringLiteral("Reload, Keeping Changes")));
    QCOMPARE(session.shown(s_ratedPower, NodeModel::ValueColumn), QStringLiteral("15"));
    QCOMPARE(session.shown(QStringLiteral("identification/location"), NodeModel::ValueColumn),
             QStringLiteral("Hall B, row 2"));
    QVERIFY(session.press(QStringLiteral("Save")));
    QVERIFY(!session.document().isUnsaved());
    QCOMPARE(session.stored(s_pump, QStringLiteral("identification/location")),
             QVariant(QStringLiteral("Hall B, row 2")));
}

void EditingTest::showsWhereABrokenTreeIsWrong()
{
    EditorSession session;
    session.folder().write(s_pumpFile, "{\n  \"properties\": { \"a\": 1. }\n}\n");
    QVERIFY(session.open(s_pump));
    const QString problem = session.document().problem();
    QVERIFY2(problem.startsWith(QStringLiteral("configuration/line1/pump1.json:2:26: expected")),
             qPrintable(problem));
    bool isShown = false;
    const auto labels = session.window().findChildren<QLabel *>();
    for (const QLabel *label : labels) {
        isShown = isShown || (label->isVisible() && label->text() == problem);
    }
    QVERIFY(isShown);
    QVERIFY(session.open(QStringLiteral("line1/pump2"))); // the program goes on
    QVERIFY(session.document().problem().isEmpty());
}

void EditingTest::showsWhyAnInstanceCannotBeUsed_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content"); // null removes the file
    QTest::addColumn<QString>("problem");
    const QString script = QStringLiteral("pump-station/scripts/pump.js");
    QTest::newRow("no tree") << s_pumpFile << QByteArray()
                             << QStringLiteral("no instance \"line1/pump1\"");
    QTest::newRow("no script") << script << QByteArray()
                               << QStringLiteral("scripts/pump.js: no such file");
    QTest::newRow("empty script") << script << QByteArray("")
                                  << QStringLiteral("scripts/pump.js: the file is empty");
    QTest::newRow("script elsewhere")
        << s_pumpFile << QByteArray("{ \"properties\": { \"scriptFile\": \"../a.js\" } }")
        << QStringLiteral("configuration/line1/pump1.json:1:33: \"../a.js\" leads out of the "
                          "scripts' folder");
}

void EditingTest::showsWhyAnInstanceCannotBeUsed()
{
    QFETCH(const QString, file);
    QFETCH(const QByteArray, content);
    QFETCH(const QString, problem);
    EditorSession session;
    if (content.isNull()) {
        session.folder().remove(file);
    } else {
        session.folder().write(file, content);
    }
    QVERIFY(session.open(s_pump));
    QCOMPARE(session.document().problem(), problem);
}

void EditingTest::editsAndSavesAnInstanceWithoutAScript()
{
    EditorSession session;
    const QString feeder = QStringLiteral("cabinet/feeder1");
    const QString current = QStringLiteral("breaker/ratedCurrent");
    QVERIFY(session.open(feeder));
    QCOMPARE(session.document().problem(), QString());
    QVERIFY(session.enter(current, QStringLiteral("40")));
    QVERIFY(session.document().isUnsaved());
    QCOMPARE(session.document().notice(), QString());
    QVERIFY(session.press(QStringLiteral("Save")));
    QVERIFY(!session.document().isUnsaved());
    QCOMPARE(session.stored(feeder, current), QVariant(40));
    QCOMPARE(session.window().workspace().events().rowCount(), 0);
}

void EditingTest::previewsDependenciesInsideTheUnsavedTree()
{
    EditorSession session;
    const Files before = session.folder().files();
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(QStringLiteral("motor/ratedSpeed"), QStringLiteral("2000")));
    QVERIFY(session.press(QStringLiteral("Preview Dependencies")));
    DependencyDialog *dialog = session.window().dependencyDialog();
    QVERIFY(dialog);
    QCOMPARE(dialog->changes().rowCount(), 1);
    QCOMPARE(dialog->changes().item(0)->text(), QStringLiteral("configuration/line1/pump1.json"));
    QStandardItem *file = dialog->changes().item(0);
    const int last = file->rowCount() - 1;
    QCOMPARE(file->child(last, 0)->text(), QStringLiteral("limits/speed:thresholds.min"));
    QCOMPARE(file->child(last, 1)->text(), QStringLiteral("586"));
    QCOMPARE(file->child(last, 2)->text(), QStringLiteral("800"));
    dialog->reject();
    QVERIFY(session.settle());
    QCOMPARE(session.folder().files(), before);
    QCOMPARE(session.shown(s_speedLimits, NodeModel::ValueColumn, s_thresholds),
             QStringLiteral("{ \"max\": 1524, \"min\": 586 }"));
}

void EditingTest::previewsWhatTheCommandDoesInPlace()
{
    EditorSession session;
    session.folder().write(QStringLiteral("pump-station/configuration/manifest.json"),
                           "[ { \"dependencyFileExtern\": [ { \"instanceName\": \"mixer/a\" },"
                           " { \"instanceName\": \"mixer/b\" },"
                           " { \"instanceName\": \"mixer/c\" } ] } ]\n");
    session.folder().write(
        QStringLiteral("pump-station/configuration/mixer.json"),
        "{ \"children\": {\n"
        "  \"a\": { \"properties\": { \"dependencyFileExtern\": \"good.js\", \"speed\": 1 } },\n"
        "  \"b\": { \"properties\": { \"dependencyFileExtern\": \"hidden.js\" } } } }\n");
    session.folder().write(
        QStringLiteral("pump-station/dependency/good.js"),
        "function onSave(api, url) { api.setPropertyExtern(url, 'speed', 2); }\n");
    session.folder().write(QStringLiteral("pump-station/dependency/hidden.js"),
                           "const onSave = () => {};\n");
    QVERIFY(session.open(QStringLiteral("mixer")));
    // The order of the instances is that of a hash.
    qSetGlobalQHashSeed(0);
    QVERIFY(session.press(QStringLiteral("Preview Dependencies")));
    qSetGlobalQHashSeed(-1);
    const DependencyDialog *dialog = session.window().dependencyDialog();
    QVERIFY(dialog);
    QStringList texts;
    const auto *list = dialog->findChild<QListWidget *>();
    for (int i = 0; i < list->count(); ++i) {
        texts.append(list->item(i)->text());
    }

    Program program(session.folder().path());
    program.setVariable(QStringLiteral("QT_HASH_SEED"), QStringLiteral("0"));
    const ProgramRun run = program.run({QStringLiteral("resolve"), QStringLiteral("--in-place"),
                                        QStringLiteral("pump-station/configuration/mixer.json"),
                                        QStringLiteral("--instance"), QStringLiteral("mixer")});
    const QString ranInstead = QStringLiteral(
        "onSave of dependency/good.js ran instead: dependency/hidden.js defines none");
    const QString notRun = QStringLiteral("see the messages; the tree is that of \"mixer\"");
    QVERIFY2(run.output.contains(QStringLiteral("FAILED   mixer/b  dependency/hidden.js  # ms\n")),
             qPrintable(run.output));
    QVERIFY2(run.output.contains(ranInstead), qPrintable(run.output));
    QVERIFY2(run.output.contains(QStringLiteral("NOT RUN  mixer/c  ") + notRun),
             qPrintable(run.output));
    QCOMPARE(texts,
             (QStringList{QStringLiteral("mixer/b, dependency/hidden.js: ") + ranInstead,
                          QStringLiteral("mixer/c did not run: ") + notRun}));
    dialog->findChild<QDialogButtonBox *>()->rejected();
}

void EditingTest::showsLabelsInTheChosenLanguage()
{
    EditorSession session;
    QVERIFY(session.open(s_pump));
    QCOMPARE(session.shown(s_ratedPower, NodeModel::FieldColumn), QStringLiteral("Rated power"));
    QVERIFY(session.press(QStringLiteral("de")));
    QCOMPARE(session.shown(s_ratedPower, NodeModel::FieldColumn), QStringLiteral("Nennleistung"));
    QCOMPARE(session.shown(QStringLiteral("motor/ratedSpeed"), NodeModel::UnitColumn),
             QStringLiteral("1/min"));
}

void EditingTest::writesNothingWhenAFileChangedAfterTheProposal()
{
    EditorSession session;
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("15")));
    QVERIFY(session.press(QStringLiteral("Save")));
    const QString process = QStringLiteral("pump-station/process/line1/pump1.json");
    QByteArray text = session.folder().files().value(process);
    text.replace("13.2", "13.5");
    session.folder().write(process, text);
    const Files before = session.folder().files();
    QString warning;
    answerNextBox(QMessageBox::Ok, &warning);
    session.window().dependencyDialog()->accept();
    QVERIFY(session.settle());
    QCOMPARE(warning,
             QStringLiteral("Nothing is written: process/line1/pump1.json: "
                            "\"measurements/power:range\" has changed since; resolve again"));
    QCOMPARE(session.folder().files(), before);
}

void EditingTest::asksBeforeItClosesWithUnsavedWork_data()
{
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("isClosed");
    QTest::addColumn<bool>("isSaved");
    QTest::newRow("save") << int(QMessageBox::Save) << true << true;
    QTest::newRow("discard") << int(QMessageBox::Discard) << true << false;
    QTest::newRow("cancel") << int(QMessageBox::Cancel) << false << false;
}

void EditingTest::asksBeforeItClosesWithUnsavedWork()
{
    QFETCH(const int, answer);
    QFETCH(const bool, isClosed);
    QFETCH(const bool, isSaved);
    EditorSession session;
    const QString other = QStringLiteral("line1/pump2");
    const QVariant before = session.stored(other, s_ratedPower);
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("15")));
    QVERIFY(session.open(other));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("16")));
    QString question;
    answerNextBox(QMessageBox::StandardButton(answer), &question);
    session.window().close();
    QCOMPARE(question, QStringLiteral("Unsaved changes: line1/pump1, line1/pump2"));
    // Each save proposes its dependencies.
    for (int i = 0; isSaved && i < 2; ++i) {
        QTRY_VERIFY(session.window().dependencyDialog());
        session.window().dependencyDialog()->reject();
    }
    QTRY_COMPARE(session.window().isVisible(), !isClosed);
    QCOMPARE(session.stored(s_pump, s_ratedPower), QVariant(isSaved ? 15 : 11));
    QCOMPARE(session.stored(other, s_ratedPower), isSaved ? QVariant(16) : before);
}

void EditingTest::staysOpenWhenAScriptRefusesTheLastSave()
{
    EditorSession session;
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("200")));
    answerNextBox(QMessageBox::Save, nullptr);
    session.window().close();
    QVERIFY(session.settle());
    QVERIFY(session.window().isVisible());
    QVERIFY(session.document().isUnsaved());
    QCOMPARE(session.document().notice(),
             QStringLiteral("Not saved: the script reports an error."));
}

void EditingTest::worksOnWithABrokenManifest()
{
    EditorSession session;
    session.folder().write(QStringLiteral("pump-station/configuration/manifest.json"), "[1.]\n");
    session.window().workspace().readProject();
    QVERIFY(session.settle());
    bool isShown = false;
    const auto labels = session.window().findChildren<QLabel *>();
    for (const QLabel *label : labels) {
        isShown = isShown
            || (label->isVisible()
                && label->text().startsWith(QStringLiteral("configuration/manifest.json:1:4: ")));
    }
    QVERIFY(isShown);
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("15")));
    QVERIFY(session.press(QStringLiteral("Save")));
    QVERIFY(!session.document().isUnsaved());
    QVERIFY(session.window().dependencyDialog()); // says why nothing was resolved
}

void EditingTest::leavesAnInstanceThatIsSavedAndKeepsOneThatIsNot()
{
    EditorSession session;
    Workspace &workspace = session.window().workspace();
    QVERIFY(session.open(s_pump));
    QVERIFY(session.open(QStringLiteral("site")));
    QVERIFY(!workspace.document(s_pump));
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("15")));
    QVERIFY(session.open(QStringLiteral("site")));
    QVERIFY(workspace.document(s_pump));
    QVERIFY(session.open(s_pump));
    QCOMPARE(session.shown(s_ratedPower, NodeModel::ValueColumn), QStringLiteral("15"));
}

void EditingTest::doesNotOverwriteWhatTheUserTypesWithWhatAScriptWrites()
{
    EditorSession session;
    QVERIFY(session.open(s_pump));
    NodePanel &panel = session.window().nodePanel();
    panel.view().jumpTo(panel.model().indexOf(s_inputPower));
    QTest::keyClick(&panel.view(), Qt::Key_F2);
    QWidget *editor = QApplication::focusWidget();
    QTest::keyClicks(editor, QStringLiteral("7"));
    panel.model().setData(panel.model().indexOf(s_ratedPower), 15); // the script answers
    QVERIFY(session.settle());
    QCOMPARE(session.shown(s_inputPower, NodeModel::ValueColumn), QStringLiteral("16.41"));
    QTest::keyClicks(editor, QStringLiteral("5"));
    QTest::keyClick(editor, Qt::Key_Return);
    QVERIFY(session.settle());
    const QString entered = session.document().undoStack().undoText();
    QCOMPARE(entered, s_inputPower);
    const QModelIndex event = lastEvent(session.window().workspace().events());
    QCOMPARE(event.model()->index(0, EventsModel::ResultColumn, event).data().toString(),
             QStringLiteral("16.41 \u2192 75"));
}

void EditingTest::recordsASessionAsTheCommandDoes()
{
    EditorSession session;
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("200")));
    QVERIFY(session.press(QStringLiteral("Save")));
    QVERIFY(session.document().isUnsaved());
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("11"))); // as the file holds it
    QVERIFY(record(session));

    QCOMPARE(session.window().statusBar()->currentMessage(),
             QStringLiteral("Recorded tests/line1-pump1.test.json: it passes when replayed."));
    const QString onValueChange = QStringLiteral("onValueChange");
    const QVector<EventRun::Event> events{
        {{}, QStringLiteral("onOpen"), {}},
        {{{s_ratedPower, QStringLiteral("value"), 200}}, onValueChange, s_ratedPower},
        {{}, QStringLiteral("onOk"), {}},
        {{{s_ratedPower, QStringLiteral("value"), 11}}, onValueChange, s_ratedPower}};
    const QByteArray text = session.folder().files().value(s_test);
    QCOMPARE(QString::fromUtf8(text), QString::fromUtf8(recordedByCommand(session, events)));
    QVERIFY(passes(session));

    // A file that exists is left as it is.
    QVERIFY(change(session, 15));
    QVERIFY(record(session));
    QCOMPARE(session.document().notice(),
             QStringLiteral("No test is recorded: tests/line1-pump1.test.json: exists already, and "
                            "is left as it is"));
    QCOMPARE(session.folder().files().value(s_test), text);
}

void EditingTest::recordsWhatWasUndoneAndKeptAsEdits()
{
    EditorSession session;
    const QString efficiency = QStringLiteral("motor/efficiency");
    const QString value = QStringLiteral("value");
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(efficiency, QStringLiteral("50")));
    QVERIFY(session.press(QStringLiteral("Reload, Keeping Changes")));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("200")));
    QVERIFY(session.press(QStringLiteral("Undo")));
    QVERIFY(session.enter(QStringLiteral("motor/ratedSpeed"), QStringLiteral("100000")));
    QVERIFY(record(session));

    const QString onValueChange = QStringLiteral("onValueChange");
    const QString ratedSpeed = QStringLiteral("motor/ratedSpeed");
    QCOMPARE(
        QString::fromUtf8(session.folder().files().value(s_test)),
        QString::fromUtf8(recordedByCommand(
            session,
            {{{{QStringLiteral("hydraulics/specificEnergy"), value, 0.28},
               {efficiency, value, 50},
               {s_inputPower, value, 22}},
              QStringLiteral("onOpen"),
              {}},
             {{{s_ratedPower, value, 200}}, onValueChange, s_ratedPower},
             {{{s_ratedPower, value, 11}, {s_inputPower, value, 22}, {ratedSpeed, value, 100000}},
              onValueChange,
              ratedSpeed}})));
    QVERIFY(passes(session));
}

void EditingTest::makesTheFolderOfTheTestsForATestOnly()
{
    EditorSession session;
    const QString tests = QStringLiteral("pump-station/tests");
    session.folder().remove(tests);
    QVERIFY(session.open(s_pump));
    QVERIFY(record(session, QDialog::Rejected));
    QVERIFY(!QFile::exists(session.folder().path(tests)));

    QVERIFY(record(session));
    QVERIFY(session.folder().files().contains(s_test));
    QVERIFY(passes(session));
}

void EditingTest::recordsAnewAfterASave()
{
    EditorSession session;
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("15")));
    QVERIFY(session.press(QStringLiteral("Save")));
    session.window().dependencyDialog()->reject();
    QVERIFY(session.settle());
    QVERIFY(!session.press(QStringLiteral("Record Test..."))); // nothing has happened since
    QVERIFY(change(session, 16));
    QVERIFY(record(session));
    QCOMPARE(QString::fromUtf8(session.folder().files().value(s_test)),
             QString::fromUtf8(recordedByCommand(session,
                                                 {{{{s_ratedPower, QStringLiteral("value"), 16}},
                                                   QStringLiteral("onValueChange"),
                                                   s_ratedPower}})));
    QVERIFY(passes(session));
}

void EditingTest::recordsNothingThatATestCannotDo()
{
    EditorSession session;
    session.folder().write(
        QStringLiteral("pump-station/scripts/pump.js"),
        "function onOpen() {}\n"
        "function onValueChange(api, url) { api.setProperty(url, 'note', 'seen'); }\n"
        "function onOk() { return false; }\n");
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("15")));
    QVERIFY(session.press(QStringLiteral("Undo")));
    QVERIFY(session.press(QStringLiteral("Save")));
    QVERIFY(record(session));
    QCOMPARE(session.document().notice(),
             QStringLiteral("No test is recorded: \"motor/ratedPower:note\", which the script had "
                            "added, was undone, and no test can do that; reload the instance to "
                            "begin anew"));
    QVERIFY(!session.folder().files().contains(s_test));

    QVERIFY(session.press(QStringLiteral("Reload, Keeping Changes")));
    QVERIFY(record(session));
    QVERIFY(passes(session));
}

void EditingTest::tellsWhereARecordedTestFails()
{
    EditorSession session;
    session.folder().write(
        QStringLiteral("pump-station/scripts/pump.js"),
        "function onOpen() {}\n"
        "let calls = 0;\n"
        "function onValueChange(api, url) { api.setProperty(url, 'calls', ++calls); }\n"
        "function onOk() { return true; }\n");
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("15")));
    QVERIFY(session.press(QStringLiteral("Save")));
    session.window().dependencyDialog()->reject();
    QVERIFY(session.settle());
    QVERIFY(change(session, 16));
    QVERIFY(record(session));
    QCOMPARE(session.document().notice(),
             QStringLiteral("Recorded tests/line1-pump1.test.json, but it fails when replayed: "
                            "step 1, onValueChange motor/ratedPower\n"
                            "-   \"writes\": {\n"
                            "-     \"motor/ratedPower\": { \"calls\": 2 }\n"
                            "-   }\n"
                            "+ }"));
    QVERIFY(!passes(session));
}

void EditingTest::recordsATestThatReachesWhatTheDialogReached_data()
{
    QTest::addColumn<DialogReach>("reach");
    QTest::addColumn<bool>("isRead");

    QTest::newRow("instance") << DialogReach::Instance << false;
    QTest::newRow("project") << DialogReach::Project << true;
}

void EditingTest::recordsATestThatReachesWhatTheDialogReached()
{
    QFETCH(const DialogReach, reach);
    QFETCH(const bool, isRead);

    EditorSession session(QStringLiteral("pump-station"), reach);
    session.folder().write(QStringLiteral("pump-station/scripts/pump.js"),
                           "function onOpen(api) {\n"
                           "  const name = api.getPropertyExtern('config://pumps/station/line1',\n"
                           "                                     'dependencyFileExtern');\n"
                           "  api.setProperty('', 'lineIsKnown', name === 'line.js');\n"
                           "}\n"
                           "function onOk(api) { return !api.getProperty('', 'lineIsKnown'); }\n");
    QVERIFY(session.open(s_pump));
    QVERIFY(record(session));
    QCOMPARE(session.window().statusBar()->currentMessage(),
             QStringLiteral("Recorded tests/line1-pump1.test.json: it passes when replayed."));
    QVERIFY(passes(session));
    const QByteArray text = session.folder().files().value(s_test);
    QCOMPARE(text.contains("\"lineIsKnown\": true"), isRead);
    QCOMPARE(text.contains("\"reach\": \"project\""), isRead);
}

void EditingTest::savesWhatAScriptWroteIntoOtherInstances()
{
    EditorSession session(QStringLiteral("pump-station"), DialogReach::Project);
    session.folder().write(
        QStringLiteral("pump-station/scripts/pump.js"),
        "const line = 'config://pumps/station/line1';\n"
        "function onOpen() {}\n"
        "function onOk(api) {\n"
        "  api.setPropertyExtern(line, 'saves', (api.getPropertyExtern(line, 'saves') || 0) + 1);\n"
        "}\n");
    QVERIFY(session.open(s_pump));
    QCOMPARE(session.stored(QStringLiteral("line1"), QString(), QStringLiteral("saves")),
             QVariant());
    for (const double saves : {1., 2.}) {
        QVERIFY(change(session, int(15 + saves)));
        QVERIFY(session.press(QStringLiteral("Save")));
        if (DependencyDialog *dialog = session.window().dependencyDialog()) {
            dialog->reject();
            QVERIFY(session.settle());
        }
        QCOMPARE(session.stored(QStringLiteral("line1"), QString(), QStringLiteral("saves")),
                 QVariant(saves));
        QVERIFY(!session.document().isUnsaved());
    }
}

void EditingTest::showsAnExceptionOnceWithFileAndLine()
{
    EditorSession session;
    session.folder().write(QStringLiteral("pump-station/scripts/pump.js"), s_throwing);
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("15")));
    QCOMPARE(session.document().notice(), QStringLiteral("RangeError: far."));
    const MessagesModel &messages = session.window().workspace().messages();
    QCOMPARE(messages.rowCount(), 1);
    QCOMPARE(messages.item(0, MessagesModel::PlaceColumn)->text(),
             QStringLiteral("scripts/pump.js:3"));
    QCOMPARE(messages.item(0, MessagesModel::TextColumn)->text(),
             QStringLiteral("RangeError: far"));
}

void EditingTest::recordsExceptions()
{
    EditorSession session;
    session.folder().write(QStringLiteral("pump-station/scripts/pump.js"), s_throwing);
    QVERIFY(session.open(s_pump));
    QVERIFY(session.enter(s_ratedPower, QStringLiteral("15")));
    QVERIFY(record(session));
    QCOMPARE(session.window().statusBar()->currentMessage(),
             QStringLiteral("Recorded tests/line1-pump1.test.json: it passes when replayed."));
    QVERIFY(session.folder().files().value(s_test).contains("pump.js:3: RangeError: far"));
    QVERIFY(passes(session));
}

QTEST_MAIN(EditingTest)
#include "EditingTest.moc"
