#include "runner/record/TreeUrls.h"
#include "configscript/ScratchFolder.h"
#include "filehost/Project.h"
#include "host/SelectorUrlHandler.h"
#include "support/StrictTest.h"

#include <QTest>

class TreeUrlsTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void namesNodes_data();
    void namesNodes();
    void namesTheFirstOfSeveralObjects();
    void encodesWhatUrlsReserve_data();
    void encodesWhatUrlsReserve();

private:
    static std::optional<Project> makeProject(const ScratchFolder &folder,
                                              const QByteArray &otherFiles);
};

std::optional<Project> TreeUrlsTest::makeProject(const ScratchFolder &folder,
                                                 const QByteArray &otherFiles)
{
    folder.write(QStringLiteral("plant/project.json"),
                 "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\", \"otherFiles\": "
                     + otherFiles + " }");
    Diagnostic error;
    return Project::open(folder.path(QStringLiteral("plant")), error);
}

void TreeUrlsTest::namesNodes_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("instance");
    QTest::addColumn<bool>("isProcess");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("url");

    const auto add = [](const char *name, const char *file, const char *instance, bool isProcess,
                        const char *path, const char *url) {
        QTest::newRow(name) << QString::fromUtf8(file) << QString::fromUtf8(instance) << isProcess
                            << QString::fromUtf8(path) << QString::fromUtf8(url);
    };
    add("own object", "plant/configuration/pump.json", "pump", false, "motor/power",
        "config://pumps/plant/pump#motor/power");
    add("root", "plant/configuration/pump.json", "pump", false, "", "config://pumps/plant/pump");
    add("instance in a folder", "plant/configuration/line1/pump.json", "line1/pump", false, "a",
        "config://pumps/plant/line1/pump#a");
    add("process tree", "plant/process/pump.json", "pump", true, "a",
        "process://pumps/plant/pump#a");
    add("other object", "net/configuration/pump.json", "pump", false, "a",
        "config://pumps/network/pump#a");
    add("process tree of another object", "net/process/l/p.json", "l/p", true, "",
        "process://pumps/network/l/p");
    add("folder inside the project's", "plant/inner/configuration/p.json", "p", false, "",
        "config://pumps/inside/p");
    add("folder of no object", "other/configuration/pump.json", "pump", false, "a", "");
    add("no folder of trees", "plant/trees/pump.json", "pump", false, "a", "");
}

void TreeUrlsTest::namesNodes()
{
    QFETCH(const QString, file);
    QFETCH(const QString, instance);
    QFETCH(const bool, isProcess);
    QFETCH(const QString, path);
    QFETCH(const QString, url);

    const ScratchFolder folder;
    const auto project = makeProject(folder, "{ \"network\": \"../net\", \"inside\": \"inner\" }");
    QVERIFY(project);
    const FileTree::Identity tree{folder.path(file), instance,
                                  isProcess ? FileTree::Kind::Process
                                            : FileTree::Kind::Configuration};
    QCOMPARE(TreeUrls(*project).urlOf(tree, path), url);
}

void TreeUrlsTest::namesTheFirstOfSeveralObjects()
{
    const ScratchFolder folder;
    const auto project = makeProject(folder,
                                     "{ \"a\": \".\", \"z\": \"../net\", \"n\": \"../net\", \"m\": "
                                     "\"../net\", \"x\": \"../net\" }");
    QVERIFY(project);
    const auto url = [&](const QString &file) {
        return TreeUrls(*project).urlOf(
            {folder.path(file), QStringLiteral("p"), FileTree::Kind::Configuration}, QString());
    };
    QCOMPARE(url(QStringLiteral("plant/configuration/p.json")),
             QStringLiteral("config://pumps/plant/p"));
    QCOMPARE(url(QStringLiteral("net/configuration/p.json")), QStringLiteral("config://pumps/m/p"));
}

void TreeUrlsTest::encodesWhatUrlsReserve_data()
{
    QTest::addColumn<QString>("instance");
    QTest::addColumn<QString>("path");

    QTest::newRow("blanks and marks")
        << QStringLiteral("line 1/pump#2") << QStringLiteral("a b/50%/c?d");
    QTest::newRow("percent sign") << QStringLiteral("a%20b") << QStringLiteral("%");
    QTest::newRow("brackets") << QStringLiteral("[a]{b}") << QStringLiteral("<\"c\">/^`|");
    QTest::newRow("beyond ASCII") << QStringLiteral("größe") << QStringLiteral("Straße/日本");
    QTest::newRow("control characters") << QStringLiteral("a\nb") << QStringLiteral("c\td");
    QTest::newRow("colon") << QStringLiteral("a:b") << QStringLiteral("c:d");
}

void TreeUrlsTest::encodesWhatUrlsReserve()
{
    QFETCH(const QString, instance);
    QFETCH(const QString, path);

    const ScratchFolder folder;
    const auto project = makeProject(folder, "{}");
    QVERIFY(project);
    const QString url = TreeUrls(*project).urlOf(
        {folder.path(QStringLiteral("plant/configuration/%1.json").arg(instance)), instance,
         FileTree::Kind::Configuration},
        path);
    const SelectorUrlHandler parsed(url);
    QVERIFY2(parsed.isValid(), qPrintable(url));
    QVERIFY(parsed.isConfigurationScheme());
    QCOMPARE(parsed.getModuleName(), QStringLiteral("pumps"));
    QCOMPARE(parsed.getObjectName(), QStringLiteral("plant"));
    QCOMPARE(parsed.getInstance(), instance);
    QCOMPARE(parsed.getUrl(), path);
}

QTEST_APPLESS_MAIN(TreeUrlsTest)
#include "TreeUrlsTest.moc"
