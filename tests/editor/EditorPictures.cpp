// Makes the pictures of docs/editor.md: EditorPictures FOLDER

#include "editor/DependencyDialog.h"
#include "editor/EditorTest.h"
#include "editor/NodeModel.h"
#include "editor/NodePanel.h"
#include "editor/NodeView.h"
#include "editor/Palettes.h"

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QPixmap>
#include <QTest>

#include <cstdio>

namespace {

bool isFailed = false;

void require(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "EditorPictures: %s\n", what);
        isFailed = true;
    }
}

void take(QWidget &widget, const QDir &folder, const QString &name)
{
    QTest::qWait(NodeModel::flashTime + 100);
    // Few colours make small files.
    const QImage picture = widget.grab().toImage().convertToFormat(
        QImage::Format_Indexed8, Qt::ThresholdDither | Qt::AvoidDither);
    require(picture.save(folder.filePath(name)), qPrintable(name));
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: EditorPictures FOLDER\n");
        return 2;
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    const QString pump = QStringLiteral("line1/pump1");
    const QString power = QStringLiteral("motor/ratedPower");
    Palettes::use(QStringLiteral("light"));
    {
        EditorSession session;
        require(session.open(pump), "open");
        require(session.enter(power, QStringLiteral("200")), "enter");
        require(session.press(QStringLiteral("Save")), "save");
        take(session.window(), folder, QStringLiteral("editor-error.png"));
        require(session.enter(power, QStringLiteral("15")), "enter again");
        require(session.press(QStringLiteral("Save")), "save again");
        require(session.window().dependencyDialog(), "dialog");
        take(*session.window().dependencyDialog(), folder,
             QStringLiteral("editor-dependencies.png"));
        session.window().dependencyDialog()->reject();
    }
    Palettes::use(QStringLiteral("dark"));
    {
        EditorSession session;
        require(session.open(pump), "open");
        require(session.enter(QStringLiteral("motor/efficiency"), QStringLiteral("88")), "enter");
        NodePanel &panel = session.window().nodePanel();
        panel.view().jumpTo(panel.model().indexOf(QStringLiteral("control/mode")));
        take(session.window(), folder, QStringLiteral("editor-dark.png"));
    }
    return isFailed ? 1 : 0;
}
