// Makes the pictures of docs/editor.md: EditorPictures FOLDER

#include "editor/DependencyDialog.h"
#include "editor/EditorTest.h"
#include "editor/NodeModel.h"
#include "editor/NodePanel.h"
#include "editor/NodeView.h"
#include "editor/Palettes.h"

#include <QApplication>
#include <QDir>
#include <QHash>
#include <QImage>
#include <QPixmap>
#include <QTest>

#include <algorithm>
#include <cstdio>

using namespace ConfigScript;

namespace {

bool isFailed = false;

void require(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "EditorPictures: %s\n", what);
        isFailed = true;
    }
}

/// The picture in its 256 most frequent colours, which make a small file.
QImage reduced(const QImage &picture)
{
    QHash<QRgb, int> counts;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            ++counts[picture.pixel(x, y)];
        }
    }
    QVector<QRgb> colors = counts.keys().toVector();
    std::sort(colors.begin(), colors.end(),
              [&counts](QRgb a, QRgb b) { return counts.value(a) > counts.value(b); });
    colors.resize(qMin(colors.size(), 256));
    return picture.convertToFormat(QImage::Format_Indexed8, colors);
}

void take(QWidget &widget, const QDir &folder, const QString &name)
{
    QTest::qWait(NodeModel::flashTime + 100);
    require(reduced(widget.grab().toImage()).save(folder.filePath(name)), qPrintable(name));
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
