#include "editor/window/MainWindow.h"
#include "editor/window/Palettes.h"
#include "editor/window/Screenshot.h"
#include "runner/run/DialogReach.h"
#include "runner/run/ProjectOpening.h"

#include <QApplication>
#include <QCommandLineParser>

#include <cstdio>
#include <memory>
#include <optional>

namespace {

/// What the program is started with.
struct Options
{
    QString project; ///< its folder
    QString instance; ///< to open first; empty for none
    DialogReach reach;
    std::optional<QString> picture; ///< file for a picture of the window; the program then ends
};

QCommandLineOption paletteOption()
{
    return {QStringLiteral("palette"),
            QStringLiteral("The colours: %1").arg(Palettes::names().join(QStringLiteral(", "))),
            QStringLiteral("NAME"), Palettes::names().constFirst()};
}

QCommandLineOption reachOption()
{
    return {QStringLiteral("reach"),
            QStringLiteral("What the scripts of dialogs reach: their instance alone, as in a "
                           "product's dialogs, or by absolute URL the whole project: %1")
                .arg(dialogReachNames().join(QStringLiteral(", "))),
            QStringLiteral("NAME"), dialogReachNames().constFirst()};
}

QCommandLineOption screenshotOption()
{
    return {QStringLiteral("screenshot"),
            QStringLiteral("Make a picture of the window, in its first size, and end"),
            QStringLiteral("FILE")};
}

int refuse(const QString &message)
{
    constexpr int unusable = 2; // exit code for wrong arguments and unreadable projects
    std::fprintf(stderr, "configscript-editor: %s\n", qPrintable(message));
    return unusable;
}

QString unknownName(const QString &option, const QStringList &known, const QString &found)
{
    return QStringLiteral("--%1: expected one of %2, found \"%3\"")
        .arg(option, known.join(QStringLiteral(", ")), found);
}

/// Sets the palette, and ends the program when help or version are asked for.
/// @return nothing, with @p error set, when the arguments are wrong
std::optional<Options> readArguments(QString &error)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Edits the instances of a project, and shows what its scripts do."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("PROJECT"), QStringLiteral("The project folder"));
    parser.addPositionalArgument(QStringLiteral("INSTANCE"),
                                 QStringLiteral("The instance to open, such as line1/pump1"),
                                 QStringLiteral("[INSTANCE]"));
    const QCommandLineOption palette = paletteOption();
    const QCommandLineOption reach = reachOption();
    const QCommandLineOption screenshot = screenshotOption();
    parser.addOptions({palette, reach, screenshot});
    if (!parser.parse(QCoreApplication::arguments())) {
        error = parser.errorText();
        return std::nullopt;
    }
    if (parser.isSet(version)) {
        parser.showVersion();
    }
    if (parser.isSet(help)) {
        parser.showHelp();
    }
    const QStringList arguments = parser.positionalArguments();
    const auto knownReach = dialogReachOf(parser.value(reach));
    if (arguments.isEmpty() || arguments.size() > 2) {
        error = QStringLiteral("expected PROJECT and at most one INSTANCE; see --help");
    } else if (!Palettes::use(parser.value(palette))) {
        error = unknownName(QStringLiteral("palette"), Palettes::names(), parser.value(palette));
    } else if (!knownReach) {
        error = unknownName(QStringLiteral("reach"), dialogReachNames(), parser.value(reach));
    } else {
        return Options{arguments.constFirst(), arguments.value(1), *knownReach,
                       parser.isSet(screenshot) ? std::make_optional(parser.value(screenshot))
                                                : std::nullopt};
    }
    return std::nullopt;
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

    QString wrong;
    const auto options = readArguments(wrong);
    if (!options) {
        return refuse(wrong);
    }
    QStringList recoveries;
    Diagnostic error;
    const auto project = openRecoveredProject(options->project, nullptr, recoveries, error);
    if (!project) {
        return refuse(error.toString());
    }
    MainWindow window(*project, options->reach,
                      options->picture ? MainWindow::Settings::Ignored
                                       : MainWindow::Settings::Kept);
    for (const QString &recovery : qAsConst(recoveries)) {
        window.workspace().messages().add(QString(), recovery, QtWarningMsg);
    }
    std::unique_ptr<Screenshot> picture;
    if (options->picture) {
        picture = std::make_unique<Screenshot>(window, options->instance, *options->picture);
    }
    if (!options->instance.isEmpty()) {
        window.openInstance(options->instance);
    }
    window.show();
    return QApplication::exec();
}
