#include "ApiFixture.h"
#include "support/StrictTest.h"
#include "support/TestHost.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

namespace {

const QString listing = QStringLiteral(
    "QJsonArray JavaScriptApi::getListOfNodeInstancesWithText(const QString&, bool) const");
const QString unitTexts =
    QStringLiteral("QVariant JavaScriptApi::getAllUnitTexts(const QVariant&) const");

Message rootIsNull()
{
    return ApiWarnings::rootIsNull(
        QStringLiteral("QJsonArray JavaScriptApi::getListOfNodeInstancesWithTextInternal("
                       "ConfigurationAndProcessDataBase::BaseClassSharedPointer, bool) const"));
}

QString urlOf(const QString &moduleName, const QString &objectName)
{
    return TestHost::configUrl(moduleName, objectName, QStringLiteral("line1"),
                               QStringLiteral("deep/inside"));
}

/// A root with the children "a" and "b" with labels, "c" without one, and "d", which is null.
QSharedPointer<RecordingNode> makeParent(ApiFixture &fixture)
{
    const auto root = fixture.makeNode(QStringLiteral("root"));
    for (const QString &key : {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}) {
        const auto child = fixture.makeNode(key);
        if (key != QLatin1String("c")) {
            child->properties.insert(QStringLiteral("labelTextId"),
                                     QString(QLatin1String("id.") + key));
        }
        root->children.insert(key, child);
    }
    root->children.insert(QStringLiteral("d"), {});
    return root;
}

QJsonArray entries(const QStringList &keys, const QHash<QString, QString> &texts)
{
    QJsonArray result;
    for (const QString &key : keys) {
        result.append(
            QJsonObject{{QStringLiteral("url"), key}, {QStringLiteral("text"), texts.value(key)}});
    }
    return result;
}

} // namespace

/// Listings of node instances, texts of units, the host's type.
class JavaScriptApiListingTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void listsTheDirectChildrenWithTheirTextIdentifiers()
    {
        ApiFixture fixture;
        const auto root = makeParent(fixture);
        fixture.rootPointerHandler.root = root;
        const QString url = urlOf(QStringLiteral("pumps"), QStringLiteral("station"));

        const QJsonArray list = fixture.api.getListOfNodeInstancesWithText(url, false);

        const QStringList keys = root->children.keys();
        QCOMPARE(list,
                 entries(keys,
                         {{QStringLiteral("a"), QStringLiteral("id.a")},
                          {QStringLiteral("b"), QStringLiteral("id.b")}}));
        QStringList calls{QLatin1String("handler.") + callText("getRootPointer", url),
                          QStringLiteral("root.getChildMap()")};
        for (const QString &key : keys) {
            if (key != QLatin1String("d")) {
                calls.append(key + QLatin1String(".getProperty(\"labelTextId\")"));
            }
        }
        QCOMPARE(fixture.takeCalls(), calls);
    }

    void listsTheDirectChildrenWithTheirTexts()
    {
        ApiFixture fixture;
        const auto root = makeParent(fixture);
        fixture.rootPointerHandler.root = root;
        const QString url = urlOf(QStringLiteral("pumps"), QStringLiteral("station"));

        const QJsonArray list = fixture.api.getListOfNodeInstancesWithText(url, true);

        const QStringList keys = root->children.keys();
        QCOMPARE(list,
                 entries(keys,
                         {{QStringLiteral("a"), QStringLiteral("text of id.a")},
                          {QStringLiteral("b"), QStringLiteral("text of id.b")},
                          {QStringLiteral("c"), QStringLiteral("text of ")}}));
        QStringList calls{QLatin1String("handler.") + callText("getRootPointer", url),
                          QStringLiteral("root.getChildMap()")};
        for (const QString &key : keys) {
            const QString textId =
                key == QLatin1String("c") ? QString() : QLatin1String("id.") + key;
            if (key != QLatin1String("d")) {
                calls.append(key + QLatin1String(".getProperty(\"labelTextId\")"));
                calls.append(QLatin1String("texts.") + callText("getText", textId, QString()));
            }
        }
        QCOMPARE(fixture.takeCalls(), calls);
    }

    void keepsTheOrderOfTheChildMap()
    {
        ApiFixture fixture;
        const auto root = fixture.makeNode(QStringLiteral("root"));
        for (int i = 0; i < 50; ++i) {
            root->children.insert(QString::number(i), {});
        }
        const QStringList keys = root->children.keys();
        QStringList sortedKeys = keys;
        sortedKeys.sort();
        QVERIFY(keys != sortedKeys);
        QCOMPARE(fixture.api.getListOfNodeInstancesWithTextInternal(root, true), entries(keys, {}));
    }

    void turnsALabelOfAnyTypeIntoText()
    {
        ApiFixture fixture;
        const auto root = fixture.makeNode(QStringLiteral("root"));
        const auto child = fixture.makeNode(QStringLiteral("child"));
        child->properties.insert(QStringLiteral("labelTextId"), 17);
        root->children.insert(QStringLiteral("a \"b\""), child);
        QCOMPARE(fixture.api.getListOfNodeInstancesWithTextInternal(root, false),
                 entries({QStringLiteral("a \"b\"")},
                         {{QStringLiteral("a \"b\""), QStringLiteral("17")}}));
    }

    void listsNothingForARootWithoutChildren()
    {
        ApiFixture fixture;
        fixture.rootPointerHandler.root = fixture.makeNode(QStringLiteral("root"));
        QCOMPARE(fixture.api.getListOfNodeInstancesWithText(
                     urlOf(QStringLiteral("pumps"), QStringLiteral("station")), true),
                 QJsonArray());
        QCOMPARE(fixture.takeCalls().last(), QStringLiteral("root.getChildMap()"));
    }

    void warnsOfAnUnknownInstance()
    {
        ApiFixture fixture;
        const QString url = urlOf(QStringLiteral("pumps"), QStringLiteral("station"));
        QCOMPARE(fixture.api.getListOfNodeInstancesWithText(url, true), QJsonArray());
        EXPECT_MESSAGES({rootIsNull()});
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QLatin1String("handler.") + callText("getRootPointer", url)}));
    }

    void warnsAfterTheHandlersOwnWarning()
    {
        ApiFixture fixture;
        JavaScriptRootPointerHandler rootPointerHandler(QString(), {});
        const JavaScriptApi api(fixture.units, rootPointerHandler, fixture.texts, QString(),
                                QString(), true, nullptr);
        QCOMPARE(
            api.getListOfNodeInstancesWithText(urlOf(QString(), QStringLiteral("station")), false),
            QJsonArray());
        EXPECT_MESSAGES(
            {warning(QStringLiteral("ConfigurationAndProcessDataBase::BaseClassSharedPointer "
                                    "JavaScriptRootPointerHandler::getRootPointerInternal("
                                    "bool, const QString&, UrlToRootMap&) const"),
                     QStringLiteral("Couldn't find object \"station\" in otherfiles mapping!")),
             rootIsNull()});
    }

    void warnsOfAUrlThatTheHostRejects_data()
    {
        QTest::addColumn<QString>("url");
        QTest::newRow("empty") << QString();
        QTest::newRow("relative") << QStringLiteral("a/b");
        QTest::newRow("no object, of another module") << urlOf(QStringLiteral("fans"), QString());
    }

    void warnsOfAUrlThatTheHostRejects()
    {
        QFETCH(QString, url);
        ApiFixture fixture(true);
        fixture.rootPointerHandler.root = makeParent(fixture);
        QCOMPARE(fixture.api.getListOfNodeInstancesWithText(url, false), QJsonArray());
        EXPECT_MESSAGES({warning(
            listing, QLatin1String("The following url ist not valid: ") + argumentText(url))});
        QCOMPARE(fixture.takeCalls(), QStringList());
    }

    void warnsOfAnotherModule_data()
    {
        QTest::addColumn<QString>("objectName");
        QTest::newRow("own object") << "station";
        QTest::newRow("another object, too") << "network";
    }

    void warnsOfAnotherModule()
    {
        QFETCH(QString, objectName);
        ApiFixture fixture;
        fixture.rootPointerHandler.root = makeParent(fixture);
        QCOMPARE(fixture.api.getListOfNodeInstancesWithText(
                     urlOf(QStringLiteral("fans"), objectName), false),
                 QJsonArray());
        EXPECT_MESSAGES(
            {warning(listing, QStringLiteral("Can't handle URL in another module: \"fans\""))});
        QCOMPARE(fixture.takeCalls(), QStringList());
        QVERIFY(fixture.api.getListOfErrors().isEmpty());
    }

    void refusesAnotherObjectSilently()
    {
        ApiFixture fixture;
        fixture.rootPointerHandler.root = makeParent(fixture);
        QCOMPARE(fixture.api.getListOfNodeInstancesWithText(
                     urlOf(QStringLiteral("pumps"), QStringLiteral("network")), false),
                 QJsonArray());
        EXPECT_NO_MESSAGES();
        QCOMPARE(fixture.takeCalls(), QStringList());
    }

    void servesEveryObjectWhenAllAreAccepted()
    {
        ApiFixture fixture(true);
        fixture.rootPointerHandler.root = makeParent(fixture);
        QCOMPARE(fixture.api
                     .getListOfNodeInstancesWithText(
                         urlOf(QStringLiteral("pumps"), QStringLiteral("network")), false)
                     .size(),
                 4);
    }

    void givesTheTextsOfAUnit_data()
    {
        QTest::addColumn<QVariant>("unit");
        QTest::addColumn<QString>("text");
        QTest::newRow("name") << QVariant(QStringLiteral("bar")) << "Bar";
        QTest::newRow("number") << QVariant(42) << "Forty-two";
        QTest::newRow("fraction") << QVariant(0.5) << "Half";
        QTest::newRow("bool") << QVariant(true) << "Truth";
        QTest::newRow("bytes") << QVariant(QByteArray("bar")) << "Bar";
    }

    void givesTheTextsOfAUnit()
    {
        QFETCH(QVariant, unit);
        QFETCH(QString, text);
        const QString english = QStringLiteral("en");
        TestHost::useUnits({{QStringLiteral("bar"), {{english, QStringLiteral("Bar")}}},
                            {QStringLiteral("42"), {{english, QStringLiteral("Forty-two")}}},
                            {QStringLiteral("0.5"), {{english, QStringLiteral("Half")}}},
                            {QStringLiteral("true"), {{english, QStringLiteral("Truth")}}}});
        ApiFixture fixture;
        const QVariant texts = fixture.api.getAllUnitTexts(unit);
        TestHost::useUnits({});
        QCOMPARE(texts.userType(), int(QMetaType::QJsonDocument));
        QCOMPARE(texts.toJsonDocument(), QJsonDocument(QJsonObject{{english, text}}));
        QCOMPARE(fixture.takeCalls(), QStringList());
    }

    void givesUnitTextsOfAnyLanguage()
    {
        const QVariantMap texts{{QStringLiteral("de"), QStringLiteral("Grad \"C\"")},
                                {QStringLiteral("el"), QStringLiteral("βαθμός")},
                                {QStringLiteral("en"), QStringLiteral("degree °C")}};
        TestHost::useUnits({{QStringLiteral("°C"), texts}});
        ApiFixture fixture;
        TestHost::useUnits({});
        QCOMPARE(fixture.api.getAllUnitTexts(QStringLiteral("°C")).toJsonDocument(),
                 QJsonDocument(QJsonObject::fromVariantMap(texts)));
    }

    void givesANullDocumentForTextsThatDoNotParse()
    {
        // The host has no JSON text for a unit that it does not know.
        ApiFixture fixture;
        const QVariant texts = fixture.api.getAllUnitTexts(QStringLiteral("unknown"));
        QCOMPARE(texts.userType(), int(QMetaType::QJsonDocument));
        QVERIFY(texts.toJsonDocument().isNull());
        EXPECT_NO_MESSAGES();
    }

    void warnsOfAUnitWithoutTextForm_data()
    {
        QTest::addColumn<QVariant>("unit");
        QTest::addColumn<QString>("text");
        QTest::newRow("map") << QVariant(QVariantMap{{QStringLiteral("a"), 1}})
                             << "QVariant(QVariantMap, QMap((\"a\", QVariant(int, 1))))";
        QTest::newRow("list") << QVariant(QVariantList{QStringLiteral("bar")})
                              << "QVariant(QVariantList, (QVariant(QString, \"bar\")))";
        QTest::newRow("nothing") << QVariant() << "QVariant(Invalid)";
    }

    void warnsOfAUnitWithoutTextForm()
    {
        QFETCH(QVariant, unit);
        QFETCH(QString, text);
        ApiFixture fixture;
        QVERIFY(!fixture.api.getAllUnitTexts(unit).isValid());
        EXPECT_MESSAGES({warning(unitTexts, QLatin1String("Can not convert to string: ") + text)});
        QVERIFY(fixture.api.getListOfErrors().isEmpty());
    }

    void alwaysNamesTheSameHostType()
    {
        ApiFixture fixture;
        const QString name = QStringLiteral("sorbAVEN");
        QCOMPARE(fixture.api.getHostTypeName(), name);
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), QStringLiteral("the instance"));
        QCOMPARE(fixture.api.getHostTypeName(), name);
        fixture.api.resetState();
        QCOMPARE(fixture.api.getHostTypeName(), name);
        QCOMPARE(ApiFixture().api.getHostTypeName(), name);
        QCOMPARE(fixture.takeCalls(), QStringList({QStringLiteral("handler.resetState()")}));
    }
};

TEST_CLASS(JavaScriptApiListingTest)

#include "JavaScriptApiListingTest.moc"
