#include "DialogScript.h"

#include "filehost/FileTreeNode.h"
#include "filehost/Project.h"
#include "filehost/TextFile.h"

DialogScript::DialogScript(const Project &project, const FileTreeNode &root)
{
    const QString key = Project::keyOfUserInterfaceScript();
    const QString fileName = root.value(key).toString();
    isNamed = !fileName.isEmpty();
    if (!isNamed) {
        error = root.placeOf(key,
                             QStringLiteral("expected the property \"%1\", the name of a "
                                            "user-interface script")
                                 .arg(key));
        return;
    }
    const QString folder = project.userInterfaceScriptFolder();
    const QString placeError = project.scriptError(folder, fileName);
    if (!placeError.isEmpty()) {
        error = root.placeOf(key, placeError);
        return;
    }
    filePath = folder + QLatin1Char('/') + fileName;
    QByteArray content;
    const auto result = TextFile::read(filePath, FileTree::maximumFileSize, content, error);
    if (result == TextFile::ReadResult::Missing) {
        error = {filePath, 0, 0, QStringLiteral("no such file")};
    } else if (result == TextFile::ReadResult::Read && content.isEmpty()) {
        error = {filePath, 0, 0, QStringLiteral("the file is empty")};
    }
    text = QString::fromUtf8(content);
}
