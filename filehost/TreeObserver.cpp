#include "TreeObserver.h"

namespace ConfigScript {

void TreeObserver::treeRead(const QSharedPointer<const FileTreeNode> & /*root*/) { }

void TreeObserver::propertyRead(const FileTreeNode & /*node*/, const QString & /*propertyKey*/,
                                const QVariant & /*value*/)
{
}

void TreeObserver::propertyWritten(const FileTreeNode & /*node*/, const QString & /*propertyKey*/,
                                   const QVariant & /*oldValue*/, const QVariant & /*newValue*/)
{
}

void TreeObserver::propertyConfirmed(const FileTreeNode & /*node*/, const QString & /*propertyKey*/,
                                     const QVariant & /*value*/)
{
}

void TreeObserver::treeSaved(const FileTreeNode & /*root*/, const QString & /*filePath*/) { }

void TreeObserver::treeNotSaved(const FileTreeNode & /*root*/, const Diagnostic & /*reason*/) { }

} // namespace ConfigScript
