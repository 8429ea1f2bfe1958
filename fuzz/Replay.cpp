// Runs a fuzz target on every file of the folders that are its arguments: the corpus as a test.
#include "FuzzSupport.h"

#include <QDir>
#include <QFile>

#include <cstdio>

int main(int argc, char **argv)
{
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        const QDir folder(QFile::decodeName(argv[i]));
        const QStringList names = folder.entryList(QDir::Files, QDir::Name);
        for (const QString &name : names) {
            QFile file(folder.filePath(name));
            if (!file.open(QFile::ReadOnly)) {
                std::fprintf(stderr, "cannot read %s\n", qPrintable(file.fileName()));
                return 1;
            }
            // The last line tells which input a crash belongs to.
            std::printf("%s\n", qPrintable(name));
            std::fflush(stdout);
            const QByteArray input = file.readAll();
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.constData()),
                                   std::size_t(input.size()));
            ++count;
        }
    }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
