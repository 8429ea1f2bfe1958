#include "ApiFixture.h"
#include "JavaScript/JavaScriptDependencyResolver.h"
#include "JavaScript/JavaScriptHandler.h"
#include "JavaScript/JavaScriptHandlerUiWrapper.h"
#include "JavaScript/JavaScriptInplaceDependencyResolver.h"
#include "support/StrictTest.h"
#include "support/TestHost.h"

#include <QJsonArray>
#include <QMetaMethod>
#include <QMetaObject>
#include <QTest>

Q_DECLARE_METATYPE(const QMetaObject *)

/// The meta-objects: what scripts can call, and what can be connected to.
class JavaScriptApiMetaObjectTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void hasTheTenMethodsOfTheApiInOrder_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QByteArray>("returnType");
        QTest::addColumn<QByteArray>("signature");
        QTest::addColumn<QList<QByteArray>>("parameterNames");
        QTest::addColumn<bool>("isCloned");

        const auto addRow = [](int index, const char *returnType, const char *signature,
                               const QList<QByteArray> &parameterNames, bool isCloned = false) {
            QTest::addRow("%d %s", index, signature)
                << index << QByteArray(returnType) << QByteArray(signature) << parameterNames
                << isCloned;
        };
        addRow(0, "QVariant", "getProperty(QString,QString)", {"relUrl", "propertyKey"});
        addRow(1, "void", "setProperty(QString,QString,QVariant)",
               {"relUrl", "propertyKey", "value"});
        addRow(2, "QVariant", "getPropertyExtern(QString,QString)", {"absUrl", "propertyKey"});
        addRow(3, "void", "setPropertyExtern(QString,QString,QVariant)",
               {"absUrl", "propertyKey", "value"});
        addRow(4, "void", "setError(QString,QString,QVariant)",
               {"relUrl", "errorLabelTextId", "value"});
        addRow(5, "void", "setError(QString,QString)", {"relUrl", "errorLabelTextId"}, true);
        addRow(6, "bool", "isUrlValid(QString)", {"relUrl"});
        addRow(7, "QVariant", "getAllUnitTexts(QVariant)", {"unit"});
        addRow(8, "QString", "getHostTypeName()", {});
        addRow(9, "QJsonArray", "getListOfNodeInstancesWithText(QString,bool)",
               {"absUrl", "withDynTexts"});
    }

    void hasTheTenMethodsOfTheApiInOrder()
    {
        QFETCH(int, index);
        QFETCH(QByteArray, returnType);
        QFETCH(QByteArray, signature);
        QFETCH(QList<QByteArray>, parameterNames);
        QFETCH(bool, isCloned);
        const QMetaObject &metaObject = JavaScriptApi::staticMetaObject;
        const QMetaMethod method = metaObject.method(metaObject.methodOffset() + index);

        QCOMPARE(QByteArray(method.typeName()), returnType);
        QCOMPARE(method.methodSignature(), signature);
        QCOMPARE(method.parameterNames(), parameterNames);
        QCOMPARE(bool(method.attributes() & QMetaMethod::Cloned), isCloned);
        QCOMPARE(method.access(), QMetaMethod::Public);
        QCOMPARE(method.methodType(), QMetaMethod::Method);
        QCOMPARE(QByteArray(method.tag()), QByteArray());
    }

    void hasNothingElseOfItsOwn_data()
    {
        QTest::addColumn<const QMetaObject *>("metaObject");
        QTest::addColumn<QByteArray>("className");
        QTest::addColumn<QByteArray>("baseName");
        QTest::addColumn<int>("methodCount");
        const auto addRow = [](const QMetaObject &metaObject, const char *className,
                               const char *baseName, int methodCount) {
            QTest::newRow(className)
                << &metaObject << QByteArray(className) << QByteArray(baseName) << methodCount;
        };
        addRow(JavaScriptApi::staticMetaObject, "JavaScriptApi", "QObject", 10);
        addRow(JavaScriptHandler::staticMetaObject, "JavaScriptHandler", "QObject", 1);
        addRow(JavaScriptHandlerUiWrapper::staticMetaObject, "JavaScriptHandlerUiWrapper",
               "QObject", 1);
        addRow(JavaScriptDependencyResolverBase::staticMetaObject,
               "JavaScriptDependencyResolverBase", "QObject", 1);
        addRow(JavaScriptDependencyResolver::staticMetaObject, "JavaScriptDependencyResolver",
               "JavaScriptDependencyResolverBase", 0);
        addRow(JavaScriptInplaceDependencyResolver::staticMetaObject,
               "JavaScriptInplaceDependencyResolver", "JavaScriptDependencyResolverBase", 0);
    }

    void hasNothingElseOfItsOwn()
    {
        QFETCH(const QMetaObject *, metaObject);
        QFETCH(QByteArray, className);
        QFETCH(QByteArray, baseName);
        QFETCH(int, methodCount);
        QCOMPARE(QByteArray(metaObject->className()), className);
        QCOMPARE(QByteArray(metaObject->superClass()->className()), baseName);
        QCOMPARE(metaObject->methodCount() - metaObject->methodOffset(), methodCount);
        QCOMPARE(metaObject->propertyCount() - metaObject->propertyOffset(), 0);
        QCOMPARE(metaObject->enumeratorCount() - metaObject->enumeratorOffset(), 0);
        QCOMPARE(metaObject->classInfoCount() - metaObject->classInfoOffset(), 0);
        QCOMPARE(metaObject->constructorCount(), 0);
    }

    void hasOneSignal_data()
    {
        QTest::addColumn<const QMetaObject *>("metaObject");
        QTest::addColumn<QByteArray>("signature");
        QTest::addColumn<QByteArray>("parameterName");
        QTest::newRow("handler") << &JavaScriptHandler::staticMetaObject
                                 << QByteArray("parametersChanged(QStringList)")
                                 << QByteArray("urls");
        QTest::newRow("UI wrapper")
            << &JavaScriptHandlerUiWrapper::staticMetaObject
            << QByteArray("parametersChanged(QStringList)") << QByteArray("urls");
        QTest::newRow("resolver") << &JavaScriptDependencyResolverBase::staticMetaObject
                                  << QByteArray("processDataDescriptionChanged(QString)")
                                  << QByteArray("instanceName");
    }

    void hasOneSignal()
    {
        QFETCH(const QMetaObject *, metaObject);
        QFETCH(QByteArray, signature);
        QFETCH(QByteArray, parameterName);
        const QMetaMethod method = metaObject->method(metaObject->methodOffset());
        QCOMPARE(method.methodType(), QMetaMethod::Signal);
        QCOMPARE(method.methodSignature(), signature);
        QCOMPARE(method.parameterNames(), QList<QByteArray>({parameterName}));
        QCOMPARE(method.returnType(), int(QMetaType::Void));
        QCOMPARE(bool(method.attributes() & QMetaMethod::Cloned), false);
    }

    void callsTheOperationOfTheName()
    {
        ApiFixture fixture;
        const auto root = fixture.makeRoot();
        fixture.api.initializeJavaScriptApi(root, QString());
        fixture.rootPointerHandler.root = root;
        const QString url = TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"),
                                                QStringLiteral("line1"), QStringLiteral("motor"));
        const QString motor = QStringLiteral("motor");
        const QString speed = QStringLiteral("speed");

        QVariant value;
        QVERIFY(invoke(fixture.api, 0, Q_RETURN_ARG(QVariant, value), Q_ARG(QString, motor),
                       Q_ARG(QString, speed)));
        QCOMPARE(value, QVariant(1200));

        QVERIFY(invoke(fixture.api, 1, {}, Q_ARG(QString, motor), Q_ARG(QString, speed),
                       Q_ARG(QVariant, 1)));
        QCOMPARE(fixture.api.getProperty(motor, speed), QVariant(1));

        QVERIFY(invoke(fixture.api, 2, Q_RETURN_ARG(QVariant, value), Q_ARG(QString, url),
                       Q_ARG(QString, speed)));
        QCOMPARE(value, QVariant(1));

        fixture.takeCalls();
        QVERIFY(invoke(fixture.api, 3, {}, Q_ARG(QString, url), Q_ARG(QString, speed),
                       Q_ARG(QVariant, 2)));
        QCOMPARE(fixture.takeCalls().last(),
                 QLatin1String("handler.") + callText("setChangedUrl", url));

        QVERIFY(invoke(fixture.api, 4, {}, Q_ARG(QString, motor), Q_ARG(QString, speed),
                       Q_ARG(QVariant, 3)));
        QVERIFY(invoke(fixture.api, 5, {}, Q_ARG(QString, motor), Q_ARG(QString, speed)));
        const QList<JavaScriptApi::ErrorMessage> errors = fixture.api.getListOfErrors();
        QCOMPARE(errors.size(), 2);
        QCOMPARE(errors[0].relUrl, motor);
        QCOMPARE(errors[0].errorLabelTextId, speed);
        QCOMPARE(errors[0].value, QVariant(3));
        QCOMPARE(errors[1].relUrl, motor);
        QCOMPARE(errors[1].errorLabelTextId, speed);
        QVERIFY(!errors[1].value.isValid());

        fixture.takeCalls();
        bool isValid = false;
        QVERIFY(invoke(fixture.api, 6, Q_RETURN_ARG(bool, isValid), Q_ARG(QString, motor)));
        QCOMPARE(isValid, true);
        QCOMPARE(fixture.takeCalls(), QStringList({QStringLiteral("root.isUrlValid(\"motor\")")}));

        QVERIFY(invoke(fixture.api, 7, Q_RETURN_ARG(QVariant, value),
                       Q_ARG(QVariant, QStringLiteral("unknown"))));
        QCOMPARE(value.userType(), int(QMetaType::QJsonDocument));

        QString hostTypeName;
        QVERIFY(invoke(fixture.api, 8, Q_RETURN_ARG(QString, hostTypeName)));
        QCOMPARE(hostTypeName, QStringLiteral("sorbAVEN"));

        root->children.insert(QStringLiteral("child"), fixture.makeNode(QStringLiteral("child")));
        QJsonArray list;
        QVERIFY(invoke(fixture.api, 9, Q_RETURN_ARG(QJsonArray, list), Q_ARG(QString, url),
                       Q_ARG(bool, true)));
        QCOMPARE(list.size(), 1);
        QCOMPARE(fixture.takeCalls().last(), QStringLiteral("texts.getText(\"\", \"\")"));
    }

private:
    template <typename... Arguments>
    static bool invoke(JavaScriptApi &api, int index, QGenericReturnArgument result,
                       const Arguments &...arguments)
    {
        const QMetaObject *metaObject = api.metaObject();
        return metaObject->method(metaObject->methodOffset() + index)
            .invoke(&api, Qt::DirectConnection, result, arguments...);
    }
};

TEST_CLASS(JavaScriptApiMetaObjectTest)

#include "JavaScriptApiMetaObjectTest.moc"
