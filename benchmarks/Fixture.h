#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// Trees and scripts of a given size, and folders to put them into; the same in every run.
namespace Fixture {

/**
 * A configuration tree of @p nodeCount nodes in the layout of QJsonDocument. Node 0 is the root;
 * the children of node i are the next @p fanOut ones, as in a heap, and a node is named after its
 * number: with a fan-out of 3, node 13 is "n1/n4/n13". Each has the properties "labelTextId",
 * "unit" and "value" (a number), every fourth "limits" (an object) besides.
 */
QByteArray treeText(int nodeCount, int fanOut);

/// The relative URL of a node in such a tree.
QString nodeUrl(int node, int fanOut);

/// A script of @p size bytes or a few more: "onOpen", and functions that it uses.
QString scriptText(int size);

/// A manifest that lists @p instanceNames.
QByteArray manifestText(const QStringList &instanceNames);

/**
 * A project folder for the life of the object; where the machine has one, in a file system in
 * memory, in order that the disk does not hide what is measured. Failing to make or write it ends
 * the program.
 */
class ScratchProject
{
public:
    ScratchProject();

    QString path() const { return m_folder.path(); }
    QString configurationFolder() const { return path() + QStringLiteral("/configuration"); }

    /// @param filePath relative to the project's folder
    void store(const QString &filePath, const QByteArray &content) const;

private:
    QTemporaryDir m_folder;
};

/// Ends the program, with the reason on standard error.
[[noreturn]] void fail(const QString &reason);

/// From now on, a warning ends the program: nothing that is measured may go wrong unseen.
void failOnWarnings();

} // namespace Fixture
