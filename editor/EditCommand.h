#pragma once

#include "editor/Document.h"

#include <QUndoCommand>

namespace ConfigScript {

/// What the user changed in one go, together with what the script wrote in answer, and the errors
/// before and after.
class EditCommand : public QUndoCommand
{
public:
    EditCommand(Document &document, const QString &text, const EventReport &report,
                const QVector<Document::Error> &errorsBefore,
                const QVector<Document::Error> &errorsAfter);

    void undo() override;
    void redo() override; ///< the first time it is done already

private:
    Document &m_document;
    const QVector<PropertyChange> m_edits;
    const QVector<PropertyChange> m_answers;
    const QVector<Document::Error> m_errorsBefore;
    const QVector<Document::Error> m_errorsAfter;
    bool m_isDone = true;
};

} // namespace ConfigScript
