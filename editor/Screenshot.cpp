#include "Screenshot.h"

#include "editor/MainWindow.h"
#include "editor/NodeModel.h"

#include <QCoreApplication>
#include <QPixmap>
#include <QTimer>

#include <cstdio>

namespace ConfigScript {

Screenshot::Screenshot(MainWindow &window, const QString &instance, const QString &filePath)
    : m_window(window)
    , m_instance(instance)
    , m_filePath(filePath)
{
    connect(&window, &MainWindow::settled, this, &Screenshot::takeIfReady);
}

void Screenshot::takeIfReady()
{
    const Document *document = m_window.workspace().current();
    if (!m_instance.isEmpty() && !document) {
        return;
    }
    QTimer::singleShot(NodeModel::flashTime, this, [this] {
        const bool isWritten = m_window.grab().save(m_filePath);
        if (!isWritten) {
            std::fprintf(stderr, "configscript-editor: %s: cannot be written\n",
                         qPrintable(m_filePath));
        }
        QCoreApplication::exit(isWritten ? 0 : 1);
    });
}

} // namespace ConfigScript
