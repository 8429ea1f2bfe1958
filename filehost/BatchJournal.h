#pragma once

#include "filehost/Diagnostic.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class Descriptor;

/**
 * What a FileBatch leaves in a project folder while it is at work, for those who come after a
 * crash: the file .configscript-journal. Each line is a JSON object with one member:
 *
 * - "file": a file of the batch, relative to the project folder; the files are numbered from 0 in
 *   this order
 * - "alsoIn": another project that the batch has files in; its folder, relative
 * - "belongsTo": the project that the batch belongs to; this journal only points there
 * - "state": "replacing": all files are complete and named above, the switch-over has begun;
 *   "undoing": the switch-over failed and is being undone
 *
 * A last line without its end counts as not written.
 */
class BatchJournal
{
public:
    enum class State { Collecting, Replacing, Undoing };

    /// What a journal says.
    struct Content
    {
        State state = State::Collecting;
        QStringList files; ///< absolute, as are the projects
        QStringList otherProjects;
        QString owner; ///< the project that the batch belongs to; empty for this one
    };

    explicit BatchJournal(const QString &projectPath);
    ~BatchJournal();

    static QString filePath(const QString &projectPath);

    /// Nothing when the project has no journal, or, with the error set, when it cannot be read.
    static std::optional<Content> read(const QString &projectPath, Diagnostic &error);

    /// Makes the file; fails when there is one.
    bool create(Diagnostic &error);

    bool addFile(const QString &filePath, Diagnostic &error);
    bool addProject(const QString &projectPath, Diagnostic &error);
    bool setOwner(const QString &projectPath, Diagnostic &error);

    /// Waits until the state is on the disk, and all lines before it were there first.
    bool setState(State state, Diagnostic &error);

    bool remove(Diagnostic &error);

private:
    bool append(QLatin1String member, const QString &value, Diagnostic &error);
    QString relative(const QString &path) const;
    bool sync(Diagnostic &error);
    bool fail(Diagnostic &error) const;

    QString m_projectPath;
    std::unique_ptr<Descriptor> m_file;
};
