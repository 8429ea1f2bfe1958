#include "configscript/CommandTest.h"
#include <QTest>
class HostileScriptTest : public CommandTest
{
    Q_OBJECT
};
QTEST_GUILESS_MAIN(HostileScriptTest)
#include "HostileScriptTest.moc"
