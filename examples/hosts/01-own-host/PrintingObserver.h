#pragma once

#include "JavaScript/JavaScriptRunObserver.h"

class QTextStream;

/// Prints what a resolver's scripts do. Their setError() reports reach nobody but an observer.
class PrintingObserver : public JavaScriptRunObserver
{
public:
    explicit PrintingObserver(QTextStream &out);

    void runBegins(const QString &functionName, const QString &argument) override;
    void exceptionThrown(int line, const QString &text) override;
    void runEnded(bool succeeded, const QList<JavaScriptApi::ErrorMessage> &errors) override;

private:
    QTextStream &m_out;
};

/// One line for each error: the node, the text's identifier, the value in brackets.
void printErrors(QTextStream &out, const QList<JavaScriptApi::ErrorMessage> &errors);
