#include "EditorTest.h"

#include "editor/NodePanel.h"
#include "editor/NodeView.h"
#include "filehost/FileTreeNode.h"

#include <QAction>
#include <QApplication>
#include <QTest>

#include <algorithm>

using namespace ConfigScript;

EditorSession::EditorSession(const QString &project)
{
    m_folder.copyExamples();
    m_projectPath = m_folder.path(project);
    Diagnostic error;
    m_window = std::make_unique<MainWindow>(*Project::open(m_projectPath, error),
                                            MainWindow::Settings::Ignored);
    m_window->show();
}

bool EditorSession::settle()
{
    QCoreApplication::processEvents(); // a line's Enter commits later
    return QTest::qWaitFor([this] { return !m_window->workspace().isBusy(); });
}

bool EditorSession::open(const QString &instance)
{
    m_window->openInstance(instance);
    return settle();
}

bool EditorSession::enter(const QString &path, const QString &text, const QString &key)
{
    NodePanel &panel = m_window->nodePanel();
    const QModelIndex index = panel.model().indexOf(path, key);
    if (!index.isValid()) {
        return false;
    }
    panel.view().jumpTo(index);
    QTest::keyClick(&panel.view(), Qt::Key_F2);
    QWidget *editor = QApplication::focusWidget();
    if (!editor || editor == &panel.view()) {
        return false;
    }
    QTest::keyClick(editor, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(editor, text);
    QTest::keyClick(editor, Qt::Key_Return);
    return settle();
}

QString EditorSession::shown(const QString &path, int column, const QString &key)
{
    return m_window->nodePanel()
        .model()
        .indexOf(path, key)
        .siblingAtColumn(column)
        .data()
        .toString();
}

bool EditorSession::press(const QString &action)
{
    const auto actions = m_window->findChildren<QAction *>();
    const auto found = std::find_if(actions.cbegin(), actions.cend(), [&](const QAction *other) {
        return other->text().remove(QLatin1Char('&')) == action && other->isEnabled();
    });
    if (found == actions.cend()) {
        return false;
    }
    (*found)->trigger();
    return settle();
}

QVariant EditorSession::stored(const QString &instance, const QString &path,
                               const QString &key) const
{
    Diagnostic error;
    const auto project = Project::open(m_projectPath, error);
    const auto root = project->readTree(FileTree::Kind::Configuration, instance, error);
    return root->getNode(path)->getProperty(key);
}

void EditorTest::cleanup()
{
    const QVector<Message> messages = takeMessages();
    for (const Message &message : messages) {
        if (!message.text.contains(QLatin1String("propagateSizeHints"))) {
            QTest::qFail(qPrintable(toString({message})), __FILE__, __LINE__);
        }
    }
    StrictTest::cleanup();
}
