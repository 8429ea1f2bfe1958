#pragma once

#include "filehost/json/JsonText.h"

namespace ConfigScript {

/// Finds the elements of one JSON text. Works without recursion.
class JsonParser
{
public:
    explicit JsonParser(const QByteArray &text);

    JsonText parse(Diagnostic &error);

private:
    enum class Expecting { Value, FirstElementOrEnd, FirstKeyOrEnd, Key, CommaOrEnd };

    bool checkSize();
    bool checkEncoding();
    bool parseElements();
    bool parseValue();
    bool parseString();
    bool parseNumber();
    bool parseLiteral(const char *literal, JsonText::Type type);
    bool parseKey();
    bool parseCommaOrEnd();
    void appendScalar(int begin, JsonText::Type type, bool isPlain = false);
    bool open(JsonText::Type type);
    bool close();
    bool checkKeysDiffer(int objectIndex);
    int secondOfEqualKeys(int objectIndex) const;
    void skipWhitespace();
    bool fail(int offset, const QString &message);
    bool failExpected(const QString &expected);
    QString found() const;
    char current() const { return m_offset < m_size ? m_begin[m_offset] : '\0'; }
    bool insideObject() const;

    JsonText m_json;
    const char *m_begin;
    int m_size;
    int m_offset = 0;
    Expecting m_expecting = Expecting::Value;
    QVector<int> m_open; ///< indices of the arrays and objects that are not closed yet
    Diagnostic m_error;
};

} // namespace ConfigScript
