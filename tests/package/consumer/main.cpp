// A product that has a type of its own with a name that the file host uses as well, and includes
// nothing of the file host's own.
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"

#include <QDir>
#include <QFile>
#include <QTextStream>

struct Diagnostic
{
    QString text;

    QString toString() const;
};

QString Diagnostic::toString() const
{
    return text + QLatin1Char('!');
}

int main(int /*argc*/, char *argv[])
{
    const QDir folder(QFile::decodeName(argv[1]));
    const auto tree =
        ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
            folder, QStringLiteral("malformed"), false);
    const Diagnostic own{tree.isNull() ? QStringLiteral("no tree") : QStringLiteral("a tree")};
    QTextStream(stdout) << own.toString() << Qt::endl;
    return 0;
}
