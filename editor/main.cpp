#include "editor/MainWindow.h"
#include "editor/Palettes.h"
#include "editor/Screenshot.h"
#include "runner/ProjectOpening.h"

#include <QApplication>
#include <QCommandLineParser>

#include <cstdio>
#include <memory>

using namespace ConfigScript;

namespace {

constexpr int s_unusable = 2; // exit code for wrong arguments and unreadable projects

int refuse(const QString &message)
{
    std::fprintf(stderr, "configscript-editor: %s\n", qPrintable(message));
    return s_unusable;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    const QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ConfigScript"));
    QCoreApplication::setApplicationName(QStringLiteral("configscript-editor"));
    QCoreApplication::setApplicationVersion(QStringLiteral(CONFIGSCRIPT_EDITOR_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Edits the instances of a project, and shows what its scripts do."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("PROJECT"), QStringLiteral("The project folder"));
    parser.addPositionalArgument(QStringLiteral("INSTANCE"),
                                 QStringLiteral("The instance to open, such as line1/pump1"),
                                 QStringLiteral("[INSTANCE]"));
    const QCommandLineOption palette(
        QStringLiteral("palette"),
        QStringLiteral("The colours: %1").arg(Palettes::names().join(QStringLiteral(", "))),
        QStringLiteral("NAME"), Palettes::names().constFirst());
    const QCommandLineOption screenshot(
        QStringLiteral("screenshot"),
        QStringLiteral("Make a picture of the window, in its first size, and end"),
        QStringLiteral("FILE"));
    parser.addOptions({palette, screenshot});
    if (!parser.parse(QCoreApplication::arguments())) {
        return refuse(parser.errorText());
    }
    if (parser.isSet(version)) {
        parser.showVersion();
    }
    if (parser.isSet(help)) {
        parser.showHelp();
    }
    const QStringList arguments = parser.positionalArguments();
    if (arguments.isEmpty() || arguments.size() > 2) {
        return refuse(QStringLiteral("expected PROJECT and at most one INSTANCE; see --help"));
    }
    if (!Palettes::use(parser.value(palette))) {
        return refuse(
            QStringLiteral("--palette: expected one of %1, found \"%2\"")
                .arg(Palettes::names().join(QStringLiteral(", ")), parser.value(palette)));
    }
    QStringList recoveries;
    Diagnostic error;
    const auto project = openRecoveredProject(arguments.constFirst(), nullptr, recoveries, error);
    if (!project) {
        return refuse(error.toString());
    }
    const QString instance = arguments.value(1);
    const bool isPictured = parser.isSet(screenshot);
    MainWindow window(*project,
                      isPictured ? MainWindow::Settings::Ignored : MainWindow::Settings::Kept);
    for (const QString &recovery : qAsConst(recoveries)) {
        window.workspace().messages().add(QString(), recovery, QtWarningMsg);
    }
    std::unique_ptr<Screenshot> picture;
    if (isPictured) {
        picture = std::make_unique<Screenshot>(window, instance, parser.value(screenshot));
    }
    if (!instance.isEmpty()) {
        window.openInstance(instance);
    }
    window.show();
    return QApplication::exec();
}
