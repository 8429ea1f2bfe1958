// Makes files in one batch, beside one that it replaces: some in folders that are new, and one in
// another project. What the command does not do, but a program that hosts the library may.
#include "filehost/store/FileBatch.h"

#include <QDir>

#include <cstdio>

using namespace ConfigScript;

int main()
{
    const QDir folder;
    FileBatch batch(folder.absoluteFilePath(QStringLiteral("plant")));
    Diagnostic failure;
    TextFile::Stamp stamp;
    for (const char *name :
         {"plant/process/line1.json", "plant/process/line9.json", "plant/process/new/pumps/p1.json",
          "plant/process/new/p2.json", "network/configuration/new/bus9.json"}) {
        const QString path = folder.absoluteFilePath(QLatin1String(name));
        const QString project =
            folder.absoluteFilePath(QString::fromLatin1(name).section(QLatin1Char('/'), 0, 0));
        if (!batch.add(project, path, "{ \"properties\": { \"range\": [0, 9] } }\n", stamp,
                       failure)) {
            break;
        }
    }
    Diagnostic error;
    if (batch.commit(error)) {
        return 0;
    }
    std::fprintf(stderr, "%s\n", qPrintable(error.toString()));
    return 1;
}
