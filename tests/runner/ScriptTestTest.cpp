#include "runner/scripttest/ScriptTest.h"
#include "configscript/ScratchFolder.h"
#include "filehost/JsonValue.h"
#include "runner/scripttest/ScriptTestRecorder.h"
#include "support/StrictTest.h"

#include <QTest>

namespace {

/// A value as JSON text, which compares well.
QByteArray text(const QVariant &value)
{
    return JsonValue::toText(value, JsonValue::Layout::Compact);
}

} // namespace

/// What a test's file says; mistakes in it are tried with the command.
class ScriptTestTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void readsATest();
    void namesItsSteps_data();
    void namesItsSteps();
    void readsWhatItWrites();
    void changesWhatIsExpected_data();
    void changesWhatIsExpected();
};

void ScriptTestTest::readsATest()
{
    const ScratchFolder folder;
    folder.write(
        QStringLiteral("a.test.json"),
        "{ \"description\": \"d\", \"instance\": \"i\",\n"
        "  \"set\": { \"n\": { \"k\": 1, \"l\": [2] }, \"\": { \"m\": null } },\n"
        "  \"steps\": [\n"
        "    { \"event\": \"onOk\", \"argument\": \"a\", \"set\": { \"n\": { \"k\": 3 } },\n"
        "      \"expect\": { \"result\": false } },\n"
        "    { \"resolve\": \"line1\" } ] }\n");
    const ScriptTest test(folder.path(QStringLiteral("a.test.json")));
    QVERIFY2(!test.hasFailed(), qPrintable(test.error().toString()));
    QCOMPARE(test.description(), QStringLiteral("d"));
    QCOMPARE(test.instance(), QStringLiteral("i"));
    QCOMPARE(test.settings().size(), 3);
    const ScriptTest::Setting &setting = test.settings().at(1);
    QCOMPARE(setting.url, QStringLiteral("n"));
    QCOMPARE(setting.key, QStringLiteral("l"));
    QCOMPARE(text(setting.value), QByteArray("[2]"));
    QCOMPARE(test.placeOf(setting.element, QStringLiteral("m")).toString(),
             folder.path(QStringLiteral("a.test.json")) + QStringLiteral(":2:17: m"));
    QCOMPARE(test.placeOfInstance(QStringLiteral("m")).toString(),
             folder.path(QStringLiteral("a.test.json")) + QStringLiteral(":1:35: m"));
    QCOMPARE(test.steps().size(), 2);
    const ScriptTest::Step &event = test.steps().at(0);
    QVERIFY(event.isEvent());
    QCOMPARE(event.argument, QStringLiteral("a"));
    QCOMPARE(event.settings.size(), 1);
    QCOMPARE(text(event.expected), QByteArray("{\"result\":false}"));
    const ScriptTest::Step &resolve = test.steps().at(1);
    QVERIFY(!resolve.isEvent());
    QCOMPARE(resolve.resolved, QStringLiteral("line1"));
    QCOMPARE(resolve.expectedElement, -1);
}

void ScriptTestTest::namesItsSteps_data()
{
    QTest::addColumn<QByteArray>("step");
    QTest::addColumn<QString>("title");
    QTest::newRow("event") << QByteArray("\"event\": \"onOpen\"") << QStringLiteral("onOpen");
    QTest::newRow("argument") << QByteArray("\"event\": \"onSave\", \"argument\": \"a/b\"")
                              << QStringLiteral("onSave a/b");
    QTest::newRow("resolve") << QByteArray("\"resolve\": \"a\"") << QStringLiteral("resolve a");
    QTest::newRow("resolve all") << QByteArray("\"resolve\": \"\"") << QStringLiteral("resolve");
}

void ScriptTestTest::namesItsSteps()
{
    QFETCH(const QByteArray, step);
    QFETCH(const QString, title);
    const ScratchFolder folder;
    folder.write(QStringLiteral("a"), "{ \"instance\": \"i\", \"steps\": [{ " + step + " }] }");
    const ScriptTest test(folder.path(QStringLiteral("a")));
    QCOMPARE(test.steps().constFirst().title(), title);
}

void ScriptTestTest::readsWhatItWrites()
{
    ScriptTest::Step event;
    event.event = QStringLiteral("onValueChange");
    event.argument = QStringLiteral("\"\n");
    event.settings = {{QStringLiteral("n"), QStringLiteral("k"), 1, -1},
                      {QStringLiteral("n"), QStringLiteral("l"), QVariantList{2}, -1}};
    event.expected = {{QStringLiteral("result"), false},
                      {QStringLiteral("warnings"), QVariantList{QStringLiteral("w")}}};
    ScriptTest::Step resolve;
    resolve.resolved = QStringLiteral("line1/pump1");

    const ScratchFolder folder;
    folder.write(QStringLiteral("a"),
                 ScriptTestRecorder::toText(QStringLiteral("\"i\""), DialogReach::Instance,
                                            {event, resolve}));
    const ScriptTest test(folder.path(QStringLiteral("a")));
    QVERIFY2(!test.hasFailed(), qPrintable(test.error().toString()));
    QCOMPARE(test.instance(), QStringLiteral("\"i\""));
    QCOMPARE(test.steps().size(), 2);
    QCOMPARE(test.steps().at(0).argument, event.argument);
    QCOMPARE(test.steps().at(0).settings.size(), 2);
    QCOMPARE(text(test.steps().at(0).expected), text(event.expected));
    QCOMPARE(test.steps().at(1).resolved, resolve.resolved);
}

void ScriptTestTest::changesWhatIsExpected_data()
{
    QTest::addColumn<QByteArray>("step");
    QTest::addColumn<QVariantMap>("expected");
    QTest::addColumn<QByteArray>("changed");
    const QVariantMap failed{{QStringLiteral("result"), false}};
    const QVariantMap exception{{QStringLiteral("exceptions"), QVariantList{QStringLiteral("x")}}};
    QTest::newRow("nothing") << QByteArray("{ \"resolve\" : \"\" }") << QVariantMap()
                             << QByteArray("{ \"resolve\" : \"\" }");
    QTest::newRow("equal") << QByteArray("{ \"resolve\": \"\", \"expect\": {\"result\":false} }")
                           << failed
                           << QByteArray("{ \"resolve\": \"\", \"expect\": {\"result\":false} }");
    QTest::newRow("value") << QByteArray("{ \"resolve\": \"\",\"expect\":{\"result\":true} }")
                           << failed
                           << QByteArray("{ \"resolve\": \"\",\"expect\":{\"result\":false} }");
    QTest::newRow("expectation that is missing")
        << QByteArray("{\"resolve\":\"\"}") << failed
        << QByteArray("{\"resolve\":\"\",\"expect\": {\n      \"result\": false\n    }}");
    QTest::newRow("expectation that is missing, lines")
        << QByteArray("{\n        \"resolve\": \"\"\n    }") << failed
        << QByteArray("{\n        \"resolve\": \"\",\n        \"expect\": {\n          \"result\": "
                      "false\n        }\n    }");
    QTest::newRow("expectation in the middle")
        << QByteArray("{ \"expect\": {}, \"resolve\": \"\" }") << exception
        << QByteArray("{ \"expect\": {\n      \"exceptions\": [\n        \"x\"\n      ]\n    }, "
                      "\"resolve\": \"\" }");
    QTest::newRow("another member")
        << QByteArray("{ \"resolve\": \"\", \"expect\": { \"warnings\": [] } }")
        << QVariantMap{{QStringLiteral("warnings"), QVariantList()},
                       {QStringLiteral("result"), false}}
        << QByteArray("{ \"resolve\": \"\", \"expect\": {\n      \"result\": false,\n      "
                      "\"warnings\": []\n    } }");
}

void ScriptTestTest::changesWhatIsExpected()
{
    QFETCH(const QByteArray, step);
    QFETCH(const QVariantMap, expected);
    QFETCH(const QByteArray, changed);
    // Steps around it stay.
    const QByteArray other("{ \"resolve\": \"a\",  \"expect\": { \"result\" : true } }");
    const auto file = [&other](const QByteArray &middle) {
        return "{ \"steps\" :[\n    " + other + ",\n    " + middle + ",\n    " + other + "] }\n\n";
    };
    const ScratchFolder folder;
    folder.write(QStringLiteral("a"), file(step));
    const ScriptTest test(folder.path(QStringLiteral("a")));
    QVERIFY2(!test.hasFailed(), qPrintable(test.error().toString()));
    QCOMPARE(test.updated({test.steps().at(0).expected, expected, test.steps().at(2).expected}),
             file(changed));
}

QTEST_GUILESS_MAIN(ScriptTestTest)
#include "ScriptTestTest.moc"
