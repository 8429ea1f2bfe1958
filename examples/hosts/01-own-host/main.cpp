#include "JavaScript/JavaScriptDependencyResolver.h"
#include "JavaScript/JavaScriptHandlerUiWrapper.h"
#include "PrintingObserver.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "host/PropertyManagerConst.h"
#include "host/SelectorUrlHandler.h"
#include "host/SystemInformationManagerDBusProviderDescriptionHandler.h"
#include "host/TextManager.h"
#include "host/UnitManagerWrapper.h"

#include <QCoreApplication>
#include <QFile>
#include <QTextStream>

namespace {

using Tree = ConfigurationAndProcessDataBase::BaseClassSharedPointer;

const QString s_moduleName = QStringLiteral("pumps");
const QString s_objectName = QStringLiteral("station");
const QString s_instance = QStringLiteral("line1/pump1");

QString readText(const QString &filePath)
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("Can not read %s", qPrintable(filePath));
    }
    return QString::fromUtf8(file.readAll());
}

/// The user enters a current. @return whether the dialog may close
bool enterCurrent(JavaScriptHandlerUiWrapper &scripts, const Tree &tree, int current,
                  QTextStream &out)
{
    out << "The user enters " << current << " A" << Qt::endl;
    tree->getNode(QStringLiteral("motor"))->setProperty(QStringLiteral("ratedCurrent"), current);
    scripts.callFunctionOnValueChanged(QStringLiteral("motor"));
    printErrors(out, scripts.getErrorMesageList());
    const bool isOk = scripts.callFunctionOnOk();
    printErrors(out, scripts.getErrorMesageList());
    return isOk;
}

/// A dialog edits one instance. The tree is the dialog's: nobody else saves it.
bool edit(const QString &project, const TextManager &texts, QTextStream &out)
{
    const QDir folder(PropertyManagerConst::getConfigurationFolderPath(project));
    const Tree tree =
        ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
            folder, s_instance, false);
    if (tree.isNull()) {
        return false;
    }
    const UnitManagerWrapper units(false, false);
    JavaScriptHandlerUiWrapper scripts(units, texts, nullptr);
    QObject::connect(&scripts, &JavaScriptHandlerUiWrapper::parametersChanged, &scripts,
                     [&out](const QStringList &urls) {
                         out << "  the script wrote to: [" << urls.join(QStringLiteral(", ")) << ']'
                             << Qt::endl;
                     });
    const QString url = SelectorUrlHandler(QString())
                            .setScheme(QStringLiteral("config"))
                            .setModuleName(s_moduleName)
                            .setObjectName(s_objectName)
                            .setInstance(s_instance)
                            .toString();

    out << "A dialog opens for " << url << Qt::endl;
    scripts.initializeHandler(tree, readText(project + QStringLiteral("/scripts/pump.js")), url);
    return scripts.callFunctionOnOpen() && !enterCurrent(scripts, tree, 20, out)
        && enterCurrent(scripts, tree, 14, out)
        && ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
               folder, s_moduleName, s_objectName, s_instance, tree, false);
}

/// The project's dependency scripts follow up on what the dialog saved.
void resolve(const QString &project, const TextManager &texts, QTextStream &out)
{
    const SystemInformationManagerDBusProviderDescriptionHandler providers;
    JavaScriptDependencyResolver resolver(project, s_moduleName, s_objectName, providers, texts,
                                          {{s_objectName, project}}, nullptr);
    PrintingObserver observer(out);
    resolver.setRunObserver(&observer);
    QObject::connect(&resolver, &JavaScriptDependencyResolver::processDataDescriptionChanged,
                     &resolver, [&out](const QString &instance) {
                         out << "Changed process data: " << instance << Qt::endl;
                     });

    out << "The dependencies of " << s_instance << " are resolved" << Qt::endl;
    resolver.resolveDependencyOfInstance(s_instance);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    if (argc != 2) {
        out << "Usage: own-host PROJECT" << Qt::endl;
        return 2;
    }
    const QString project = QString::fromLocal8Bit(argv[1]);
    const TextManager texts({{QStringLiteral("pump.motor"), QStringLiteral("Motor")},
                             {QStringLiteral("pump.protection"), QStringLiteral("Protection")}});
    UnitManagerWrapper::useUnits({{QStringLiteral("A"),
                                   {{QStringLiteral("de"), QStringLiteral("Ampere")},
                                    {QStringLiteral("en"), QStringLiteral("amperes")}}}});

    if (!edit(project, texts, out)) {
        out << "The pump was not saved" << Qt::endl;
        return 1;
    }
    resolve(project, texts, out);
    return 0;
}
