#pragma once

#include "configscript/Files.h"

#include <QStringList>
#include <QTemporaryDir>

/// A folder for the projects of a test.
class ScratchFolder
{
public:
    QString path(const QString &name = QString()) const;

    /// All files in the folder.
    Files files() const;

    /// Makes a file, or replaces it.
    void write(const QString &name, const QByteArray &content) const;

    void remove(const QString &name) const; ///< a file or a folder
    void link(const QString &name, const QString &target) const;

    /// The example projects, side by side.
    void copyExamples() const;

    /**
     * Makes the project "plant" with one instance, "pump", whose script sets its "speed" from 1200
     * to 1500.
     */
    void makePlant() const;

    void listInstances(const QStringList &instances) const; ///< in the manifest of "plant"

    /// An instance of "plant", with the property "speed": 1200.
    void addInstance(const QString &instance, const QString &script) const;

    void writeScript(const QString &name, const QByteArray &content) const; ///< of "plant"

private:
    QTemporaryDir m_folder;
};
