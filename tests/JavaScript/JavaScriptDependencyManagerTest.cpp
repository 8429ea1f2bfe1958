#include "JavaScript/JavaScriptDependencyManager.h"

#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/PropertyManagerConst.h"
#include "host/SystemInformationManagerDataDefinitions.h"
#include "support/StrictTest.h"
#include "support/TestProject.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <type_traits>

static_assert(std::has_virtual_destructor_v<JavaScriptDependencyManager>);

namespace {

Message noArray()
{
    return warning(QStringLiteral("QStringList JavaScriptDependencyManager::getListOfInstanceNames("
                                  "const QJsonValue&)"),
                   QStringLiteral("Json value is not an array!"));
}

Message noObject(const QString &element)
{
    return warning(
        QStringLiteral(
            "QStringList JavaScriptDependencyManager::getListOfInstanceNames(const QJsonValue&)"),
        QStringLiteral("Contains no propterty \"%1\" %2")
            .arg(SystemInformationManagerDataDefinitions::getKeyInstanceName(), element));
}

/// What a failed attempt to open @p path is warned of with.
Message cannotOpen(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return warning(
        QStringLiteral("bool JavaScriptDependencyManager::"
                       "scanManifestFileForExternalDependencyInstances(const QDir&)"),
        QStringLiteral("Can't open file  \"%1\"  IO Error:  \"%2\"").arg(path, file.errorString()));
}

QString dependencyKey()
{
    return ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern();
}

QJsonObject entry(const QJsonValue &instanceName)
{
    return {{SystemInformationManagerDataDefinitions::getKeyInstanceName(), instanceName}};
}

/// A manifest with @p value as its external dependencies.
QByteArray manifest(const QJsonValue &value)
{
    return QJsonDocument(QJsonArray{QJsonObject{{dependencyKey(), value}}}).toJson();
}

} // namespace

class JavaScriptDependencyManagerTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        StrictTest::init();
        m_project.reset(new TestProject);
    }

    void cleanup()
    {
        m_project.reset();
        StrictTest::cleanup();
    }

    // The manifest

    void listsInstancesInTheManifestsOrderWithDuplicates()
    {
        const QStringList instances{QStringLiteral("line2/pump1"), QStringLiteral("line1"),
                                    QStringLiteral("line2/pump1"), QStringLiteral("a")};
        m_project->listInstances(instances);
        QCOMPARE(manager().getExternalDependencySourceInstanceList(), instances);
    }

    void saysNothingOfAProjectWithoutConfigurationFolder()
    {
        JavaScriptDependencyManager withParents(m_project->path(), true);
        QCOMPARE(withParents.getExternalDependencySourceInstanceList(), QStringList());
        QCOMPARE(withParents.getInstancesToResolve(QStringLiteral("line1/pump1")), QStringList());
        QCOMPARE(withParents.getInstancesToResolve(QString()), QStringList());
        QCOMPARE(withParents.queryCache(QString()), QStringList());
    }

    void warnsOfAMissingManifest()
    {
        QVERIFY(QDir().mkpath(configurationFolder().path()));
        auto manager = this->manager();
        EXPECT_MESSAGES({cannotOpen(manifestPath())});
        QCOMPARE(manager.getExternalDependencySourceInstanceList(), QStringList());
        QCOMPARE(manager.getInstancesToResolve(QString()), QStringList());
    }

    void warnsOfAManifestThatCannotBeOpened()
    {
        QVERIFY(QDir().mkpath(manifestPath()));
        const auto manager = this->manager();
        EXPECT_MESSAGES({cannotOpen(manifestPath())});
        QCOMPARE(manager.getExternalDependencySourceInstanceList(), QStringList());
    }

    void saysNothingOfAManifestThatIsNotJson_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("text") << QByteArray("instances");
        QTest::newRow("unfinished") << manifest(QJsonArray{entry(QStringLiteral("a"))}).chopped(3);
        QTest::newRow("more than a document") << manifest(QJsonArray()) + "]";
    }

    void saysNothingOfAManifestThatIsNotJson()
    {
        QFETCH(QByteArray, content);
        m_project->writeManifest(content);
        auto manager = this->manager();
        QCOMPARE(manager.getExternalDependencySourceInstanceList(), QStringList());
        QVERIFY(!manager.scanManifestFileForExternalDependencyInstances(configurationFolder()));
    }

    void findsNothingInAManifestWithAnObjectOnTop()
    {
        m_project->writeManifest(
            QJsonDocument(
                QJsonObject{{dependencyKey(), QJsonArray{entry(QStringLiteral("line1"))}}})
                .toJson());
        auto manager = this->manager();
        EXPECT_MESSAGES({noArray()});
        QCOMPARE(manager.getExternalDependencySourceInstanceList(), QStringList());
        QVERIFY(manager.scanManifestFileForExternalDependencyInstances(configurationFolder()));
        EXPECT_MESSAGES({noArray()});
    }

    void warnsOfAManifestWithoutTheDependencies_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty array") << QByteArray("[]");
        QTest::newRow("other members") << QByteArray(R"([{ "a": [{ "b": 1 }] }, 2, "c", null])");
    }

    void warnsOfAManifestWithoutTheDependencies()
    {
        QFETCH(QByteArray, content);
        m_project->writeManifest(content);
        const auto manager = this->manager();
        EXPECT_MESSAGES({noArray()});
        QCOMPARE(manager.getExternalDependencySourceInstanceList(), QStringList());
    }

    void saysNothingOfDependenciesThatAreNull()
    {
        m_project->writeManifest(manifest(QJsonValue::Null));
        QCOMPARE(manager().getExternalDependencySourceInstanceList(), QStringList());
    }

    void saysNothingOfAnEmptyArrayOfDependencies()
    {
        m_project->writeManifest(manifest(QJsonArray()));
        QCOMPARE(manager().getExternalDependencySourceInstanceList(), QStringList());
    }

    void warnsOfDependenciesThatAreNoArray_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::newRow("string") << QJsonValue(QStringLiteral("line1"));
        QTest::newRow("number") << QJsonValue(1);
        QTest::newRow("bool") << QJsonValue(true);
        QTest::newRow("object") << QJsonValue(entry(QStringLiteral("line1")));
    }

    void warnsOfDependenciesThatAreNoArray()
    {
        QFETCH(QJsonValue, value);
        m_project->writeManifest(manifest(value));
        const auto manager = this->manager();
        EXPECT_MESSAGES({noArray()});
        QCOMPARE(manager.getExternalDependencySourceInstanceList(), QStringList());
    }

    void findsTheDependenciesAnywhereInTheArray()
    {
        const QJsonObject dependencies{
            {dependencyKey(), QJsonArray{entry(QStringLiteral("line1"))}}};
        m_project->writeManifest(
            QJsonDocument(
                QJsonArray{1, QStringLiteral("text"), QJsonObject{{QStringLiteral("other"), 1}},
                           QJsonArray{QJsonObject{{QStringLiteral("nested"), dependencies}}}})
                .toJson());
        QCOMPARE(manager().getExternalDependencySourceInstanceList(),
                 QStringList({QStringLiteral("line1")}));
    }

    void readsTheManifestsTextAsUtf8()
    {
        const QString instance = QString::fromUtf8("stra\xc3\x9f"
                                                   "e/\xe6\xb3\xb5");
        m_project->listInstances({instance});
        QCOMPARE(manager().getExternalDependencySourceInstanceList(), QStringList({instance}));
    }

    // Instance names of a JSON value

    void warnsOfAnUndefinedValue()
    {
        QCOMPARE(manager().getListOfInstanceNames(QJsonValue(QJsonValue::Undefined)),
                 QStringList());
        EXPECT_MESSAGES({noArray()});
    }

    void takesTheInstanceNameOfEachObjectOnly()
    {
        QJsonObject element = entry(QStringLiteral("line1"));
        element.insert(QStringLiteral("comment"), QStringLiteral("first"));
        QCOMPARE(
            manager().getListOfInstanceNames(QJsonArray{element, entry(QStringLiteral("line2"))}),
            QStringList({QStringLiteral("line1"), QStringLiteral("line2")}));
    }

    void keepsAnEmptyNameForAnObjectWithoutOne()
    {
        const QJsonArray elements{QJsonObject(),
                                  entry(5),
                                  entry(true),
                                  entry(QJsonValue::Null),
                                  entry(QJsonArray{QStringLiteral("line1")}),
                                  entry(QStringLiteral("line2")),
                                  entry(QString())};
        QCOMPARE(manager().getListOfInstanceNames(elements),
                 QStringList({QString(), QString(), QString(), QString(), QString(),
                              QStringLiteral("line2"), QString()}));
    }

    void skipsElementsThatAreNoObjects()
    {
        const QJsonArray elements{QStringLiteral("line1"),
                                  entry(QStringLiteral("line2")),
                                  42,
                                  QJsonValue::Null,
                                  true,
                                  QJsonArray(),
                                  entry(QStringLiteral("line3"))};
        m_project->writeManifest(manifest(elements));
        const auto manager = this->manager();
        EXPECT_MESSAGES({noObject(QStringLiteral("QJsonValue(string, \"line1\")")),
                         noObject(QStringLiteral("QJsonValue(double, 42)")),
                         noObject(QStringLiteral("QJsonValue(null)")),
                         noObject(QStringLiteral("QJsonValue(bool, true)")),
                         noObject(QStringLiteral("QJsonValue(array, QJsonArray())"))});
        QCOMPARE(manager.getExternalDependencySourceInstanceList(),
                 QStringList({QStringLiteral("line2"), QStringLiteral("line3")}));
    }

    // Reading again

    void replacesTheListWithThatOfAnotherManifest()
    {
        m_project->listInstances({QStringLiteral("line1")});
        TestProject other;
        other.listInstances({QStringLiteral("line2"), QStringLiteral("line3")});
        auto manager = this->manager();
        QVERIFY(manager.scanManifestFileForExternalDependencyInstances(
            QDir(PropertyManagerConst::getConfigurationFolderPath(other.path()))));
        QCOMPARE(manager.getExternalDependencySourceInstanceList(),
                 QStringList({QStringLiteral("line2"), QStringLiteral("line3")}));
    }

    void emptiesTheListForAManifestWithoutInstances()
    {
        m_project->listInstances({QStringLiteral("line1")});
        auto manager = this->manager();
        m_project->writeManifest(manifest(QJsonValue::Null));
        QVERIFY(manager.scanManifestFileForExternalDependencyInstances(configurationFolder()));
        QCOMPARE(manager.getExternalDependencySourceInstanceList(), QStringList());
    }

    void keepsTheListWhenAManifestCannotBeRead()
    {
        m_project->listInstances({QStringLiteral("line1")});
        auto manager = this->manager();
        m_project->writeManifest("not JSON");
        QVERIFY(!manager.scanManifestFileForExternalDependencyInstances(configurationFolder()));
        EXPECT_NO_MESSAGES();
        QCOMPARE(manager.getExternalDependencySourceInstanceList(),
                 QStringList({QStringLiteral("line1")}));

        QVERIFY(QFile::remove(manifestPath()));
        QVERIFY(!manager.scanManifestFileForExternalDependencyInstances(configurationFolder()));
        EXPECT_MESSAGES({cannotOpen(manifestPath())});
        QCOMPARE(manager.getExternalDependencySourceInstanceList(),
                 QStringList({QStringLiteral("line1")}));
    }

    void readsTheManifestNotAgainByItself()
    {
        m_project->listInstances({QStringLiteral("line1")});
        auto manager = this->manager();
        m_project->listInstances({QStringLiteral("line2")});
        QCOMPARE(manager.getInstancesToResolve(QStringLiteral("line")),
                 QStringList({QStringLiteral("line1")}));
        QCOMPARE(manager.getExternalDependencySourceInstanceList(),
                 QStringList({QStringLiteral("line1")}));
    }

    void handsOutACopyOfTheList()
    {
        m_project->listInstances({QStringLiteral("line1")});
        const auto manager = this->manager();
        manager.getExternalDependencySourceInstanceList().clear();
        QCOMPARE(manager.getExternalDependencySourceInstanceList(),
                 QStringList({QStringLiteral("line1")}));
    }

    // Queries

    void selects_data()
    {
        QTest::addColumn<QStringList>("listed");
        QTest::addColumn<QString>("query");
        QTest::addColumn<QStringList>("selected");

        const auto list = [](const char *names) {
            return QString(QLatin1String(names)).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        };
        QTest::newRow("a listed instance without those that start with it")
            << list("m/i/x m/i m/i2") << QStringLiteral("m/i") << list("m/i");
        QTest::newRow("a listed instance once, however often it is listed")
            << list("m/i m/j m/i") << QStringLiteral("m/i") << list("m/i");
        QTest::newRow("those that start with an unlisted name, in their order")
            << list("m/j n/i m/i mm") << QStringLiteral("m") << list("m/j m/i mm");
        QTest::newRow("duplicates of those that start with an unlisted name")
            << list("m/i m/j m/i") << QStringLiteral("m/") << list("m/i m/j m/i");
        QTest::newRow("those that go on without a separator")
            << list("a/bc a/b/c a/c") << QStringLiteral("a/b") << list("a/bc a/b/c");
        QTest::newRow("all for the empty name")
            << list("m/j n m/j") << QString() << list("m/j n m/j");
        QTest::newRow("nothing of another case")
            << list("m/i M/j") << QStringLiteral("M/i") << QStringList();
        QTest::newRow("prefixes of the same case only")
            << list("m/i M/j") << QStringLiteral("M") << list("M/j");
        QTest::newRow("nothing for a name that continues a listed one")
            << list("m/i") << QStringLiteral("m/i/x") << QStringList();
        QTest::newRow("nothing that holds the name elsewhere")
            << list("x/m/i") << QStringLiteral("m/i") << QStringList();
        QTest::newRow("nothing of an empty list")
            << QStringList() << QStringLiteral("m") << QStringList();
        QTest::newRow("the empty name when it is listed")
            << QStringList({QStringLiteral("m"), QString()}) << QString()
            << QStringList({QString()});
    }

    void selects()
    {
        QFETCH(QStringList, listed);
        QFETCH(QString, query);
        QFETCH(QStringList, selected);
        m_project->listInstances(listed);
        JavaScriptDependencyManager manager(m_project->path(), false);
        QCOMPARE(manager.getInstancesToResolve(query), selected);
        QCOMPARE(manager.queryCache(query), selected);
    }

    void selectsForTheParent_data()
    {
        QTest::addColumn<QStringList>("listed");
        QTest::addColumn<QString>("query");
        QTest::addColumn<QStringList>("selected");

        const QStringList mi{QStringLiteral("m/i")};
        QTest::newRow("a listed parent") << mi << QStringLiteral("m/i/x") << mi;
        QTest::newRow("those that start with an unlisted parent's name")
            << QStringList({QStringLiteral("m/i2"), QStringLiteral("n"), QStringLiteral("m/i/y")})
            << QStringLiteral("m/i/x")
            << QStringList({QStringLiteral("m/i2"), QStringLiteral("m/i/y")});
        QTest::newRow("nothing for a grandparent")
            << mi << QStringLiteral("m/i/x/y") << QStringList();
        QTest::newRow("nothing for a name without a parent")
            << mi << QStringLiteral("n") << QStringList();
        QTest::newRow("the listed instance itself and not its parent")
            << QStringList({QStringLiteral("m/i"), QStringLiteral("m")}) << QStringLiteral("m/i")
            << mi;
        QTest::newRow("those that start with the name and not its parent")
            << QStringList({QStringLiteral("m/i2"), QStringLiteral("m")}) << QStringLiteral("m/i")
            << QStringList({QStringLiteral("m/i2")});
        QTest::newRow("the name before a separator at the end")
            << mi << QStringLiteral("m/i/") << mi;
        QTest::newRow("all for an empty parent") << mi << QStringLiteral("/x") << mi;
    }

    void selectsForTheParent()
    {
        QFETCH(QStringList, listed);
        QFETCH(QString, query);
        QFETCH(QStringList, selected);
        m_project->listInstances(listed);
        JavaScriptDependencyManager manager(m_project->path(), true);
        QCOMPARE(manager.getInstancesToResolve(query), selected);
        QCOMPARE(manager.getInstancesToResolve(query), selected);
    }

    void asksForNoParentUnlessTold()
    {
        m_project->listInstances({QStringLiteral("m/i")});
        JavaScriptDependencyManager manager(m_project->path(), false);
        QCOMPARE(manager.getInstancesToResolve(QStringLiteral("m/i/x")), QStringList());
    }

    void keepsTheAnswerOfAQuery()
    {
        m_project->listInstances({QStringLiteral("m/i")});
        JavaScriptDependencyManager manager(m_project->path(), true);
        QStringList &answer = manager.queryCache(QStringLiteral("m"));
        QCOMPARE(&manager.queryCache(QStringLiteral("m")), &answer);
        answer.append(QStringLiteral("added"));
        const QStringList changed{QStringLiteral("m/i"), QStringLiteral("added")};
        QCOMPARE(manager.queryCache(QStringLiteral("m")), changed);
        QCOMPARE(manager.getInstancesToResolve(QStringLiteral("m")), changed);
        QCOMPARE(manager.getInstancesToResolve(QStringLiteral("m/x")), changed);
        QCOMPARE(manager.getExternalDependencySourceInstanceList(),
                 QStringList({QStringLiteral("m/i")}));
    }

    void keepsTheAnswersWhenTheListIsReplaced()
    {
        m_project->listInstances({QStringLiteral("m/i")});
        auto manager = this->manager();
        QCOMPARE(manager.getInstancesToResolve(QStringLiteral("m")),
                 QStringList({QStringLiteral("m/i")}));
        QCOMPARE(manager.getInstancesToResolve(QStringLiteral("n")), QStringList());

        m_project->listInstances({QStringLiteral("n/i"), QStringLiteral("m/j")});
        QVERIFY(manager.scanManifestFileForExternalDependencyInstances(configurationFolder()));
        QCOMPARE(manager.getInstancesToResolve(QStringLiteral("m")),
                 QStringList({QStringLiteral("m/i")}));
        QCOMPARE(manager.getInstancesToResolve(QStringLiteral("n")), QStringList());
        QCOMPARE(manager.getInstancesToResolve(QStringLiteral("n/")),
                 QStringList({QStringLiteral("n/i")}));
    }

    void doesNotKeepTheParentsAnswerForTheChild()
    {
        m_project->listInstances({QStringLiteral("m/i")});
        JavaScriptDependencyManager manager(m_project->path(), true);
        QCOMPARE(manager.getInstancesToResolve(QStringLiteral("m/i/x")),
                 QStringList({QStringLiteral("m/i")}));
        QCOMPARE(manager.queryCache(QStringLiteral("m/i/x")), QStringList());
        QCOMPARE(manager.queryCache(QStringLiteral("m/i")), QStringList({QStringLiteral("m/i")}));
    }

    void handsOutACopyOfTheSelection()
    {
        m_project->listInstances({QStringLiteral("m/i")});
        auto manager = this->manager();
        manager.getInstancesToResolve(QStringLiteral("m")).clear();
        QCOMPARE(manager.getInstancesToResolve(QStringLiteral("m")),
                 QStringList({QStringLiteral("m/i")}));
    }

private:
    JavaScriptDependencyManager manager() const
    {
        return JavaScriptDependencyManager(m_project->path(), false);
    }

    QDir configurationFolder() const
    {
        return QDir(PropertyManagerConst::getConfigurationFolderPath(m_project->path()));
    }

    QString manifestPath() const
    {
        return configurationFolder().filePath(
            PropertyManagerConst::getConfigurationManifestFilename());
    }

    QScopedPointer<TestProject> m_project;
};

TEST_CLASS(JavaScriptDependencyManagerTest)

#include "JavaScriptDependencyManagerTest.moc"
