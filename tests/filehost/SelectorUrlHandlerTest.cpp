#include "host/SelectorUrlHandler.h"
#include "support/StrictTest.h"

#include <QTest>

namespace {

QStringList partsOf(const SelectorUrlHandler &handler)
{
    return {handler.getScheme(), handler.getModuleName(), handler.getObjectName(),
            handler.getInstance(), handler.getUrl()};
}

QStringList parts(const char *scheme, const char *moduleName, const char *objectName,
                  const char *instance, const char *relUrl)
{
    return {QString::fromUtf8(scheme), QString::fromUtf8(moduleName), QString::fromUtf8(objectName),
            QString::fromUtf8(instance), QString::fromUtf8(relUrl)};
}

QString toString(const QStringList &parts)
{
    return SelectorUrlHandler(QString())
        .setScheme(parts.at(0))
        .setModuleName(parts.at(1))
        .setObjectName(parts.at(2))
        .setInstance(parts.at(3))
        .setUrl(parts.at(4))
        .toString();
}

} // namespace

class SelectorUrlHandlerTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void writesAndReadsUrls_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QStringList>("urlParts");
        const auto row = [](const char *url, const QStringList &parts) {
            QTest::newRow(url) << QString::fromUtf8(url) << parts;
        };
        row("config://pumps/station/line1/pump1#motor/limits",
            parts("config", "pumps", "station", "line1/pump1", "motor/limits"));
        row("config:///station/x", parts("config", "", "station", "x", ""));
        row("process://pumps/station/pump1", parts("process", "pumps", "station", "pump1", ""));
        row("config://m/o/i#a%23b", parts("config", "m", "o", "i", "a#b"));
        row("config://m/o/a%23b%3Fc", parts("config", "m", "o", "a#b?c", ""));
        row("config://m%2Fn/o%2Fp/i/j#k/l", parts("config", "m/n", "o/p", "i/j", "k/l"));
        row("config://m/o/100%25", parts("config", "m", "o", "100%", ""));
        row("config://m/o/line%201#a%20b", parts("config", "m", "o", "line 1", "a b"));
        row("config://m/o/a%09b%0A%7F", parts("config", "m", "o", "a\tb\n\x7f", ""));
        row("config://m/o/p\xc3\xbc"
            "mp\xc3\xa9#\xf0\x9f\x9a\xb0",
            parts("config", "m", "o",
                  "p\xc3\xbc"
                  "mp\xc3\xa9",
                  "\xf0\x9f\x9a\xb0"));
        row("a%3Ab%2F%2F://m%3An/o/i", parts("a:b//", "m:n", "o", "i", ""));
        row("config://m/o//i//", parts("config", "m", "o", "/i//", ""));
        row("config://m/o/i#/", parts("config", "m", "o", "i", "/"));
        row("config://m/o/..#..", parts("config", "m", "o", "..", ".."));
        row("config://a-b_c.d~e/o/i", parts("config", "a-b_c.d~e", "o", "i", ""));
    }

    void writesAndReadsUrls()
    {
        QFETCH(QString, url);
        QFETCH(QStringList, urlParts);
        QCOMPARE(toString(urlParts), url);
        const SelectorUrlHandler handler(url);
        QVERIFY(handler.isValid());
        QCOMPARE(partsOf(handler), urlParts);
        QCOMPARE(handler.toString(), url);
    }

    void readsOtherSpellings_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QStringList>("urlParts");
        const auto row = [](const char *url, const QStringList &parts) {
            QTest::newRow(url) << QString::fromUtf8(url) << parts;
        };
        row("config://m/o/i#", parts("config", "m", "o", "i", ""));
        row("config://m/o/%69#%6d", parts("config", "m", "o", "i", "m"));
        row("config://m/o/i%2fj", parts("config", "m", "o", "i/j", ""));
        row("config://m/o/p%C3%BCmp%c3%a9",
            parts("config", "m", "o",
                  "p\xc3\xbc"
                  "mp\xc3\xa9",
                  ""));
        row("config://m/o/%F0%9F%9A%B0", parts("config", "m", "o", "\xf0\x9f\x9a\xb0", ""));
        row("config://m/o/a b", parts("config", "m", "o", "a b", ""));
        row("config://m/o/i#a#b", parts("config", "m", "o", "i", "a#b"));
        row("config://m/o/i#a?b:c", parts("config", "m", "o", "i", "a?b:c"));
    }

    void readsOtherSpellings()
    {
        QFETCH(QString, url);
        const SelectorUrlHandler handler(url);
        QVERIFY(handler.isValid());
        QTEST(partsOf(handler), "urlParts");
        QCOMPARE(partsOf(SelectorUrlHandler(handler.toString())), partsOf(handler));
    }

    void readsNoPartsFromWhatIsNoUrl_data()
    {
        QTest::addColumn<QString>("url");
        for (const char *url : {"",
                                "motor/limits",
                                "config",
                                "config:",
                                "config:/m/o/i",
                                "config://",
                                "config:///",
                                "config://m",
                                "config://m/o",
                                "config://m/o#/i",
                                "config://m#/o/i",
                                "config:m/o/i",
                                "config://m/o/%",
                                "config://m/o/a%",
                                "config://m/o/a%2",
                                "config://m/o/%2g",
                                "config://m/o/%g2",
                                "config://m/o/% 2",
                                "config://m/o/%+2",
                                "config://m/o/i#%zz",
                                "config://m%/o/i",
                                "config://m/%o/i",
                                "co%fig://m/o/i",
                                "config://m/o/%80",
                                "config://m/o/%FF",
                                "config://m/o/%C3",
                                "config://m/o/%C3x%BC",
                                "config://m/o/%C3\xbc",
                                "config://m/o/%C0%80",
                                "config://m/o/%ED%A0%80",
                                "config://m/o/%F4%90%80%80",
                                "config://m/o/i#%E6%B3"}) {
            QTest::newRow(url) << QString::fromLatin1(url);
        }
    }

    void readsNoPartsFromWhatIsNoUrl()
    {
        QFETCH(QString, url);
        const SelectorUrlHandler handler(url);
        QVERIFY(!handler.isValid());
        QCOMPARE(partsOf(handler), parts("", "", "", "", ""));
    }

    void isNotValidWithoutSchemeObjectOrInstance_data()
    {
        QTest::addColumn<QString>("url");
        for (const char *url :
             {"://m/o/i", "config://m//i", "config://m/o/", "config://m/o/#a", "config:////"}) {
            QTest::newRow(url) << QString::fromLatin1(url);
        }
    }

    void isNotValidWithoutSchemeObjectOrInstance()
    {
        QFETCH(QString, url);
        QVERIFY(!SelectorUrlHandler(url).isValid());
    }

    void keepsSurrogatesOnTheirOwn()
    {
        const QString lone = QLatin1Char('a') + QString(QChar(0xd83d)) + QLatin1Char('b');
        const QStringList all{lone, lone, lone, lone, lone};
        QCOMPARE(partsOf(SelectorUrlHandler(toString(all))), all);
    }

    void keepsAByteOrderMark()
    {
        const QString mark = QStringLiteral("\ufeffa");
        const QStringList all{mark, mark, mark, mark, mark};
        QCOMPARE(partsOf(SelectorUrlHandler(toString(all))), all);
        QCOMPARE(SelectorUrlHandler(QStringLiteral("config://m/o/%EF%BB%BFa")).getInstance(), mark);
    }

    void keepsANul()
    {
        const QString nul = QStringLiteral("a%1b").arg(QChar(QChar::Null));
        const QStringList all{nul, nul, nul, nul, nul};
        QCOMPARE(toString(all).count(QStringLiteral("%00")), 5);
        QCOMPARE(partsOf(SelectorUrlHandler(toString(all))), all);
    }

    void leavesNoHashBehindAnEmptyPath()
    {
        SelectorUrlHandler handler(QStringLiteral("config://pumps/station/line1/pump1#motor"));
        QCOMPARE(handler.setUrl(QString()).toString(),
                 QStringLiteral("config://pumps/station/line1/pump1"));
        QCOMPARE(
            SelectorUrlHandler(QStringLiteral("config://pumps/station/line1/pump1#")).toString(),
            QStringLiteral("config://pumps/station/line1/pump1"));
    }

    void tellsTheSchemesApartByTheirExactNames()
    {
        const SelectorUrlHandler config(QStringLiteral("config://m/o/i"));
        QVERIFY(config.isConfigurationScheme() && !config.isProcessDataScheme());
        const SelectorUrlHandler process(QStringLiteral("process://m/o/i"));
        QVERIFY(!process.isConfigurationScheme() && process.isProcessDataScheme());
        const SelectorUrlHandler upper(QStringLiteral("CONFIG://m/o/i"));
        QVERIFY(upper.isValid() && !upper.isConfigurationScheme() && !upper.isProcessDataScheme());
    }
};

TEST_CLASS(SelectorUrlHandlerTest)

#include "SelectorUrlHandlerTest.moc"
