#include "filehost/ProjectLayout.h"
#include "support/StrictTest.h"

#include <QTest>

using namespace ConfigScript;

/// docs/file-formats.md tells the names.
class ProjectLayoutTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void namesTheFilesOfAProject()
    {
        const ProjectLayout layout;
        QCOMPARE(layout.projectFile(), QStringLiteral("project.json"));
        QCOMPARE(layout.unitsFile(), QStringLiteral("units.json"));
        QCOMPARE(layout.providersFile(), QStringLiteral("providers.json"));
        QCOMPARE(layout.configurationFolder(), QStringLiteral("configuration"));
        QCOMPARE(layout.manifestFile(), QStringLiteral("configuration/manifest.json"));
        QCOMPARE(layout.processFolder(), QStringLiteral("process"));
        QCOMPARE(layout.dependencyFolder(), QStringLiteral("dependency"));
        QCOMPARE(layout.scriptsFolder(), QStringLiteral("scripts"));
        QCOMPARE(layout.textsFolder(), QStringLiteral("texts"));
        QCOMPARE(layout.textsFile(QStringLiteral("de")), QStringLiteral("texts/de.json"));
        QCOMPARE(layout.testsFolder(), QStringLiteral("tests"));
        QCOMPARE(layout.journalFile(), QStringLiteral(".configscript-journal"));
        QCOMPARE(layout.lockFile(), QStringLiteral(".configscript-lock"));
    }

    void beginsItsPathsWithTheProjectAsItWasGiven()
    {
        QCOMPARE(ProjectLayout(QStringLiteral("/a/plant")).unitsFile(),
                 QStringLiteral("/a/plant/units.json"));
        QCOMPARE(ProjectLayout(QStringLiteral("../plant/")).manifestFile(),
                 QStringLiteral("../plant/configuration/manifest.json"));
        QCOMPARE(ProjectLayout(QStringLiteral("/")).lockFile(),
                 QStringLiteral("/.configscript-lock"));
    }

    void listsWhatScriptsAreRunOn()
    {
        QCOMPARE(ProjectLayout(QStringLiteral("p")).content(),
                 QStringList({QStringLiteral("p/project.json"), QStringLiteral("p/units.json"),
                              QStringLiteral("p/providers.json"), QStringLiteral("p/configuration"),
                              QStringLiteral("p/process"), QStringLiteral("p/dependency"),
                              QStringLiteral("p/scripts"), QStringLiteral("p/texts")}));
    }

    void tellsNamesAndFilesApart()
    {
        const QString file =
            ProjectLayout::treeFile(QStringLiteral("process"), QStringLiteral("line%1/pump"));
        QCOMPARE(file, QStringLiteral("process/line%1/pump.json"));
        QCOMPARE(ProjectLayout::baseName(file), QStringLiteral("process/line%1/pump"));
        for (const char *name : {"", ".json", "pump", "pump.JSON", "pump.json~"}) {
            QCOMPARE(ProjectLayout::baseName(QLatin1String(name)), QString());
        }
    }
};

TEST_CLASS(ProjectLayoutTest)

#include "ProjectLayoutTest.moc"
