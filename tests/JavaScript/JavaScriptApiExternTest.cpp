#include "ApiFixture.h"
#include "support/StrictTest.h"
#include "support/TestHost.h"
#include "support/TestProject.h"

#include <QTest>

namespace {

const QString speed = QStringLiteral("speed");
const QString externRead = QStringLiteral(
    "QVariant JavaScriptApi::getPropertyExtern(const QString&, const QString&) const");
const QString externWrite = QStringLiteral(
    "void JavaScriptApi::setPropertyExtern(const QString&, const QString&, const QVariant&)");

QString urlOf(const QString &moduleName, const QString &objectName)
{
    return TestHost::configUrl(moduleName, objectName, QStringLiteral("line1/pump1"),
                               QStringLiteral("motor"));
}

} // namespace

/// Properties by absolute URL: which URLs are served, whose tree is asked, what is marked.
class JavaScriptApiExternTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void readsFromTheTreeThatTheRootPointerHandlerGives()
    {
        ApiFixture fixture;
        fixture.rootPointerHandler.root = fixture.makeRoot();
        const QString url = urlOf(QStringLiteral("pumps"), QStringLiteral("station"));

        QCOMPARE(fixture.api.getPropertyExtern(url, speed), QVariant(1200));
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QLatin1String("handler.") + callText("getRootPointer", url),
                              QStringLiteral("root.getNode(\"motor\")"),
                              QStringLiteral("motor.getProperty(\"speed\")")}));
    }

    void marksTheWholeUrlAfterAWrite()
    {
        ApiFixture fixture;
        fixture.rootPointerHandler.root = fixture.makeRoot();
        const QString url = urlOf(QStringLiteral("pumps"), QStringLiteral("station"));

        fixture.api.setPropertyExtern(url, speed, 1300);
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QLatin1String("handler.") + callText("getRootPointer", url),
                              QStringLiteral("root.getNode(\"motor\")"),
                              QStringLiteral("motor.hasProperty(\"speed\")"),
                              QStringLiteral("motor.setProperty(\"speed\", QVariant(int, 1300))"),
                              QLatin1String("handler.") + callText("setChangedUrl", url)}));
    }

    void marksTheWholeUrlAfterAddingAProperty()
    {
        ApiFixture fixture;
        fixture.rootPointerHandler.root = fixture.makeRoot();
        const QString url = urlOf(QStringLiteral("pumps"), QStringLiteral("station"));

        fixture.api.setPropertyExtern(url, QStringLiteral("new"), true);
        const QStringList calls = fixture.takeCalls();
        QCOMPARE(calls.size(), 5);
        QCOMPARE(calls[3], QStringLiteral("motor.addProperty(\"new\", QVariant(bool, true))"));
        QCOMPARE(calls[4], QLatin1String("handler.") + callText("setChangedUrl", url));
    }

    void isNoChangeOfTheInstance()
    {
        ApiFixture fixture;
        fixture.rootPointerHandler.root = fixture.makeRoot();
        fixture.api.setPropertyExtern(urlOf(QStringLiteral("pumps"), QStringLiteral("station")),
                                      speed, 1300);
        QCOMPARE(fixture.api.hasInstanceChanged(), false);
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList());
    }

    void neverAsksTheBoundRoot()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeNode(QStringLiteral("bound")), QString());
        fixture.rootPointerHandler.root = fixture.makeRoot();
        const QString url = urlOf(QStringLiteral("pumps"), QStringLiteral("station"));
        fixture.api.getPropertyExtern(url, speed);
        fixture.api.setPropertyExtern(url, speed, 1300);
        QVERIFY(fixture.takeCalls().filter(QStringLiteral("bound")).isEmpty());
    }

    void servesAnyScheme_data()
    {
        QTest::addColumn<QString>("url");
        const QString pumps = QStringLiteral("pumps");
        const QString station = QStringLiteral("station");
        const QString motor = QStringLiteral("motor");
        const QString instance = QStringLiteral("a");
        QTest::newRow("process") << TestHost::processUrl(pumps, station, instance, motor);
        QTest::newRow("unknown") << TestHost::url(QStringLiteral("other"), pumps, station, instance,
                                                  motor);
    }

    void servesAnyScheme()
    {
        QFETCH(QString, url);
        ApiFixture fixture;
        fixture.rootPointerHandler.root = fixture.makeRoot();
        QCOMPARE(fixture.api.getPropertyExtern(url, speed), QVariant(1200));
        QCOMPARE(fixture.takeCalls().first(),
                 QLatin1String("handler.") + callText("getRootPointer", url));
    }

    void warnsOfAUrlThatTheHostRejects_data()
    {
        QTest::addColumn<QString>("url");
        QTest::newRow("empty") << QString();
        QTest::newRow("relative") << QStringLiteral("motor");
        QTest::newRow("quotes") << QStringLiteral("\"no\" url\n");
        QTest::newRow("no scheme") << TestHost::url(
            QString(), QStringLiteral("pumps"), QStringLiteral("station"), QStringLiteral("line1"));
        QTest::newRow("no object") << urlOf(QStringLiteral("pumps"), QString());
        QTest::newRow("no instance") << TestHost::configUrl(
            QStringLiteral("pumps"), QStringLiteral("station"), QString(), QStringLiteral("motor"));
        QTest::newRow("no object, of another module") << urlOf(QStringLiteral("fans"), QString());
    }

    void warnsOfAUrlThatTheHostRejects()
    {
        QFETCH(QString, url);
        for (const bool acceptAllObjects : {false, true}) {
            ApiFixture fixture(acceptAllObjects);
            fixture.rootPointerHandler.root = fixture.makeRoot();
            const QString text =
                QLatin1String("The following url ist not valid: ") + argumentText(url);

            QVERIFY(!fixture.api.getPropertyExtern(url, speed).isValid());
            EXPECT_MESSAGES({warning(externRead, text)});
            fixture.api.setPropertyExtern(url, speed, 1300);
            EXPECT_MESSAGES({warning(externWrite, text)});
            expectNothingDone(fixture);
        }
    }

    void warnsOfAnotherModuleByItsNameAlone_data()
    {
        QTest::addColumn<QString>("moduleName");
        QTest::addColumn<QString>("objectName");
        QTest::newRow("own object") << "fans"
                                    << "station";
        QTest::newRow("another object, too") << "fans"
                                             << "network";
        QTest::newRow("other case") << "Pumps"
                                    << "station";
        QTest::newRow("empty") << ""
                               << "station";
        QTest::newRow("longer") << "pumps2"
                                << "station";
    }

    void warnsOfAnotherModuleByItsNameAlone()
    {
        QFETCH(QString, moduleName);
        QFETCH(QString, objectName);
        const QString url = urlOf(moduleName, objectName);
        for (const bool acceptAllObjects : {false, true}) {
            ApiFixture fixture(acceptAllObjects);
            fixture.rootPointerHandler.root = fixture.makeRoot();

            QVERIFY(!fixture.api.getPropertyExtern(url, speed).isValid());
            EXPECT_MESSAGES({warning(externRead, argumentText(moduleName))});
            fixture.api.setPropertyExtern(url, speed, 1300);
            EXPECT_MESSAGES({warning(externWrite, argumentText(moduleName))});
            expectNothingDone(fixture);
        }
    }

    void refusesAnotherObjectSilently_data()
    {
        QTest::addColumn<QString>("objectName");
        QTest::newRow("another") << "network";
        QTest::newRow("other case") << "Station";
    }

    void refusesAnotherObjectSilently()
    {
        QFETCH(QString, objectName);
        ApiFixture fixture;
        fixture.rootPointerHandler.root = fixture.makeRoot();
        const QString url = urlOf(QStringLiteral("pumps"), objectName);

        QVERIFY(!fixture.api.getPropertyExtern(url, speed).isValid());
        fixture.api.setPropertyExtern(url, speed, 1300);
        EXPECT_NO_MESSAGES();
        expectNothingDone(fixture);
    }

    void servesEveryObjectWhenAllAreAccepted()
    {
        ApiFixture fixture(true);
        fixture.rootPointerHandler.root = fixture.makeRoot();
        const QString url = urlOf(QStringLiteral("pumps"), QStringLiteral("network"));

        QCOMPARE(fixture.api.getPropertyExtern(url, speed), QVariant(1200));
        fixture.api.setPropertyExtern(url, speed, 1300);
        QCOMPARE(fixture.takeCalls().last(),
                 QLatin1String("handler.") + callText("setChangedUrl", url));
    }

    void warnsOfANullRootAndMarksNothing()
    {
        ApiFixture fixture;
        const QString url = urlOf(QStringLiteral("pumps"), QStringLiteral("station"));
        const QStringList calls{QLatin1String("handler.") + callText("getRootPointer", url)};

        QVERIFY(!fixture.api.getPropertyExtern(url, speed).isValid());
        EXPECT_MESSAGES({ApiWarnings::rootIsNull(ApiWarnings::read)});
        QCOMPARE(fixture.takeCalls(), calls);

        fixture.api.setPropertyExtern(url, speed, 1300);
        EXPECT_MESSAGES({ApiWarnings::rootIsNull(ApiWarnings::write)});
        QCOMPARE(fixture.takeCalls(), calls);
    }

    void warnsOfAMissingNodeAndMarksNothing()
    {
        ApiFixture fixture;
        fixture.rootPointerHandler.root = fixture.makeRoot();
        const QString url =
            TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"),
                                QStringLiteral("line1"), QStringLiteral("motor/shaft"));
        const QStringList calls{QLatin1String("handler.") + callText("getRootPointer", url),
                                QStringLiteral("root.getNode(\"motor/shaft\")")};

        QVERIFY(!fixture.api.getPropertyExtern(url, speed).isValid());
        EXPECT_MESSAGES(
            {ApiWarnings::leafIsNull(ApiWarnings::read, QStringLiteral("motor/shaft"))});
        QCOMPARE(fixture.takeCalls(), calls);

        fixture.api.setPropertyExtern(url, speed, 1300);
        EXPECT_MESSAGES(
            {ApiWarnings::leafIsNull(ApiWarnings::write, QStringLiteral("motor/shaft"))});
        QCOMPARE(fixture.takeCalls(), calls);
    }

    void addressesTheRootWithoutAPath()
    {
        ApiFixture fixture;
        fixture.rootPointerHandler.root = fixture.makeRoot();
        const QString url = TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"),
                                                QStringLiteral("line1"));
        QCOMPARE(fixture.api.getPropertyExtern(url, speed), QVariant(1200));
        QCOMPARE(fixture.takeCalls()[1], QStringLiteral("root.getNode(\"\")"));
    }

    void marksNothingWhenTheNodeRefuses_data()
    {
        QTest::addColumn<int>("status");
        QTest::newRow("without complaint") << 1;
        QTest::newRow("with a warning") << 2;
    }

    void marksNothingWhenTheNodeRefuses()
    {
        QFETCH(int, status);
        ApiFixture fixture;
        fixture.rootPointerHandler.root = fixture.makeRoot(1200, status);
        fixture.api.setPropertyExtern(urlOf(QStringLiteral("pumps"), QStringLiteral("station")),
                                      speed, 1300);
        if (status == 1) {
            EXPECT_NO_MESSAGES();
        } else {
            EXPECT_MESSAGES({warning(
                ApiWarnings::write,
                QStringLiteral("Can not set value: QVariant(int, 1300) to: \"motor\" \"speed\""))});
        }
        QCOMPARE(fixture.takeCalls().last(),
                 QStringLiteral("motor.setProperty(\"speed\", QVariant(int, 1300))"));
    }

    void givesAMapAsAJsonDocument()
    {
        ApiFixture fixture;
        fixture.rootPointerHandler.root = fixture.makeRoot(QVariantMap{{QStringLiteral("min"), 0}});
        const QVariant value = fixture.api.getPropertyExtern(
            urlOf(QStringLiteral("pumps"), QStringLiteral("station")), speed);
        QCOMPARE(value.userType(), int(QMetaType::QJsonDocument));
    }

    void keepsModuleAndObjectThroughAReset()
    {
        ApiFixture fixture;
        fixture.api.resetState();
        fixture.rootPointerHandler.root = fixture.makeRoot();
        QCOMPARE(fixture.api.getPropertyExtern(
                     urlOf(QStringLiteral("pumps"), QStringLiteral("station")), speed),
                 QVariant(1200));
        QVERIFY(!fixture.api
                     .getPropertyExtern(urlOf(QStringLiteral("pumps"), QStringLiteral("network")),
                                        speed)
                     .isValid());
        fixture.api.getPropertyExtern(urlOf(QStringLiteral("fans"), QStringLiteral("station")),
                                      speed);
        EXPECT_MESSAGES({warning(externRead, QStringLiteral("\"fans\""))});
    }

    void changesAndSavesTheProjectsOtherInstances()
    {
        TestProject project;
        project.storeConfiguration(QStringLiteral("line1/pump1"), R"({
            "children": { "motor": { "properties": { "speed": 1200, "type": "A" } } } })");
        project.storeProcess(QStringLiteral("line1/pump1"), R"({
            "properties": { "unit": "bar" } })");
        JavaScriptRootPointerHandler rootPointerHandler(
            project.path(), {{QStringLiteral("station"), project.path()}});
        const UnitManagerWrapper units(false, false);
        const TextManager texts;
        JavaScriptApi api(units, rootPointerHandler, texts, QStringLiteral("pumps"),
                          QStringLiteral("station"), false, nullptr);
        const QString configUrl = urlOf(QStringLiteral("pumps"), QStringLiteral("station"));
        const QString processUrl = TestHost::processUrl(
            QStringLiteral("pumps"), QStringLiteral("station"), QStringLiteral("line1/pump1"));

        api.setPropertyExtern(configUrl, speed, 1200);
        api.setPropertyExtern(TestHost::configUrl(QStringLiteral("fans"), QStringLiteral("station"),
                                                  QStringLiteral("line1/pump1")),
                              speed, 1);
        EXPECT_MESSAGES({warning(externWrite, QStringLiteral("\"fans\""))});
        api.setPropertyExtern(QStringLiteral("no url"), speed, 1);
        EXPECT_MESSAGES(
            {warning(externWrite, QStringLiteral("The following url ist not valid: \"no url\""))});
        QCOMPARE(api.getChangedExternalConfigIAbsoluteUrls(), QStringList());
        QCOMPARE(api.getChangedExternalProcessAbsoluteUrls(), QStringList());

        api.setPropertyExtern(configUrl, speed, 1300);
        api.setPropertyExtern(processUrl, QStringLiteral("unit"), QStringLiteral("mbar"));
        QCOMPARE(api.getPropertyExtern(configUrl, speed), QVariant(1300));
        QCOMPARE(
            api.getChangedExternalConfigIAbsoluteUrls(),
            QStringList({TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"),
                                             QStringLiteral("line1/pump1"))}));
        QCOMPARE(api.getChangedExternalProcessAbsoluteUrls(), QStringList({processUrl}));

        const QString instance = QStringLiteral("line1/pump1");
        const QString motor = QStringLiteral("motor");
        QCOMPARE(project.configurationProperty(instance, motor, speed), QVariant(1200));
        api.saveChangedFiles();
        QCOMPARE(project.configurationProperty(instance, motor, speed), QVariant(1300));
        QCOMPARE(project.configurationProperty(instance, motor, QStringLiteral("type")),
                 QVariant(QStringLiteral("A")));
        QCOMPARE(project.processProperty(instance, QString(), QStringLiteral("unit")),
                 QVariant(QStringLiteral("mbar")));
    }

private:
    void expectNothingDone(ApiFixture &fixture)
    {
        QCOMPARE(fixture.takeCalls(), QStringList());
        QVERIFY(fixture.api.getListOfErrors().isEmpty());
        QCOMPARE(fixture.api.hasInstanceChanged(), false);
    }
};

TEST_CLASS(JavaScriptApiExternTest)

#include "JavaScriptApiExternTest.moc"
