#include "editor/model/Document.h"
#include "editor/SampleReports.h"
#include "support/StrictTest.h"

#include <QSignalSpy>
#include <QTest>

using namespace ConfigScript;

namespace {

const QString s_pump = sampleInstance();
const QString s_motor = QStringLiteral("motor");
const QString s_value = QStringLiteral("value");
const QString s_loss = QStringLiteral("loss");
const QString s_onValueChange = QStringLiteral("onValueChange");

const QByteArray s_tree("{ \"children\": { \"motor\": { \"properties\": {\n"
                        "  \"value\": 11, \"loss\": 1\n"
                        "} } } }\n");

JavaScriptApi::ErrorMessage errorAt(const QString &path, const QString &text)
{
    JavaScriptApi::ErrorMessage error;
    error.relUrl = path;
    error.errorLabelTextId = text;
    return error;
}

/// The worker's report of an edit of the motor's value, which the script answers with a loss.
EventReport edited(int oldValue, int newValue)
{
    EventReport report = eventReport(s_onValueChange, s_motor);
    report.edits = {{s_motor, s_value, oldValue, newValue}};
    report.answers = {{s_motor, s_loss, oldValue / 10, newValue / 10}};
    return report;
}

QStringList textsOf(const QVector<Document::Error> &errors)
{
    QStringList texts;
    for (const Document::Error &error : errors) {
        texts.append(error.path + QLatin1Char(' ') + error.textId);
    }
    return texts;
}

} // namespace

/// An open instance as the window knows it; the reports are the tests' own.
class DocumentTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void showsAnEditAtOnceAndRequestsIt();
    void requestsNoEditThatChangesNothing();
    void takesBackAnEditThatIsRefused();
    void showsWhatTheScriptAnswered();
    void undoesAnEditWithItsAnswers();
    void removesAnAddedPropertyOnUndo();
    void forgetsItsHistoryWhenTheFileIsAnotherOne();
    void keepsErrorsOfOtherNodes();
    void tellsWhyAnEventFailed();
    void tellsWhyItIsNotSaved_data();
    void tellsWhyItIsNotSaved();
    void isCleanWhenItIsSaved();
    void tellsItsProblem();
    void ignoresWhatHasNoNode();

private:
    static QVariant value(const Document &document, const QString &key);
};

QVariant DocumentTest::value(const Document &document, const QString &key)
{
    return document.snapshot().node(document.snapshot().find(s_motor)).value(key);
}

void DocumentTest::showsAnEditAtOnceAndRequestsIt()
{
    Document document(s_pump);
    document.takeReport(openedReport(s_tree));
    const QSignalSpy requested(&document, &Document::editRequested);
    const QSignalSpy changed(&document, &Document::propertyChanged);
    const int motor = document.snapshot().find(s_motor);
    document.edit(motor, s_value, 20);
    QCOMPARE(value(document, s_value), QVariant(20));
    QCOMPARE(document.unsavedProperties(), 1);
    QCOMPARE(requested.size(), 1);
    QCOMPARE(requested.at(0), (QVariantList{s_motor, s_value, 20}));
    QCOMPARE(changed.size(), 1);
    QCOMPARE(changed.at(0), (QVariantList{motor, s_value}));
}

void DocumentTest::requestsNoEditThatChangesNothing()
{
    Document document(s_pump);
    document.takeReport(openedReport(s_tree));
    const QSignalSpy requested(&document, &Document::editRequested);
    document.edit(document.snapshot().find(s_motor), s_value, 11.0);
    QCOMPARE(requested.size(), 0);
    QVERIFY(!document.isUnsaved());
}

void DocumentTest::takesBackAnEditThatIsRefused()
{
    Document document(s_pump);
    document.takeReport(openedReport(s_tree));
    document.edit(document.snapshot().find(s_motor), s_value, 20);
    EventReport refused;
    refused.instance = s_pump;
    refused.edits = {{s_motor, s_value, 20, 11}};
    refused.refusal = QStringLiteral("\"value\" is read-only");
    document.takeReport(refused);
    QCOMPARE(value(document, s_value), QVariant(11));
    QCOMPARE(document.notice(), QStringLiteral("Not changed: \"value\" is read-only."));
    QVERIFY(!document.isUnsaved());
    QCOMPARE(document.undoStack().count(), 0);
}

void DocumentTest::showsWhatTheScriptAnswered()
{
    Document document(s_pump);
    document.takeReport(openedReport(s_tree));
    const QSignalSpy wrote(&document, &Document::scriptWrote);
    const int motor = document.snapshot().find(s_motor);
    document.edit(motor, s_value, 20);
    document.takeReport(edited(11, 20));
    QCOMPARE(value(document, s_loss), QVariant(2));
    QVERIFY(document.snapshot().node(motor).property(s_loss)->isFromScript);
    QVERIFY(!document.snapshot().node(motor).property(s_value)->isFromScript);
    QCOMPARE(wrote.size(), 1);
    QCOMPARE(wrote.at(0), (QVariantList{motor, s_loss}));
    QCOMPARE(document.unsavedProperties(), 2);
    QVERIFY(document.hasEvents());
    QCOMPARE(document.undoStack().undoText(), s_motor);
}

void DocumentTest::undoesAnEditWithItsAnswers()
{
    Document document(s_pump);
    document.takeReport(openedReport(s_tree));
    EventReport report = edited(11, 20);
    report.run.errors = {errorAt(s_motor, QStringLiteral("tooMuch"))};
    document.edit(document.snapshot().find(s_motor), s_value, 20);
    document.takeReport(report);
    QCOMPARE(document.errors().size(), 1);

    QVector<PropertyChange> requested;
    connect(&document, &Document::changesRequested, this,
            [&requested](const QVector<PropertyChange> &changes) { requested = changes; });
    document.undoStack().undo();
    QCOMPARE(value(document, s_value), QVariant(11));
    QCOMPARE(value(document, s_loss), QVariant(1));
    QVERIFY(!document.isUnsaved());
    QVERIFY(document.errors().isEmpty());
    QCOMPARE(requested.size(), 2);
    QCOMPARE(requested.at(0).newValue, QVariant(11));
    QCOMPARE(requested.at(1).newValue, QVariant(1));

    document.undoStack().redo();
    QCOMPARE(value(document, s_value), QVariant(20));
    QCOMPARE(value(document, s_loss), QVariant(2));
    QCOMPARE(document.errors().size(), 1);
    QCOMPARE(requested.at(0).newValue, QVariant(20));
}

void DocumentTest::removesAnAddedPropertyOnUndo()
{
    const QString note = QStringLiteral("note");
    Document document(s_pump);
    document.takeReport(openedReport(s_tree));
    const QSignalSpy added(&document, &Document::propertyAdded);
    const QSignalSpy removed(&document, &Document::propertyRemoved);
    EventReport report = edited(11, 20);
    report.edits.first().key = s_loss;
    report.answers = {{s_motor, note, QVariant(), QStringLiteral("seen")}};
    document.takeReport(report);
    QCOMPARE(added.size(), 1);
    QCOMPARE(document.undoStack().undoText(), QStringLiteral("motor:loss"));
    document.undoStack().undo();
    QCOMPARE(removed.size(), 1);
    QVERIFY(!value(document, note).isValid());
}

void DocumentTest::forgetsItsHistoryWhenTheFileIsAnotherOne()
{
    Document document(s_pump);
    document.takeReport(openedReport(s_tree));
    document.takeReport(edited(11, 20));
    InstanceReport again = openedReport(s_tree);
    again.keepsHistory = true;
    document.takeReport(again);
    QCOMPARE(document.undoStack().count(), 1);
    const QSignalSpy reset(&document, &Document::wasReset);
    const QSignalSpy changed(&document, &Document::valuesChanged);
    again.keepsHistory = false;
    document.takeReport(again);
    QCOMPARE(document.undoStack().count(), 0);
    // The view keeps its place where only values are others.
    QCOMPARE(reset.size(), 0);
    QCOMPARE(changed.size(), 1);
    again.snapshot.set(0, QStringLiteral("note"), 1, false);
    document.takeReport(again);
    QCOMPARE(reset.size(), 1);
}

void DocumentTest::keepsErrorsOfOtherNodes()
{
    const QString pipe = QStringLiteral("pipe");
    const QString tank = QStringLiteral("tank");
    const QString text = QStringLiteral("wrong");
    Document document(s_pump);
    document.takeReport(openedReport(s_tree));
    EventReport report = eventReport(s_onValueChange, s_motor);
    report.run.errors = {errorAt(s_motor, text), errorAt(pipe, text)};
    document.takeReport(report);
    report = eventReport(s_onValueChange, tank);
    report.run.errors = {errorAt(tank, text)};
    document.takeReport(report);
    QCOMPARE(textsOf(document.errors()),
             (QStringList{QStringLiteral("motor wrong"), QStringLiteral("pipe wrong"),
                          QStringLiteral("tank wrong")}));
    // What a node's last event reported goes with its next one, wherever it was.
    document.takeReport(eventReport(s_onValueChange, s_motor));
    QCOMPARE(textsOf(document.errors()), QStringList{QStringLiteral("tank wrong")});
    // The other events look at all nodes.
    report = eventReport(QStringLiteral("onOk"));
    report.run.errors = {errorAt(pipe, text)};
    document.takeReport(report);
    QCOMPARE(textsOf(document.errors()), QStringList{QStringLiteral("pipe wrong")});
}

void DocumentTest::tellsWhyAnEventFailed()
{
    Document document(s_pump);
    document.takeReport(openedReport(s_tree));
    EventReport report = eventReport(s_onValueChange, s_motor);
    report.run.succeeded = false;
    document.takeReport(report);
    QCOMPARE(document.notice(), QStringLiteral("onValueChange failed."));
    report.run.exceptions = {{3, QStringLiteral("RangeError: far"), true}};
    document.takeReport(report);
    QCOMPARE(document.notice(), QStringLiteral("RangeError: far."));
    document.takeReport(eventReport(s_onValueChange, s_motor));
    QCOMPARE(document.notice(), QString());
    // An offer to reload stays.
    document.setNotice(QStringLiteral("The file has changed."), true);
    document.takeReport(eventReport(s_onValueChange, s_motor));
    QCOMPARE(document.notice(), QStringLiteral("The file has changed."));
    QVERIFY(document.offersReload());
}

void DocumentTest::tellsWhyItIsNotSaved_data()
{
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("exception");
    QTest::addColumn<QString>("reported");
    QTest::addColumn<QString>("warning");
    QTest::addColumn<QString>("notice");
    const QString none;
    QTest::newRow("file") << QStringLiteral("disk full") << none << none << none
                          << QStringLiteral("Not saved: disk full");
    QTest::newRow("exception") << none << QStringLiteral("Error: no") << none << none
                               << QStringLiteral("Not saved: Error: no.");
    QTest::newRow("error") << none << none << QStringLiteral("tooMuch") << none
                           << QStringLiteral("Not saved: the script reports an error.");
    QTest::newRow("warning") << none << none << none << QStringLiteral("not evaluated")
                             << QStringLiteral("Not saved: onOk failed: not evaluated");
    QTest::newRow("false") << none << none << none << none
                           << QStringLiteral("Not saved: onOk returned false.");
}

void DocumentTest::tellsWhyItIsNotSaved()
{
    QFETCH(const QString, error);
    QFETCH(const QString, exception);
    QFETCH(const QString, reported);
    QFETCH(const QString, warning);
    QFETCH(const QString, notice);
    Document document(s_pump);
    document.takeReport(openedReport(s_tree));
    SaveReport report;
    report.instance = s_pump;
    report.error = error;
    report.onOk = eventReport(QStringLiteral("onOk"));
    report.onOk.run.succeeded = !error.isEmpty();
    if (!exception.isEmpty()) {
        report.onOk.run.exceptions = {{1, exception, true}};
    }
    if (!reported.isEmpty()) {
        report.onOk.run.errors = {errorAt(s_motor, reported)};
    }
    if (!warning.isEmpty()) {
        report.onOk.run.warnings = QStringList{warning};
    }
    document.takeReport(report);
    QCOMPARE(document.notice(), notice);
    QCOMPARE(document.offersReload(), !error.isEmpty());
}

void DocumentTest::isCleanWhenItIsSaved()
{
    Document document(s_pump);
    document.takeReport(openedReport(s_tree));
    document.takeReport(edited(11, 20));
    QVERIFY(document.isUnsaved());
    SaveReport report;
    report.instance = s_pump;
    report.isSaved = true;
    report.onOk = eventReport(QStringLiteral("onOk"));
    report.snapshot = openedReport(s_tree).snapshot;
    document.takeReport(report);
    QVERIFY(!document.isUnsaved());
    QVERIFY(!document.hasEvents());
    QVERIFY(document.undoStack().isClean());
    QCOMPARE(document.undoStack().count(), 1); // can still be undone
    QCOMPARE(document.notice(), QString());
}

void DocumentTest::tellsItsProblem()
{
    Document document(s_pump);
    InstanceReport report;
    report.instance = s_pump;
    report.error = QStringLiteral("no such file");
    report.treePath = QStringLiteral("/project/a.json");
    report.scriptPath = QStringLiteral("/project/scripts/a.js");
    report.script = QStringLiteral("scripts/a.js");
    document.takeReport(report);
    QCOMPARE(document.problem(), report.error);
    QCOMPARE(document.treePath(), report.treePath);
    QCOMPARE(document.scriptPath(), report.scriptPath);
    QCOMPARE(document.script(), report.script);
    QVERIFY(document.snapshot().isEmpty());
    document.takeReport(openedReport(s_tree));
    QCOMPARE(document.problem(), QString());
}

void DocumentTest::ignoresWhatHasNoNode()
{
    Document document(s_pump);
    document.takeReport(openedReport(s_tree));
    const QSignalSpy wrote(&document, &Document::scriptWrote);
    EventReport report = eventReport(s_onValueChange, s_motor);
    report.answers = {{QStringLiteral("gear"), s_value, 1, 2}};
    document.takeReport(report);
    QCOMPARE(wrote.size(), 0);
    QVERIFY(!document.isUnsaved());
}

TEST_CLASS(DocumentTest)
#include "DocumentTest.moc"
