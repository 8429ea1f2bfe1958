#include "ApiFixture.h"
#include "HookedNode.h"
#include "support/StrictTest.h"
#include "support/TestHost.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QWeakPointer>

#include <climits>
#include <memory>

namespace {

const QString motor = QStringLiteral("motor");
const QString speed = QStringLiteral("speed");
const QString instanceUrl = QStringLiteral("the instance");

} // namespace

/// Properties by relative URL, the record of changes, the error list, the forwarded requests.
class JavaScriptApiTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void callsNothingWhenConstructedOrDestroyed()
    {
        ApiFixture fixture;
        QCOMPARE(fixture.api.hasInstanceChanged(), false);
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList());
        QVERIFY(fixture.api.getListOfErrors().isEmpty());
        QCOMPARE(fixture.api.parent(), nullptr);
        {
            const JavaScriptApi other(fixture.units, fixture.rootPointerHandler, fixture.texts,
                                      QString(), QString(), true, &fixture.api);
            QCOMPARE(other.parent(), &fixture.api);
        }
        QCOMPARE(fixture.takeCalls(), QStringList());
    }

    void isUnboundAtFirst()
    {
        ApiFixture fixture;
        expectUnbound(fixture);
    }

    void readsAPropertyOfTheNodeAtTheUrl()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);
        QCOMPARE(fixture.takeCalls(), QStringList());

        QCOMPARE(fixture.api.getProperty(motor, speed), QVariant(1200));
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QStringLiteral("root.getNode(\"motor\")"),
                              QStringLiteral("motor.getProperty(\"speed\")")}));
    }

    void hasNoValueAndNoWarningForAMissingProperty()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);
        QVERIFY(!fixture.api.getProperty(motor, QStringLiteral("colour")).isValid());
    }

    void handsTheUrlToTheHostUnchanged_data()
    {
        QTest::addColumn<QString>("relUrl");
        QTest::newRow("dots") << QStringLiteral("..");
        QTest::newRow("blanks and separators") << QStringLiteral(" //a/../b /");
        QTest::newRow("quotes, Greek and a control character") << QStringLiteral("\"Ω\"\t");
    }

    void handsTheUrlToTheHostUnchanged()
    {
        QFETCH(QString, relUrl);
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);
        const QString lookup = QLatin1String("root.") + callText("getNode", relUrl);

        QVERIFY(!fixture.api.getProperty(relUrl, speed).isValid());
        QCOMPARE(fixture.takeCalls(), QStringList({lookup}));
        EXPECT_MESSAGES({ApiWarnings::leafIsNull(ApiWarnings::read, relUrl)});

        fixture.api.setProperty(relUrl, speed, 5);
        QCOMPARE(fixture.takeCalls(), QStringList({lookup}));
        EXPECT_MESSAGES({ApiWarnings::leafIsNull(ApiWarnings::write, relUrl)});
        QCOMPARE(fixture.api.hasInstanceChanged(), false);
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList());
    }

    void givesAMapAsAJsonDocument_data()
    {
        QTest::addColumn<QVariantMap>("map");
        QTest::newRow("empty") << QVariantMap();
        QTest::newRow("flat") << QVariantMap{{QStringLiteral("min"), 0},
                                             {QStringLiteral("max"), 3.5}};
        QTest::newRow("nested") << QVariantMap{
            {QStringLiteral("list"), QVariantList{1, QVariantMap{{QStringLiteral("a"), true}}}}};
    }

    void givesAMapAsAJsonDocument()
    {
        QFETCH(QVariantMap, map);
        const QVariant value = readValue(map);
        QCOMPARE(value.userType(), int(QMetaType::QJsonDocument));
        QVERIFY(value.toJsonDocument().isObject());
        QCOMPARE(value.toJsonDocument(), QJsonDocument::fromVariant(map));
    }

    void givesEveryOtherTypeAsRead_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::newRow("int") << QVariant(7);
        QTest::newRow("double") << QVariant(0.1);
        QTest::newRow("bool") << QVariant(false);
        QTest::newRow("text") << QVariant(QStringLiteral("{\"a\":1}"));
        QTest::newRow("list of maps")
            << QVariant(QVariantList{QVariantMap{{QStringLiteral("a"), 1}}, 2});
        QTest::newRow("text list") << QVariant(QStringList{QStringLiteral("a")});
        QTest::newRow("hash") << QVariant(QVariantHash{{QStringLiteral("a"), 1}});
        QTest::newRow("JSON object") << QVariant(QJsonObject{{QStringLiteral("a"), 1}});
        QTest::newRow("JSON array") << QVariant(QJsonArray{1, 2});
        QTest::newRow("JSON document") << QVariant(QJsonDocument(QJsonArray{1, 2}));
        QTest::newRow("null") << QVariant::fromValue(nullptr);
        QTest::newRow("invalid") << QVariant();
    }

    void givesEveryOtherTypeAsRead()
    {
        QFETCH(QVariant, stored);
        const QVariant value = readValue(stored);
        QCOMPARE(value.userType(), stored.userType());
        QCOMPARE(value, stored);
    }

    void overwritesAPropertyThatTheNodeHas()
    {
        ApiFixture fixture;
        const auto root = fixture.makeRoot();
        fixture.api.initializeJavaScriptApi(root, instanceUrl);

        fixture.api.setProperty(motor, speed, 1300);

        QCOMPARE(
            fixture.takeCalls(),
            QStringList({QStringLiteral("root.getNode(\"motor\")"),
                         QStringLiteral("motor.hasProperty(\"speed\")"),
                         QStringLiteral("motor.setProperty(\"speed\", QVariant(int, 1300))")}));
        QCOMPARE(fixture.api.getProperty(motor, speed), QVariant(1300));
        QCOMPARE(fixture.api.hasInstanceChanged(), true);
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList({motor}));
    }

    void addsAPropertyThatTheNodeDoesNotHave()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);

        fixture.api.setProperty(motor, QStringLiteral("colour"), QStringLiteral("red"));

        QCOMPARE(fixture.takeCalls(),
                 QStringList({QStringLiteral("root.getNode(\"motor\")"),
                              QStringLiteral("motor.hasProperty(\"colour\")"),
                              QStringLiteral(
                                  "motor.addProperty(\"colour\", QVariant(QString, \"red\"))")}));
        QCOMPARE(fixture.api.hasInstanceChanged(), true);
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList({motor}));
    }

    void writesAnInvalidValue()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);
        fixture.api.setProperty(motor, speed, QVariant());
        QCOMPARE(fixture.takeCalls().last(),
                 QStringLiteral("motor.setProperty(\"speed\", QVariant(Invalid))"));
        QCOMPARE(fixture.api.hasInstanceChanged(), true);
    }

    void acceptsARefusalWithoutComplaintSilently()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(1200, 1), instanceUrl);
        fixture.api.setProperty(motor, speed, 1300);
        QCOMPARE(fixture.takeCalls().last(),
                 QStringLiteral("motor.setProperty(\"speed\", QVariant(int, 1300))"));
        QCOMPARE(fixture.api.hasInstanceChanged(), false);
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList());
    }

    void warnsOfEveryOtherRefusal_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("valueText");
        QTest::newRow("2, a number") << 2 << QVariant(5) << "QVariant(int, 5)";
        QTest::newRow("3, a text")
            << 3 << QVariant(QStringLiteral("x y")) << "QVariant(QString, \"x y\")";
        QTest::newRow("-1, no value") << -1 << QVariant() << "QVariant(Invalid)";
        QTest::newRow("the greatest number, a map")
            << INT_MAX << QVariant(QVariantMap{{QStringLiteral("a"), true}})
            << "QVariant(QVariantMap, QMap((\"a\", QVariant(bool, true))))";
    }

    void warnsOfEveryOtherRefusal()
    {
        QFETCH(int, status);
        QFETCH(QVariant, value);
        QFETCH(QString, valueText);
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(1200, status), instanceUrl);

        fixture.api.setProperty(motor, speed, value);

        EXPECT_MESSAGES({warning(
            ApiWarnings::write,
            QStringLiteral("Can not set value: %1 to: \"motor\" \"speed\"").arg(valueText))});
        QCOMPARE(fixture.api.hasInstanceChanged(), false);
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList());
        QVERIFY(fixture.api.getListOfErrors().isEmpty());
    }

    void recordsWrittenUrlsInOrderWithDuplicates()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);

        fixture.api.setProperty(motor, speed, 1);
        fixture.api.setProperty(QString(), speed, 2);
        fixture.api.setProperty(motor, speed, 3);
        fixture.api.setProperty(motor, speed, 3);

        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList({motor, QString(), motor, motor}));
    }

    void emptiesTheChangedUrlsButNotTheFlag()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);
        fixture.api.setProperty(motor, speed, 1);

        fixture.api.deleteChangedLocalUrls();
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList());
        QCOMPARE(fixture.api.hasInstanceChanged(), true);
    }

    void readingTheChangedUrlsLeavesThem()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);
        fixture.api.setProperty(motor, speed, 1);
        fixture.api.getChangedLocalUrls().clear();
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList({motor}));
    }

    void readsAndWritesBelowAnyRootWithoutRecordingAChange()
    {
        ApiFixture fixture;
        const auto root = fixture.makeRoot();
        QVERIFY(fixture.api.setPropertyInternal(root, motor, speed, 5));
        QVERIFY(fixture.api.setPropertyInternal(root, motor, QStringLiteral("new"), 6));
        QCOMPARE(fixture.api.getPropertyInternal(root, motor, speed), QVariant(5));
        QCOMPARE(fixture.api.hasInstanceChanged(), false);
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList());

        QVERIFY(!fixture.api.setPropertyInternal(fixture.makeRoot(1200, 1), motor, speed, 5));
        QVERIFY(!fixture.api.setPropertyInternal({}, motor, speed, 5));
        EXPECT_MESSAGES({ApiWarnings::rootIsNull(ApiWarnings::write)});
        QVERIFY(!fixture.api.getPropertyInternal({}, motor, speed).isValid());
        EXPECT_MESSAGES({ApiWarnings::rootIsNull(ApiWarnings::read)});
    }

    void asksTheRootWhetherAUrlIsValid_data()
    {
        QTest::addColumn<bool>("answer");
        QTest::newRow("valid") << true;
        QTest::newRow("not valid") << false;
    }

    void asksTheRootWhetherAUrlIsValid()
    {
        QFETCH(bool, answer);
        ApiFixture fixture;
        const auto root = fixture.makeRoot();
        root->isEveryUrlValid = answer;
        fixture.api.initializeJavaScriptApi(root, instanceUrl);

        QCOMPARE(fixture.api.isUrlValid(QStringLiteral("any/thing")), answer);
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QStringLiteral("root.isUrlValid(\"any/thing\")")}));
    }

    void replacesTheRootByANewOne()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);
        const auto other = fixture.makeNode(QStringLiteral("other"));
        fixture.api.initializeJavaScriptApi(other, instanceUrl);
        fixture.api.isUrlValid(motor);
        QCOMPARE(fixture.takeCalls(), QStringList({QStringLiteral("other.isUrlValid(\"motor\")")}));
    }

    void keepsTheOldRootWhenTheNewOneIsNull()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);
        fixture.api.initializeJavaScriptApi({}, instanceUrl);
        EXPECT_MESSAGES({ApiWarnings::newRootIsNull()});
        QCOMPARE(fixture.api.getProperty(motor, speed), QVariant(1200));
    }

    void bindingKeepsChangesAndErrors()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);
        fixture.api.setProperty(motor, speed, 1);
        fixture.api.setError(motor, QStringLiteral("id"));
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);
        QCOMPARE(fixture.api.hasInstanceChanged(), true);
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList({motor}));
        QCOMPARE(fixture.api.getListOfErrors().size(), 1);
    }

    void keepsErrorsInTheOrderOfTheCallsWithDuplicates()
    {
        ApiFixture fixture;
        const QString noSuchUrl = QStringLiteral("no/such//url");
        fixture.api.setError(noSuchUrl, QStringLiteral("id.1"), 42);
        fixture.api.setError(QString(), QString());
        fixture.api.setError(noSuchUrl, QStringLiteral("id.1"), 42);

        const QList<JavaScriptApi::ErrorMessage> errors = fixture.api.getListOfErrors();
        QCOMPARE(errors.size(), 3);
        QCOMPARE(errors[0].relUrl, noSuchUrl);
        QCOMPARE(errors[0].errorLabelTextId, QStringLiteral("id.1"));
        QCOMPARE(errors[0].value, QVariant(42));
        QCOMPARE(errors[1].relUrl, QString());
        QCOMPARE(errors[1].errorLabelTextId, QString());
        QVERIFY(!errors[1].value.isValid());
        QCOMPARE(errors[2].relUrl, noSuchUrl);
        QCOMPARE(errors[2].errorLabelTextId, QStringLiteral("id.1"));
        QCOMPARE(errors[2].value, QVariant(42));

        // Neither the text, the tree nor the record of changes is touched.
        QCOMPARE(fixture.takeCalls(), QStringList());
        QCOMPARE(fixture.api.hasInstanceChanged(), false);
    }

    void readingTheErrorsLeavesThem()
    {
        ApiFixture fixture;
        fixture.api.setError(motor, QStringLiteral("id"));
        fixture.api.getListOfErrors().clear();
        QCOMPARE(fixture.api.getListOfErrors().size(), 1);
    }

    void emptiesTheErrors()
    {
        ApiFixture fixture;
        fixture.api.setError(motor, QStringLiteral("id"));
        fixture.api.deleteListOfErrors();
        QVERIFY(fixture.api.getListOfErrors().isEmpty());
        fixture.api.deleteListOfErrors();
        QVERIFY(fixture.api.getListOfErrors().isEmpty());
    }

    void forwardsTheExternalChangesAndTheSaveRequest()
    {
        ApiFixture fixture;
        fixture.rootPointerHandler.changedConfigUrls =
            QStringList{QStringLiteral("b"), QStringLiteral("a")};
        fixture.rootPointerHandler.changedProcessUrls = QStringList{QStringLiteral("p")};

        QCOMPARE(fixture.api.getChangedExternalConfigIAbsoluteUrls(),
                 QStringList({QStringLiteral("b"), QStringLiteral("a")}));
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QStringLiteral("handler.getChangedExternalConfigUrls()")}));

        QCOMPARE(fixture.api.getChangedExternalProcessAbsoluteUrls(),
                 QStringList({QStringLiteral("p")}));
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QStringLiteral("handler.getChangedExternalProcessUrls()")}));

        fixture.api.saveChangedFiles();
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QStringLiteral("handler.saveChangedInstances()")}));
    }

    void forgetsAllOfTheInstanceOnReset()
    {
        ApiFixture fixture;
        auto root = fixture.makeRoot();
        fixture.api.initializeJavaScriptApi(root, instanceUrl);
        fixture.api.setProperty(motor, speed, 1);
        fixture.api.setError(motor, QStringLiteral("id"));
        fixture.takeCalls();

        fixture.api.resetState();

        QCOMPARE(fixture.takeCalls(), QStringList({QStringLiteral("handler.resetState()")}));
        QCOMPARE(fixture.api.hasInstanceChanged(), false);
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList());
        QVERIFY(fixture.api.getListOfErrors().isEmpty());
        const QWeakPointer<RecordingNode> weakRoot = root;
        root.clear();
        QVERIFY(weakRoot.isNull());
        expectUnbound(fixture);
    }

    void letsGoOfTheRootBeforeItForgetsTheChanges()
    {
        ApiFixture fixture;
        auto root = QSharedPointer<HookedNode>::create(fixture.calls, QStringLiteral("root"));
        root->nodes.insert(motor, fixture.makeNode(motor));
        fixture.api.initializeJavaScriptApi(root, instanceUrl);
        fixture.api.setProperty(motor, speed, 1);
        fixture.api.setError(motor, QStringLiteral("id"));
        fixture.takeCalls();
        bool wasAnythingForgotten = true;
        root->onDestruction = [&] {
            wasAnythingForgotten = !fixture.api.hasInstanceChanged()
                || fixture.api.getChangedLocalUrls().isEmpty()
                || fixture.api.getListOfErrors().isEmpty() || !fixture.takeCalls().isEmpty();
        };
        root.clear();
        QVERIFY(wasAnythingForgotten);
        fixture.api.resetState();
        QVERIFY(!wasAnythingForgotten);
    }

    void resetsTheRootPointerHandlerLast()
    {
        ApiFixture fixture;
        auto root = fixture.makeRoot();
        fixture.api.initializeJavaScriptApi(root, instanceUrl);
        fixture.api.setProperty(motor, speed, 1);
        fixture.api.setError(motor, QStringLiteral("id"));
        const QWeakPointer<RecordingNode> weakRoot = root;
        root.clear();

        bool wasAllForgotten = false;
        fixture.rootPointerHandler.onResetState = [&] {
            wasAllForgotten = weakRoot.isNull() && !fixture.api.hasInstanceChanged()
                && fixture.api.getChangedLocalUrls().isEmpty()
                && fixture.api.getListOfErrors().isEmpty();
        };
        fixture.api.resetState();
        QVERIFY(wasAllForgotten);
    }

    void staysUnboundWhenANullRootFollowsAReset()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);
        fixture.api.resetState();
        fixture.api.initializeJavaScriptApi({}, instanceUrl);
        EXPECT_MESSAGES({ApiWarnings::newRootIsNull()});
        fixture.takeCalls();
        expectUnbound(fixture);
    }

    void worksAgainAfterAReset()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);
        fixture.api.resetState();
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), instanceUrl);
        QCOMPARE(fixture.api.getProperty(motor, speed), QVariant(1200));
    }

    void releasesTheRootWithItself()
    {
        ApiFixture fixture;
        auto root = fixture.makeRoot();
        auto api =
            std::make_unique<JavaScriptApi>(fixture.units, fixture.rootPointerHandler,
                                            fixture.texts, QString(), QString(), true, nullptr);
        api->initializeJavaScriptApi(root, instanceUrl);
        const QWeakPointer<RecordingNode> weakRoot = root;
        root.clear();
        QVERIFY(!weakRoot.isNull());
        api.reset();
        QVERIFY(weakRoot.isNull());
        QCOMPARE(fixture.takeCalls(), QStringList());
    }

    void worksOnATreeOfTheHost()
    {
        ApiFixture fixture;
        const auto root = TestHost::makeTree(R"({
            "properties": { "name": "pump" },
            "children": { "motor": {
                "properties": { "speed": 1200, "limits": { "max": 3000 }, "serial": "A7" },
                "readOnly": [ "serial" ]
            } }
        })");
        fixture.api.initializeJavaScriptApi(root, instanceUrl);

        QCOMPARE(fixture.api.getProperty(QString(), QStringLiteral("name")),
                 QVariant(QStringLiteral("pump")));
        QCOMPARE(fixture.api.getProperty(motor, speed), QVariant(1200));
        QCOMPARE(fixture.api.getProperty(motor, QStringLiteral("limits")).toJsonDocument(),
                 QJsonDocument(QJsonObject{{QStringLiteral("max"), 3000}}));
        QVERIFY(fixture.api.isUrlValid(motor));
        QVERIFY(!fixture.api.isUrlValid(QStringLiteral("pipe")));

        fixture.api.setProperty(motor, speed, 1200);
        QCOMPARE(fixture.api.hasInstanceChanged(), false);
        fixture.api.setProperty(motor, QStringLiteral("serial"), 8);
        EXPECT_MESSAGES({warning(
            ApiWarnings::write,
            QStringLiteral("Can not set value: QVariant(int, 8) to: \"motor\" \"serial\""))});
        QCOMPARE(fixture.api.hasInstanceChanged(), false);

        fixture.api.setProperty(motor, speed, 1300);
        fixture.api.setProperty(QString(), QStringLiteral("colour"), QStringLiteral("red"));
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList({motor, QString()}));
        QCOMPARE(root->getNode(motor)->getProperty(speed), QVariant(1300));
        QCOMPARE(root->getProperty(QStringLiteral("colour")), QVariant(QStringLiteral("red")));
    }

private:
    /// Every operation by relative URL fails with a warning and asks nobody.
    void expectUnbound(ApiFixture &fixture)
    {
        QVERIFY(!fixture.api.getProperty(motor, speed).isValid());
        fixture.api.setProperty(motor, speed, 5);
        QCOMPARE(fixture.api.isUrlValid(motor), false);
        EXPECT_MESSAGES({ApiWarnings::rootIsNull(ApiWarnings::read),
                         ApiWarnings::rootIsNull(ApiWarnings::write),
                         ApiWarnings::rootIsNull(QStringLiteral(
                             "bool JavaScriptApi::isUrlValid(const QString&) const"))});
        QCOMPARE(fixture.api.hasInstanceChanged(), false);
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList());
        QCOMPARE(fixture.takeCalls(), QStringList());
    }

    static QVariant readValue(const QVariant &stored)
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(stored), instanceUrl);
        return fixture.api.getProperty(motor, speed);
    }
};

TEST_CLASS(JavaScriptApiTest)

#include "JavaScriptApiTest.moc"
