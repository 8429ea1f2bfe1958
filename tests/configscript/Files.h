#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

/// Relative file names and contents.
using Files = QMap<QString, QByteArray>;

/// All files below a folder.
Files readFiles(const QString &folder);

void writeFiles(const QString &folder, const Files &files);

/// The files of @p files that are not in @p other, or different there.
Files differingFiles(const Files &files, const Files &other);

/// What differs, as a unified diff; empty for nothing.
QString difference(const Files &expected, const Files &actual);

/**
 * What differs from the expected files in golden/<name>, as a unified diff; empty for nothing.
 * Leaves the actual files where update-goldens.sh finds them.
 */
QString differenceFromGolden(const QString &name, const Files &actual);

#define COMPARE_FILES(actual, expected) \
    do { \
        const QString differences = difference(expected, actual); \
        QVERIFY2(differences.isEmpty(), qPrintable(differences)); \
    } while (false)

#define COMPARE_GOLDEN(name, actual) \
    do { \
        const QString differences = differenceFromGolden(name, actual); \
        QVERIFY2(differences.isEmpty(), qPrintable(differences)); \
    } while (false)
