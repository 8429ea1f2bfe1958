#include "ApiFixture.h"
#include "JavaScript/JavaScriptApi.h"
#include "JavaScript/JavaScriptHandler.h"
#include "support/StrictTest.h"

#include <QFile>
#include <QMetaMethod>
#include <QRegularExpression>
#include <QTest>

namespace {

/// An operation as a script sees it, for example "setError(relUrl, errorLabelTextId, value?)".
using Operations = QStringList;

QString operation(const QString &name, const QStringList &parameters)
{
    return name + QLatin1Char('(') + parameters.join(QStringLiteral(", ")) + QLatin1Char(')');
}

/// What the meta-object offers to scripts, in its order. moc lists a parameter with a default value
/// as one more method without it.
Operations operationsOf(const QMetaObject &metaObject)
{
    Operations operations;
    QString name;
    QStringList parameters;
    for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
        const QMetaMethod method = metaObject.method(i);
        if ((method.attributes() & QMetaMethod::Cloned) != 0) {
            parameters[method.parameterCount()] += QLatin1Char('?');
            operations.last() = operation(name, parameters);
            continue;
        }
        name = QString::fromLatin1(method.name());
        parameters.clear();
        const QList<QByteArray> parameterNames = method.parameterNames();
        for (const QByteArray &parameter : parameterNames) {
            parameters.append(QString::fromLatin1(parameter));
        }
        operations.append(operation(name, parameters));
    }
    return operations;
}

QString withoutComments(QString text)
{
    static const QRegularExpression comment(QStringLiteral("/\\*.*?\\*/|//[^\\n]*"),
                                            QRegularExpression::DotMatchesEverythingOption);
    return text.remove(comment);
}

QString typesFile()
{
    QFile file(QStringLiteral(TYPES_FILE));
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("cannot read %s", qPrintable(file.fileName()));
    }
    return QString::fromUtf8(file.readAll());
}

/// The names in a list of parameters, with the mark of those that may be left out.
QStringList parameters(const QString &list)
{
    static const QRegularExpression parameter(QStringLiteral("(\\w+[?]?): [^,]+"));
    QStringList names;
    auto match = parameter.globalMatch(list);
    while (match.hasNext()) {
        names.append(match.next().captured(1));
    }
    return names;
}

/// The members of the interface JavaScriptApi, in their order. One that is no operation stands
/// there as it is.
Operations declaredOperations(const QString &types)
{
    static const QRegularExpression body(
        QStringLiteral("\\binterface JavaScriptApi \\{(.*?)\\n\\}"),
        QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression declaration(
        QRegularExpression::anchoredPattern(QStringLiteral("(\\w+)\\((.*)\\): .+")));
    Operations operations;
    const QStringList members =
        body.match(withoutComments(types)).captured(1).split(QLatin1Char(';'), Qt::SkipEmptyParts);
    for (const QString &member : members) {
        const QString text = member.simplified();
        const auto match = declaration.match(text);
        if (!text.isEmpty()) {
            operations.append(match.hasMatch()
                                  ? operation(match.captured(1), parameters(match.captured(2)))
                                  : text);
        }
    }
    return operations;
}

/// The event functions that are declared, with their parameters: "onOpen(api)".
Operations declaredEvents(const QString &types)
{
    static const QRegularExpression declaration(
        QStringLiteral("^type On(\\w+) = \\((.*)\\) => EventResult;$"),
        QRegularExpression::MultilineOption);
    Operations events;
    auto match = declaration.globalMatch(withoutComments(types));
    while (match.hasNext()) {
        const auto event = match.next();
        events.append(
            operation(QStringLiteral("on") + event.captured(1), parameters(event.captured(2))));
    }
    return events;
}

} // namespace

/// types/JavaScriptApi.d.ts declares what scripts find, nothing more and nothing less.
class JavaScriptApiTypesTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void declaresTheOperations()
    {
        const Operations operations = operationsOf(JavaScriptApi::staticMetaObject);
        QCOMPARE(operations.size(), 9);
        QCOMPARE(declaredOperations(typesFile()), operations);
    }

    void noticesADifference_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        const auto add = [](const char *name, const char *before, const char *after) {
            QTest::newRow(name) << QString::fromLatin1(before) << QString::fromLatin1(after);
        };
        add("missing", "  isUrlValid(relUrl: string): boolean;", "");
        add("other name", "getHostTypeName(): ", "getHostName(): ");
        add("one more", "  getHostTypeName(): string;",
            "  getHostTypeName(): string;\n  getHostVersion(): string;");
        add("one more, no operation", "  getHostTypeName(): string;",
            "  getHostTypeName(): string;\n  version: string;");
        add("other order", "isUrlValid(relUrl: string): boolean;",
            "getHostTypeName(): string; isUrlValid(relUrl: string): boolean;");
        add("other parameter", "isUrlValid(relUrl", "isUrlValid(absUrl");
        add("parameter missing", "getPropertyExtern(absUrl: string, propertyKey: string)",
            "getPropertyExtern(absUrl: string)");
        add("one more parameter", "isUrlValid(relUrl: string)",
            "isUrlValid(relUrl: string, instance: string)");
        add("parameter no longer optional", "value?: WritableValue", "value: WritableValue");
        add("parameter optional", "withDynTexts: boolean", "withDynTexts?: boolean");
        add("other parameter order", "getProperty(relUrl: string, propertyKey: string)",
            "getProperty(propertyKey: string, relUrl: string)");
    }

    void noticesADifference()
    {
        QFETCH(const QString, before);
        QFETCH(const QString, after);
        QString types = typesFile();
        QCOMPARE(types.count(before), 1);
        types.replace(before, after);
        QVERIFY(declaredOperations(types) != operationsOf(JavaScriptApi::staticMetaObject));
    }

    void explainsEachOperation()
    {
        const QString types = typesFile();
        static const QRegularExpression explained(
            QStringLiteral("^  /\\*\\*\\n(?:   \\*[^\\n]*\\n)+?   \\* @example[^\\n]*\\n"
                           "(?:   \\*[^\\n]*\\n)*?   \\*/\\n  (\\w+)\\("),
            QRegularExpression::MultilineOption);
        QStringList names;
        auto match = explained.globalMatch(types);
        while (match.hasNext()) {
            names.append(match.next().captured(1));
        }
        QStringList expected = declaredOperations(types);
        for (QString &name : expected) {
            name.truncate(name.indexOf(QLatin1Char('(')));
        }
        QCOMPARE(names, expected);
    }

    /// The handler calls the event functions that are declared, with as many arguments.
    void declaresTheEvents()
    {
        const QString script = QStringLiteral(R"(
            function note(api, name, count) { api.setError(name, "arguments", count); }
            function onOpen(api) { note(api, "onOpen", arguments.length); }
            function onValueChange(api) { note(api, "onValueChange", arguments.length); }
            function onOk(api) { note(api, "onOk", arguments.length); }
            function onSave(api) { note(api, "onSave", arguments.length); })");
        ApiFixture fixture;
        JavaScriptHandler handler(fixture.api, nullptr);
        handler.initializeHandler(fixture.makeRoot(), script, QString());
        QList<JavaScriptApi::ErrorMessage> calls;
        QVERIFY(handler.callFunctionOnOpen());
        calls += handler.getErrorMesageList();
        QVERIFY(handler.callFunctionOnValueChanged(QStringLiteral("motor")));
        calls += handler.getErrorMesageList();
        QVERIFY(handler.callFunctionOnOk());
        calls += handler.getErrorMesageList();
        QVERIFY(handler.callFunctionOnSave(QStringLiteral("url")));
        calls += handler.getErrorMesageList();

        const Operations events = declaredEvents(typesFile());
        QCOMPARE(
            events,
            Operations({QStringLiteral("onOpen(api)"), QStringLiteral("onValueChange(api, url?)"),
                        QStringLiteral("onOk(api)"), QStringLiteral("onSave(api, url)")}));
        QCOMPARE(calls.size(), events.size());
        for (int i = 0; i < calls.size(); ++i) {
            QCOMPARE(calls.at(i).relUrl, events.at(i).section(QLatin1Char('('), 0, 0));
            QCOMPARE(calls.at(i).value.toInt(), events.at(i).count(QLatin1Char(',')) + 1);
        }

        QVERIFY(handler.callFunctionOnValueChanged(QString())); // of the root
        QCOMPARE(handler.getErrorMesageList().constFirst().value, QVariant(1));
    }
};

TEST_CLASS(JavaScriptApiTypesTest)

#include "JavaScriptApiTypesTest.moc"
