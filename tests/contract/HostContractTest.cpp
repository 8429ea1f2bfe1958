#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "host/JsonDataIterator.h"
#include "host/PropertyManagerConst.h"
#include "host/SelectorUrlHandler.h"
#include "host/SystemInformationManagerDataDefinitions.h"
#include "host/TranslateableTextHelper.h"
#include "host/UnitManagerWrapper.h"
#include "support/StrictTest.h"
#include "support/TestHost.h"
#include "support/TestProject.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTest>

using Node = ConfigurationAndProcessDataBase::BaseClassSharedPointer;

namespace {

const QByteArray s_pump = R"({
    "properties": { "name": "pump", "speed": 1200, "isOn": true, "note": null },
    "readOnly": [ "serialNumber" ],
    "children": {
        "motor": {
            "properties": { "current": 2.5 },
            "children": { "limits": { "properties": { "maximum": 9 } } }
        },
        "valve": { "properties": { "serialNumber": 7 }, "readOnly": [ "serialNumber" ] }
    }
})";

const QString s_instance = QStringLiteral("line1/pump1");

QDir folderOf(const TestProject &project, bool isProcess)
{
    return QDir(isProcess ? PropertyManagerConst::getProcessFolderPath(project.path())
                          : PropertyManagerConst::getConfigurationFolderPath(project.path()));
}

Node read(const TestProject &project, const QString &instance = s_instance, bool isProcess = false)
{
    return ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
        folderOf(project, isProcess), instance, isProcess);
}

bool write(const TestProject &project, const QString &instance, const Node &root,
           bool isProcess = false)
{
    return ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
        folderOf(project, isProcess), QStringLiteral("pumps"), QStringLiteral("station"), instance,
        root, isProcess);
}

QJsonValue json(const QVariant &value)
{
    return QJsonValue::fromVariant(value);
}

QJsonArray parse(const QByteArray &array)
{
    return QJsonDocument::fromJson(array).array();
}

QJsonValue find(const QString &key, const QByteArray &array)
{
    JsonDataIterator iterator{JsonDataIteratorKeyComparator(key)};
    iterator.iterate(parse(array));
    return iterator.getResult();
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

QStringList objectNames(const SystemInformationManagerDBusProviderDescriptionHandler &providers,
                        const QString &dataType)
{
    QStringList names;
    const auto container = providers.getProviderData(dataType);
    const auto items = container.getItemList();
    for (const auto &item : items) {
        names.append(item.getObjectName());
    }
    return names;
}

} // namespace

Q_DECLARE_METATYPE(QJsonValue)

/// What the library relies on in every host. Run against a host by linking its TestHost.
class HostContractTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    // Nodes

    void isItsOwnNodeAtTheEmptyUrl()
    {
        const Node root = TestHost::makeTree(s_pump);
        QCOMPARE(root->getNode(QString()), root);
        const Node motor = root->getNode(QStringLiteral("motor"));
        QCOMPARE(motor->getNode(QString()), motor);
    }

    void findsDescendantsByUrl_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<bool>("exists");
        QTest::newRow("the node itself") << QString() << true;
        QTest::newRow("a child") << QStringLiteral("motor") << true;
        QTest::newRow("a grandchild") << QStringLiteral("motor/limits") << true;
        QTest::newRow("no child") << QStringLiteral("pipe") << false;
        QTest::newRow("no grandchild") << QStringLiteral("motor/pipe") << false;
        QTest::newRow("below no child") << QStringLiteral("pipe/motor") << false;
        QTest::newRow("a grandchild's name") << QStringLiteral("limits") << false;
        QTest::newRow("a property") << QStringLiteral("speed") << false;
        QTest::newRow("other case") << QStringLiteral("Motor") << false;
        QTest::newRow("only a separator") << QStringLiteral("/") << false;
        QTest::newRow("separator in front") << QStringLiteral("/motor") << false;
        QTest::newRow("separator behind") << QStringLiteral("motor/") << false;
        QTest::newRow("two separators") << QStringLiteral("motor//limits") << false;
    }

    void findsDescendantsByUrl()
    {
        QFETCH(QString, url);
        QFETCH(bool, exists);
        const Node root = TestHost::makeTree(s_pump);
        QCOMPARE(root->isUrlValid(url), exists);
        QCOMPARE(!root->getNode(url).isNull(), exists);
    }

    void resolvesUrlsFromTheNodeAsked()
    {
        const Node motor = TestHost::makeTree(s_pump)->getNode(QStringLiteral("motor"));
        QVERIFY(motor->isUrlValid(QStringLiteral("limits")));
        QVERIFY(!motor->isUrlValid(QStringLiteral("motor")));
        QCOMPARE(motor->getNode(QStringLiteral("limits"))
                     ->getProperty(QStringLiteral("maximum"))
                     .toInt(),
                 9);
    }

    void keepsANodeUsableWithoutItsRoot()
    {
        Node root = TestHost::makeTree(s_pump);
        const Node motor = root->getNode(QStringLiteral("motor"));
        root.reset();
        QCOMPARE(motor->setProperty(QStringLiteral("current"), 3), 0);
        QCOMPARE(motor->getProperty(QStringLiteral("current")).toInt(), 3);
        QVERIFY(motor->isUrlValid(QStringLiteral("limits")));
    }

    void listsTheChildren()
    {
        const Node root = TestHost::makeTree(s_pump);
        const auto children = root->getChildMap();
        QCOMPARE(sorted(children.keys()),
                 QStringList({QStringLiteral("motor"), QStringLiteral("valve")}));
        for (auto it = children.cbegin(); it != children.cend(); ++it) {
            QCOMPARE(it.value(), root->getNode(it.key()));
        }
        QVERIFY(root->getNode(QStringLiteral("valve"))->getChildMap().isEmpty());
    }

    void readsProperties()
    {
        const Node root = TestHost::makeTree(s_pump);
        QCOMPARE(json(root->getProperty(QStringLiteral("name"))),
                 QJsonValue(QStringLiteral("pump")));
        QCOMPARE(json(root->getProperty(QStringLiteral("speed"))), QJsonValue(1200));
        QCOMPARE(json(root->getProperty(QStringLiteral("isOn"))), QJsonValue(true));
    }

    void tellsAPropertyThatIsNullFromAMissingOne()
    {
        const Node root = TestHost::makeTree(s_pump);
        QVERIFY(root->hasProperty(QStringLiteral("note")));
        QVERIFY(root->getProperty(QStringLiteral("note")).isNull());
        QVERIFY(!root->hasProperty(QStringLiteral("current")));
        QVERIFY(!root->hasProperty(QStringLiteral("motor")));
        QVERIFY(!root->hasProperty(QString()));
        QVERIFY(!root->getProperty(QStringLiteral("current")).isValid());
    }

    void writesAProperty_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("number") << QVariant(1300);
        QTest::newRow("fraction") << QVariant(0.1);
        QTest::newRow("the same as text") << QVariant(QStringLiteral("1200"));
        QTest::newRow("boolean") << QVariant(false);
        QTest::newRow("null") << QVariant::fromValue(nullptr);
        QTest::newRow("empty text") << QVariant(QString(QLatin1String("")));
        QTest::newRow("list") << QVariant(QVariantList{1, QStringLiteral("two"), QVariantList{}});
        QTest::newRow("map") << QVariant(
            QVariantMap{{QStringLiteral("min"), 0}, {QStringLiteral("in"), QVariantMap{}}});
    }

    void writesAProperty()
    {
        QFETCH(QVariant, value);
        TestProject project;
        project.storeConfiguration(s_instance, s_pump);
        const Node root = read(project);
        QCOMPARE(root->setProperty(QStringLiteral("speed"), value), 0);
        QCOMPARE(json(root->getProperty(QStringLiteral("speed"))), json(value));
        QVERIFY(write(project, s_instance, root));
        const Node reread = read(project);
        QVERIFY(reread->hasProperty(QStringLiteral("speed")));
        QCOMPARE(json(reread->getProperty(QStringLiteral("speed"))), json(value));
    }

    void refusesAnEqualValueWithoutComplaint()
    {
        const Node root = TestHost::makeTree(s_pump);
        QCOMPARE(root->setProperty(QStringLiteral("speed"), 1200), 1);
        QCOMPARE(root->setProperty(QStringLiteral("name"), QStringLiteral("pump")), 1);
        QCOMPARE(root->setProperty(QStringLiteral("speed"), 1300), 0);
        QCOMPARE(root->setProperty(QStringLiteral("speed"), 1300), 1);
    }

    void refusesToWriteAReadOnlyProperty()
    {
        const Node valve = TestHost::makeTree(s_pump)->getNode(QStringLiteral("valve"));
        const int status = valve->setProperty(QStringLiteral("serialNumber"), 8);
        QVERIFY2(status != 0 && status != 1, qPrintable(QString::number(status)));
        QCOMPARE(valve->getProperty(QStringLiteral("serialNumber")).toInt(), 7);
    }

    void addsAProperty()
    {
        TestProject project;
        project.storeConfiguration(s_instance, s_pump);
        const Node root = read(project);
        const Node motor = root->getNode(QStringLiteral("motor"));
        motor->addProperty(QStringLiteral("power"), 5.5);
        QVERIFY(motor->hasProperty(QStringLiteral("power")));
        QVERIFY(!root->hasProperty(QStringLiteral("power")));
        QCOMPARE(motor->getProperty(QStringLiteral("power")).toDouble(), 5.5);
        QCOMPARE(motor->setProperty(QStringLiteral("power"), 6), 0);
        QVERIFY(write(project, s_instance, root));
        QCOMPARE(
            project
                .configurationProperty(s_instance, QStringLiteral("motor"), QStringLiteral("power"))
                .toInt(),
            6);
    }

    void showsAChangeThroughEveryPointerToTheNode()
    {
        const Node root = TestHost::makeTree(s_pump);
        root->getChildMap()
            .value(QStringLiteral("motor"))
            ->setProperty(QStringLiteral("current"), 3);
        QCOMPARE(
            root->getNode(QStringLiteral("motor"))->getProperty(QStringLiteral("current")).toInt(),
            3);
    }

    // Trees in projects

    void readsAMissingTreeAsNullWithoutAWord()
    {
        TestProject project;
        QVERIFY(read(project).isNull());
        project.storeConfiguration(s_instance, s_pump);
        QVERIFY(read(project, QStringLiteral("line1")).isNull());
        QVERIFY(read(project, QStringLiteral("pump1")).isNull());
        QVERIFY(read(project, QStringLiteral("line1/pump1/motor")).isNull());
    }

    void keepsConfigurationAndProcessApart()
    {
        TestProject project;
        project.storeConfiguration(s_instance, s_pump);
        QVERIFY(read(project, s_instance, true).isNull());
        project.storeProcess(s_instance, R"({ "properties": { "speed": 1 } })");
        const Node process = read(project, s_instance, true);
        QCOMPARE(process->getProperty(QStringLiteral("speed")).toInt(), 1);
        QCOMPARE(process->setProperty(QStringLiteral("speed"), 2), 0);
        QVERIFY(write(project, s_instance, process, true));
        QCOMPARE(read(project)->getProperty(QStringLiteral("speed")).toInt(), 1200);
        QCOMPARE(project.processProperty(s_instance, QString(), QStringLiteral("speed")).toInt(),
                 2);
    }

    void readsAnIndependentTreeEachTime()
    {
        TestProject project;
        project.storeConfiguration(s_instance, s_pump);
        const Node first = read(project);
        const Node second = read(project);
        QVERIFY(first != second);
        QCOMPARE(first->setProperty(QStringLiteral("speed"), 1300), 0);
        QCOMPARE(second->getProperty(QStringLiteral("speed")).toInt(), 1200);
        QCOMPARE(read(project)->getProperty(QStringLiteral("speed")).toInt(), 1200);
    }

    void storesTheTreeAsItIsWhenItIsWritten()
    {
        TestProject project;
        project.storeConfiguration(s_instance, s_pump);
        const Node root = read(project);
        root->setProperty(QStringLiteral("speed"), 1300);
        QVERIFY(write(project, s_instance, root));
        root->setProperty(QStringLiteral("speed"), 1400);
        QCOMPARE(read(project)->getProperty(QStringLiteral("speed")).toInt(), 1300);
        QVERIFY(write(project, s_instance, root));
        QCOMPARE(read(project)->getProperty(QStringLiteral("speed")).toInt(), 1400);
    }

    void makesATreeThatAProjectDoesNotHave()
    {
        TestProject from;
        TestProject to;
        from.storeConfiguration(s_instance, s_pump);
        const QString instance = QStringLiteral("line2/section 3/pump");
        QVERIFY(write(to, instance, read(from)));
        const Node copy = read(to, instance);
        QVERIFY(!copy.isNull());
        QCOMPARE(copy->getNode(QStringLiteral("motor/limits"))
                     ->getProperty(QStringLiteral("maximum"))
                     .toInt(),
                 9);
        const Node valve = copy->getNode(QStringLiteral("valve"));
        QVERIFY(valve->setProperty(QStringLiteral("serialNumber"), 8) != 0);
        QVERIFY(read(from, instance).isNull());
    }

    // Absolute URLs

    void readsBackEveryPartOfAUrl_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("plain") << QStringLiteral("pump1");
        QTest::newRow("empty") << QString(QLatin1String(""));
        QTest::newRow("beyond ASCII") << QStringLiteral("Pümpe 泵 \U0001F6B0");
        QTest::newRow("separators") << QStringLiteral("a/b//c/");
        QTest::newRow("separator in front") << QStringLiteral("/a");
        QTest::newRow("a URL") << QStringLiteral("config://pumps/station/line1#motor");
        QTest::newRow("encoded already") << QStringLiteral("%23%2F%252F");
        QTest::newRow("bad encoding") << QStringLiteral("100%");
        QTest::newRow("dots") << QStringLiteral("../.");
        QTest::newRow("NUL") << QString(QChar(QChar::Null));
        for (char character = 1; character < 0x7f; ++character) {
            if (!QChar::isLetterOrNumber(uint(character))) {
                QTest::addRow("U+%04X", uint(character))
                    << QStringLiteral("a%1b").arg(QLatin1Char(character));
            }
        }
    }

    void readsBackEveryPartOfAUrl()
    {
        QFETCH(QString, text);
        const QString other = QStringLiteral("x");
        for (int part = 0; part < 5; ++part) {
            const auto value = [&](int index) {
                return index == part ? text : other;
            };
            const SelectorUrlHandler handler(
                TestHost::url(value(0), value(1), value(2), value(3), value(4)));
            QCOMPARE(handler.getScheme(), value(0));
            QCOMPARE(handler.getModuleName(), value(1));
            QCOMPARE(handler.getObjectName(), value(2));
            QCOMPARE(handler.getInstance(), value(3));
            QCOMPARE(handler.getUrl(), value(4));
        }
        const SelectorUrlHandler all(TestHost::url(text, text, text, text, text));
        QCOMPARE(all.getScheme(), text);
        QCOMPARE(all.getModuleName(), text);
        QCOMPARE(all.getObjectName(), text);
        QCOMPARE(all.getInstance(), text);
        QCOMPARE(all.getUrl(), text);
    }

    void needsSchemeObjectAndInstanceInAUrl()
    {
        const QString a = QStringLiteral("a");
        const QString none = QString();
        QVERIFY(SelectorUrlHandler(TestHost::url(a, a, a, a, a)).isValid());
        QVERIFY(SelectorUrlHandler(TestHost::url(a, a, a, a, none)).isValid());
        QVERIFY(SelectorUrlHandler(TestHost::url(a, none, a, a, a)).isValid());
        QVERIFY(!SelectorUrlHandler(TestHost::url(none, a, a, a, a)).isValid());
        QVERIFY(!SelectorUrlHandler(TestHost::url(a, a, none, a, a)).isValid());
        QVERIFY(!SelectorUrlHandler(TestHost::url(a, a, a, none, a)).isValid());
    }

    void hasNoPartsInATextThatIsNoUrl_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("null") << QString();
        QTest::newRow("a word") << QStringLiteral("pump1");
        QTest::newRow("a relative URL") << QStringLiteral("motor/limits");
    }

    void hasNoPartsInATextThatIsNoUrl()
    {
        QFETCH(QString, text);
        const SelectorUrlHandler handler(text);
        QVERIFY(!handler.isValid());
        QVERIFY(!handler.isConfigurationScheme());
        QVERIFY(!handler.isProcessDataScheme());
        QCOMPARE(handler.getScheme() + handler.getModuleName() + handler.getObjectName()
                     + handler.getInstance() + handler.getUrl(),
                 QString());
    }

    void knowsItsTwoSchemes()
    {
        const QString a = QStringLiteral("a");
        const SelectorUrlHandler config(TestHost::configUrl(a, a, a));
        QVERIFY(config.isConfigurationScheme() && !config.isProcessDataScheme());
        QCOMPARE(config.getScheme(),
                 ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration());
        const SelectorUrlHandler process(TestHost::processUrl(a, a, a));
        QVERIFY(process.isProcessDataScheme() && !process.isConfigurationScheme());
        const SelectorUrlHandler other(TestHost::url(QStringLiteral("other"), a, a, a));
        QVERIFY(other.isValid() && !other.isConfigurationScheme() && !other.isProcessDataScheme());
    }

    void setsPartsInAChain()
    {
        SelectorUrlHandler handler((QString()));
        SelectorUrlHandler &same = handler.setScheme(QStringLiteral("s"))
                                       .setModuleName(QStringLiteral("m"))
                                       .setObjectName(QStringLiteral("o"))
                                       .setInstance(QStringLiteral("i"))
                                       .setUrl(QStringLiteral("u"));
        QCOMPARE(&same, &handler);
        QVERIFY(handler.isValid());
        QCOMPARE(handler.toString(),
                 TestHost::url(QStringLiteral("s"), QStringLiteral("m"), QStringLiteral("o"),
                               QStringLiteral("i"), QStringLiteral("u")));
        QCOMPARE(handler.setInstance(QStringLiteral("j")).getInstance(), QStringLiteral("j"));
        QCOMPARE(handler.getObjectName(), QStringLiteral("o"));
    }

    void reducesAUrlToItsInstance()
    {
        const QString a = QStringLiteral("a");
        SelectorUrlHandler handler(TestHost::configUrl(a, a, a, QStringLiteral("motor/limits")));
        const QString instanceUrl = handler.setUrl(QString()).toString();
        QCOMPARE(instanceUrl, TestHost::configUrl(a, a, a));
        const SelectorUrlHandler parsed(instanceUrl);
        QVERIFY(parsed.isValid());
        QCOMPARE(parsed.getInstance(), a);
        QVERIFY(parsed.getUrl().isEmpty());
    }

    // Names

    void namesThreeFoldersInsideTheProject()
    {
        const QString project = QStringLiteral("/projects/pump station");
        const QStringList folders{PropertyManagerConst::getConfigurationFolderPath(project),
                                  PropertyManagerConst::getProcessFolderPath(project),
                                  PropertyManagerConst::getDependencyFolderPath(project)};
        for (const QString &folder : folders) {
            QVERIFY2(folder.startsWith(project + QLatin1Char('/')), qPrintable(folder));
            QVERIFY2(!folder.endsWith(QLatin1Char('/')), qPrintable(folder));
        }
        QCOMPARE(QSet<QString>(folders.begin(), folders.end()).size(), 3);
    }

    void namesTheManifestAndItsKeys()
    {
        const QString fileName = PropertyManagerConst::getConfigurationManifestFilename();
        QVERIFY(!fileName.isEmpty() && !fileName.contains(QLatin1Char('/')));
        const QString instanceKey = SystemInformationManagerDataDefinitions::getKeyInstanceName();
        const QString listKey =
            ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern();
        QVERIFY(!instanceKey.isEmpty() && !listKey.isEmpty() && instanceKey != listKey);
    }

    // JSON data

    void findsTheFirstMember_data()
    {
        QTest::addColumn<QByteArray>("array");
        QTest::addColumn<QJsonValue>("result");
        const QJsonValue undefined(QJsonValue::Undefined);
        QTest::newRow("empty") << QByteArray("[]") << undefined;
        QTest::newRow("no objects") << QByteArray(R"([1, "key", null])") << undefined;
        QTest::newRow("other keys")
            << QByteArray(R"([{ "Key": 1, "keys": 2, "": 3 }])") << undefined;
        QTest::newRow("in the only object") << QByteArray(R"([{ "key": 1 }])") << QJsonValue(1);
        QTest::newRow("in a later object")
            << QByteArray(R"([{ "a": 1 }, 5, { "key": 2 }])") << QJsonValue(2);
        QTest::newRow("first of two")
            << QByteArray(R"([{ "key": 1 }, { "key": 2 }])") << QJsonValue(1);
        QTest::newRow("in an object inside")
            << QByteArray(R"([{ "a": { "b": { "key": 3 } } }])") << QJsonValue(3);
        QTest::newRow("in an array inside")
            << QByteArray(R"([[[{ "a": [1, { "key": 4 }] }]]])") << QJsonValue(4);
        QTest::newRow("outside before inside")
            << QByteArray(R"([{ "a": { "key": 1 }, "key": 2 }])") << QJsonValue(2);
        QTest::newRow("null") << QByteArray(R"([{ "key": null }, { "key": 1 }])")
                              << QJsonValue(QJsonValue::Null);
        QTest::newRow("a structure")
            << QByteArray(R"([{ "key": [{ "key": 1 }] }])")
            << QJsonValue(QJsonArray{QJsonObject{{QStringLiteral("key"), 1}}});
    }

    void findsTheFirstMember()
    {
        QFETCH(QByteArray, array);
        QFETCH(QJsonValue, result);
        QCOMPARE(find(QStringLiteral("key"), array), result);
    }

    void hasFoundNothingBeforeItSearched()
    {
        const JsonDataIterator iterator{JsonDataIteratorKeyComparator(QStringLiteral("key"))};
        QVERIFY(iterator.getResult().isUndefined());
    }

    // Services

    void listsTheProvidersOfADataType()
    {
        const auto providers = TestHost::makeProviders(
            {{QStringLiteral("clock"), {QStringLiteral("time")}},
             {QStringLiteral("alarm"), {QStringLiteral("siren"), QStringLiteral("lamp")}},
             {QStringLiteral("none"), {}}});
        QCOMPARE(sorted(providers.getRegisteredDataTypes()),
                 QStringList(
                     {QStringLiteral("alarm"), QStringLiteral("clock"), QStringLiteral("none")}));
        QCOMPARE(objectNames(providers, QStringLiteral("clock")),
                 QStringList({QStringLiteral("time")}));
        QCOMPARE(objectNames(providers, QStringLiteral("alarm")),
                 QStringList({QStringLiteral("siren"), QStringLiteral("lamp")}));
        QCOMPARE(objectNames(providers, QStringLiteral("none")), QStringList());
        QCOMPARE(objectNames(providers, QStringLiteral("unknown")), QStringList());
    }

    void translatesAText()
    {
        const auto texts =
            TestHost::makeTextManager({{QStringLiteral("pump.1"), QStringLiteral("Förderpumpe")}});
        const TextManagerBase &base = *texts;
        QCOMPARE(base.getText(QStringLiteral("pump.1"), QString()), QStringLiteral("Förderpumpe"));
        QVERIFY(base.getText(QStringLiteral("pump.2"), QString()) != QStringLiteral("Förderpumpe"));
    }

    void knowsTheTextsOfAUnit()
    {
        const QVariantMap texts{{QStringLiteral("en"), QStringLiteral("litres")},
                                {QStringLiteral("fr"), QStringLiteral("litres")}};
        TestHost::useUnits({{QStringLiteral("l"), texts}});
        const UnitManagerWrapper units(false, false);
        QCOMPARE(units.getUnitTextJsonMap(QStringLiteral("l")).toMap(), texts);
        QVERIFY(!units.getUnitTextJsonMap(QStringLiteral("L")).isValid());
        QVERIFY(!units.getUnitTextJsonMap(QString()).isValid());
        TestHost::useUnits({});
        QVERIFY(
            !UnitManagerWrapper(false, false).getUnitTextJsonMap(QStringLiteral("l")).isValid());
    }

    void turnsATextInSeveralLanguagesIntoJson()
    {
        const QVariantMap texts{{QStringLiteral("de"), QStringLiteral("Füllstand \"A\"\n\\")},
                                {QStringLiteral("ja"), QStringLiteral("水位 \U0001F30A")},
                                {QStringLiteral("en"), QString(QLatin1String(""))}};
        TranslateableTextHelper helper(QStringLiteral("config://m/o/i"), nullptr);
        helper.setTranslateableTextObject(texts);
        const QByteArray text = helper.getTranslateableTextObjectAsJsonString().toUtf8();
        QCOMPARE(QJsonDocument::fromJson(text).object().toVariantMap(), texts);
    }

    void turnsNoTextIntoNoJson()
    {
        TranslateableTextHelper helper(QString(), nullptr);
        QVERIFY(helper.getTranslateableTextObjectAsJsonString().isEmpty());
        helper.setTranslateableTextObject(
            QVariantMap{{QStringLiteral("en"), QStringLiteral("litres")}});
        helper.setTranslateableTextObject(QVariant());
        QVERIFY(helper.getTranslateableTextObjectAsJsonString().isEmpty());
    }

    void givesTheTextHelperToItsParent()
    {
        QObject parent;
        auto *helper = new TranslateableTextHelper(QString(), &parent);
        QCOMPARE(helper->parent(), &parent);
    }
};

TEST_CLASS(HostContractTest)

#include "HostContractTest.moc"
