#include "JavaScript/JavaScriptDependencyResolver.h"
#include "JavaScript/JavaScriptHandlerUiWrapper.h"
#include "filehost/FileTreeNode.h"
#include "filehost/HostSession.h"
#include "filehost/Project.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "host/PropertyManagerConst.h"
#include "host/TextManager.h"
#include "host/UnitManagerWrapper.h"

#include <QCoreApplication>
#include <QFile>
#include <QTextStream>

using namespace ConfigScript;

namespace {

int fail(const QString &message)
{
    QTextStream(stderr) << message << Qt::endl;
    return 1;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    QTextStream out(stdout);
    if (arguments.size() != 5) {
        return fail(QStringLiteral("Usage: embedded-host PROJECT INSTANCE FIELD NUMBER"));
    }
    const QString instance = arguments.at(2);
    const QString field = arguments.at(3);

    // What the library's objects refer to is made before them, and outlives them.
    Diagnostic error;
    const auto project = Project::open(arguments.at(1), error);
    if (!project) {
        return fail(error.toString());
    }
    const HostSession session(project->units());
    const UnitManagerWrapper units(false, false);
    const TextManager texts(project->texts());
    const auto tree = project->readTree(FileTree::Kind::Configuration, instance, error);
    if (tree.isNull() || !tree->isUrlValid(field)) {
        return fail(QStringLiteral("No such field ") + error.toString());
    }
    QFile script(project->userInterfaceScriptFolder() + QLatin1Char('/')
                 + tree->getProperty(Project::keyOfUserInterfaceScript()).toString());
    if (!script.open(QIODevice::ReadOnly)) {
        return fail(script.fileName() + QLatin1Char(' ') + script.errorString());
    }

    // The instance's dialog: opened, a number entered, closed with OK.
    JavaScriptHandlerUiWrapper scripts(units, texts, nullptr);
    QObject::connect(&scripts, &JavaScriptHandlerUiWrapper::parametersChanged,
                     [&out](const QStringList &urls) {
                         if (!urls.isEmpty()) {
                             out << "Written: " << urls.join(QStringLiteral(", ")) << Qt::endl;
                         }
                     });
    scripts.initializeHandler(tree, QString::fromUtf8(script.readAll()), QString());
    scripts.callFunctionOnOpen();
    tree->getNode(field)->setProperty(QStringLiteral("value"), arguments.at(4).toDouble());
    scripts.callFunctionOnValueChanged(field);
    const bool isOk = scripts.callFunctionOnOk();
    const auto messages = scripts.getErrorMesageList();
    for (const auto &message : messages) {
        out << message.relUrl << ": " << texts.getText(message.errorLabelTextId, QString())
            << Qt::endl;
    }
    const QDir folder(PropertyManagerConst::getConfigurationFolderPath(project->path()));
    if (!isOk
        || !ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
            folder, project->moduleName(), project->objectName(), instance, tree, false)) {
        return fail(QStringLiteral("Not saved"));
    }

    // The dependency scripts follow up on what was saved.
    JavaScriptDependencyResolver resolver(project->path(), project->moduleName(),
                                          project->objectName(), project->providers(), texts,
                                          project->otherFiles(), nullptr);
    QObject::connect(
        &resolver, &JavaScriptDependencyResolver::processDataDescriptionChanged,
        [&out](const QString &name) { out << "Changed process data: " << name << Qt::endl; });
    resolver.resolveDependencyOfInstance(instance);
    return 0;
}
