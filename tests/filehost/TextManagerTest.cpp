#include "host/TextManager.h"
#include "support/StrictTest.h"

#include <QTest>

class TextManagerTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void showsAnUnknownIdentifierItself()
    {
        const TextManager texts({{QStringLiteral("pump.1"), QStringLiteral("Pump")},
                                 {QStringLiteral("pump.2"), QString()}});
        QCOMPARE(texts.getText(QStringLiteral("pump.1"), QString()), QStringLiteral("Pump"));
        QCOMPARE(texts.getText(QStringLiteral("pump.2"), QString()), QString());
        QCOMPARE(texts.getText(QStringLiteral("pump.3"), QString()), QStringLiteral("pump.3"));
        QCOMPARE(TextManager().getText(QString(), QString()), QString());
    }

    void usesNoContext()
    {
        const TextManager texts({{QStringLiteral("pump.1"), QStringLiteral("Pump")}});
        QCOMPARE(texts.getText(QStringLiteral("pump.1"), QStringLiteral("menu")),
                 QStringLiteral("Pump"));
    }
};

TEST_CLASS(TextManagerTest)

#include "TextManagerTest.moc"
