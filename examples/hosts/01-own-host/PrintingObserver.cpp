#include "PrintingObserver.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

PrintingObserver::PrintingObserver(QTextStream &out)
    : m_out(out)
{
}

void PrintingObserver::runBegins(const QString &functionName, const QString &argument)
{
    if (functionName.isEmpty()) {
        m_out << "The script is evaluated" << Qt::endl;
    } else {
        m_out << functionName << " is called with " << argument << Qt::endl;
    }
}

void PrintingObserver::exceptionThrown(int line, const QString &text)
{
    m_out << "  threw in line " << line << ": " << text << Qt::endl;
}

void PrintingObserver::runEnded(bool succeeded, const QList<JavaScriptApi::ErrorMessage> &errors)
{
    m_out << (succeeded ? "  succeeded" : "  failed") << Qt::endl;
    printErrors(m_out, errors);
}

void printErrors(QTextStream &out, const QList<JavaScriptApi::ErrorMessage> &errors)
{
    for (const JavaScriptApi::ErrorMessage &error : errors) {
        const QJsonArray values{QJsonValue::fromVariant(error.value)};
        out << "  error at " << error.relUrl << ": " << error.errorLabelTextId << ' '
            << QJsonDocument(values).toJson(QJsonDocument::Compact) << Qt::endl;
    }
}
