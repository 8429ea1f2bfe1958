#include "HostSession.h"

#include "filehost/FileTree.h"

HostSession *HostSession::s_current = nullptr;

HostSession::HostSession(const QHash<QString, QVariantMap> &units, Writing writing)
    : m_units(units)
    , m_writing(writing)
{
    Q_ASSERT(!s_current);
    s_current = this;
}

HostSession::~HostSession()
{
    s_current = nullptr;
}

void HostSession::setObserver(TreeObserver *observer)
{
    m_observer = observer;
}

void HostSession::setBatch(FileBatch *batch)
{
    m_batch = batch;
    m_storedTrees.clear();
    if (!batch) {
        m_parsedFiles.clear(); // a batch that comes to its end changes most of them
    }
}

QHash<QString, QVariantMap> HostSession::units()
{
    return s_current ? s_current->m_units : QHash<QString, QVariantMap>();
}

bool HostSession::writesFiles()
{
    return !s_current || s_current->m_writing == Writing::Files;
}

bool HostSession::admits(const FileTree::Pointer &tree, const QString &filePath, Diagnostic &error)
{
    const bool isWrittenAtOnce = writesFiles() && !batch();
    if (isWrittenAtOnce || filePath != tree->identity().filePath) {
        return true;
    }
    const TextFile::Stamp file = TextFile::stampOf(filePath);
    if (file.size < 0) {
        return true; // it was removed since it was read
    }
    auto &stored = s_current->m_storedTrees[{file.device, file.inode}];
    if (stored && stored != tree) {
        error = {filePath, 0, 0,
                 QStringLiteral("cannot be written: the file has changed since it was read")};
        return false;
    }
    stored = tree;
    return true;
}

HostSession::ParsedFile HostSession::parsedFile(const QString &filePath)
{
    return s_current ? s_current->m_parsedFiles.value(filePath) : ParsedFile();
}

void HostSession::setParsedFile(const ParsedFile &file)
{
    if (s_current) {
        s_current->m_parsedFiles.insert(file.path, file);
    }
}
