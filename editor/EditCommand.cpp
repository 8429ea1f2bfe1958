#include "EditCommand.h"

#include <algorithm>

namespace ConfigScript {

namespace {

QVector<PropertyChange> reversed(const QVector<PropertyChange> &changes)
{
    QVector<PropertyChange> back;
    std::transform(
        changes.crbegin(), changes.crend(), std::back_inserter(back),
        [](const PropertyChange &change) {
            return PropertyChange{change.path, change.key, change.newValue, change.oldValue};
        });
    return back;
}

} // namespace

EditCommand::EditCommand(Document &document, const QString &text, const EventReport &report,
                         const QVector<Document::Error> &errorsBefore,
                         const QVector<Document::Error> &errorsAfter)
    : QUndoCommand(text)
    , m_document(document)
    , m_edits(report.edits)
    , m_answers(report.answers)
    , m_errorsBefore(errorsBefore)
    , m_errorsAfter(errorsAfter)
{
}

void EditCommand::undo()
{
    m_document.undoOrRedo(reversed(m_edits), reversed(m_answers), m_errorsBefore);
    m_isDone = false;
}

void EditCommand::redo()
{
    if (!m_isDone) {
        m_document.undoOrRedo(m_edits, m_answers, m_errorsAfter);
        m_isDone = true;
    }
}

} // namespace ConfigScript
