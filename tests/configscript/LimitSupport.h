#pragma once

#include "configscript/Files.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

/// What the tests of greedy and of hostile scripts share.
namespace LimitSupport {

inline QStringList words(const QString &text)
{
    return text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// Why the process's memory cannot be limited here; null when it can.
inline const char *noMemoryLimit()
{
#ifdef __SANITIZE_ADDRESS__
    return "AddressSanitizer reserves more memory than any limit allows";
#else
    return Program::isEmulated() ? "the emulator does not limit the program's memory" : nullptr;
#endif
}

/// Why the end of the stack cannot be seen here; null when it can.
inline const char *noStackLimit()
{
    return Program::isEmulated() ? "the emulator has a stack of its own" : nullptr;
}

/// A program that ends in the middle of its work leaves its lock, which the next one takes over.
inline Files withoutLock(Files files)
{
    files.remove(QStringLiteral("plant/.configscript-lock"));
    return files;
}

/// The script "pump.js" of the instance "pump" is hostile; that of "valve" sets its speed from 1200
/// to 1500.
inline void makeTwo(const ScratchFolder &folder, const QByteArray &hostileScript)
{
    folder.makePlant();
    folder.writeScript(QStringLiteral("valve.js"),
                       "function onSave(api, url) {\n"
                       "  api.setPropertyExtern(url, \"speed\", 1500);\n"
                       "}\n");
    folder.addInstance(QStringLiteral("valve"), QStringLiteral("valve.js"));
    folder.listInstances({QStringLiteral("pump"), QStringLiteral("valve")});
    folder.writeScript(QStringLiteral("pump.js"), hostileScript);
}

/// The plant's one script, whose onSave does @p body.
inline void makeOne(const ScratchFolder &folder, const QByteArray &body)
{
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"), "function onSave(api, url) {\n" + body + "\n}\n");
}

} // namespace LimitSupport
