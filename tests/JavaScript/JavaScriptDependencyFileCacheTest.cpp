#include "JavaScript/JavaScriptDependencyFileCache.h"

#include "host/PropertyManagerConst.h"
#include "support/StrictTest.h"
#include "support/TestProject.h"

#include <QDir>
#include <QFile>
#include <QTest>
#include <QTextCodec>

#include <type_traits>

static_assert(std::has_virtual_destructor_v<JavaScriptDependencyFileCache>);

namespace {

Message cannotOpen(const QString &path)
{
    return warning(
        QStringLiteral("QString JavaScriptDependencyFileCache::readContentOfFile(const QString&) "
                       "const"),
        QStringLiteral("Can not open file: \"%1\"").arg(path));
}

/// Another codec for the locale, for its life.
class LocaleCodec
{
public:
    explicit LocaleCodec(const QByteArray &name)
        : m_previous(QTextCodec::codecForLocale())
    {
        QTextCodec::setCodecForLocale(QTextCodec::codecForName(name));
    }

    ~LocaleCodec() { QTextCodec::setCodecForLocale(m_previous); }

private:
    Q_DISABLE_COPY(LocaleCodec)

    QTextCodec *m_previous;
};

} // namespace

class JavaScriptDependencyFileCacheTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        StrictTest::init();
        m_project.reset(new TestProject);
        m_cache.reset(new JavaScriptDependencyFileCache(m_project->path()));
    }

    void cleanup()
    {
        m_cache.reset();
        m_project.reset();
        StrictTest::cleanup();
    }

    void readsScriptsOfTheDependencyFolder()
    {
        m_project->writeScript(QStringLiteral("pump.js"), "function onSave() {}\n");
        m_project->writeScript(QStringLiteral("valves/small.js"), "// small");
        QCOMPARE(m_cache->getJavaScriptContent(QStringLiteral("pump.js")),
                 QStringLiteral("function onSave() {}\n"));
        QCOMPARE(m_cache->getJavaScriptContent(QStringLiteral("valves/small.js")),
                 QStringLiteral("// small"));
    }

    void readsAFileOnce()
    {
        m_project->writeScript(QStringLiteral("pump.js"), "first");
        QCOMPARE(m_cache->getJavaScriptContent(QStringLiteral("pump.js")), QStringLiteral("first"));
        m_project->writeScript(QStringLiteral("pump.js"), "second");
        QCOMPARE(m_cache->getJavaScriptContent(QStringLiteral("pump.js")), QStringLiteral("first"));
        QVERIFY(QFile::remove(pathOf(QStringLiteral("pump.js"))));
        QCOMPARE(m_cache->getJavaScriptContent(QStringLiteral("pump.js")), QStringLiteral("first"));
    }

    void takesAnotherSpellingOfANameForAnotherFile()
    {
        m_project->writeScript(QStringLiteral("pump.js"), "first");
        QCOMPARE(m_cache->getJavaScriptContent(QStringLiteral("pump.js")), QStringLiteral("first"));
        m_project->writeScript(QStringLiteral("pump.js"), "second");
        QCOMPARE(m_cache->getJavaScriptContent(QStringLiteral("./pump.js")),
                 QStringLiteral("second"));
        m_project->writeScript(QStringLiteral("pump.js"), "third");
        QCOMPARE(m_cache->getJavaScriptContent(QStringLiteral("pump.js")), QStringLiteral("first"));
        QCOMPARE(m_cache->getJavaScriptContent(QStringLiteral("./pump.js")),
                 QStringLiteral("second"));
    }

    void warnsOnceOfAMissingFileAndDoesNotLookForItAgain()
    {
        QVERIFY(m_cache->getJavaScriptContent(QStringLiteral("pump.js")).isEmpty());
        EXPECT_MESSAGES({cannotOpen(pathOf(QStringLiteral("pump.js")))});
        QVERIFY(m_cache->getJavaScriptContent(QStringLiteral("pump.js")).isEmpty());
        m_project->writeScript(QStringLiteral("pump.js"), "too late");
        QVERIFY(m_cache->getJavaScriptContent(QStringLiteral("pump.js")).isEmpty());
        EXPECT_NO_MESSAGES();
    }

    void warnsOfEachSpellingOfAMissingFile()
    {
        m_cache->getJavaScriptContent(QStringLiteral("pump.js"));
        m_cache->getJavaScriptContent(QStringLiteral("./pump.js"));
        m_cache->getJavaScriptContent(QStringLiteral("valves/../pump.js"));
        EXPECT_MESSAGES({cannotOpen(pathOf(QStringLiteral("pump.js"))),
                         cannotOpen(pathOf(QStringLiteral("./pump.js"))),
                         cannotOpen(pathOf(QStringLiteral("valves/../pump.js")))});
    }

    void sharesNothingWithAnotherCache()
    {
        m_cache->getJavaScriptContent(QStringLiteral("pump.js"));
        JavaScriptDependencyFileCache other(m_project->path());
        other.getJavaScriptContent(QStringLiteral("pump.js"));
        EXPECT_MESSAGES({cannotOpen(pathOf(QStringLiteral("pump.js"))),
                         cannotOpen(pathOf(QStringLiteral("pump.js")))});

        m_project->writeScript(QStringLiteral("pump.js"), "new");
        JavaScriptDependencyFileCache third(m_project->path());
        QCOMPARE(third.getJavaScriptContent(QStringLiteral("pump.js")), QStringLiteral("new"));
    }

    void servesAnEmptyFileWithoutAWarning()
    {
        m_project->writeScript(QStringLiteral("pump.js"), "");
        QVERIFY(m_cache->getJavaScriptContent(QStringLiteral("pump.js")).isEmpty());
        m_project->writeScript(QStringLiteral("pump.js"), "too late");
        QVERIFY(m_cache->getJavaScriptContent(QStringLiteral("pump.js")).isEmpty());
    }

    void cannotReadAFolder()
    {
        m_project->writeScript(QStringLiteral("valves/small.js"), "// small");
        QVERIFY(m_cache->getJavaScriptContent(QStringLiteral("valves")).isEmpty());
        EXPECT_MESSAGES({cannotOpen(pathOf(QStringLiteral("valves")))});
    }

    void triesToReadTheFolderItselfForAnEmptyName()
    {
        m_project->writeScript(QStringLiteral("pump.js"), "// pump");
        QVERIFY(m_cache->getJavaScriptContent(QString()).isEmpty());
        EXPECT_MESSAGES({cannotOpen(pathOf(QString()))});
    }

    void looksAtTheProjectNotBeforeTheFirstRequest()
    {
        JavaScriptDependencyFileCache cache(m_project->path() + QStringLiteral("/later"));
        EXPECT_NO_MESSAGES();
    }

    void readsAnyFileAnewWithoutKeepingIt()
    {
        m_project->writeScript(QStringLiteral("pump.js"), "first");
        const QString path = pathOf(QStringLiteral("pump.js"));
        QCOMPARE(m_cache->readContentOfFile(path), QStringLiteral("first"));
        m_project->writeScript(QStringLiteral("pump.js"), "second");
        QCOMPARE(m_cache->readContentOfFile(path), QStringLiteral("second"));
    }

    void givesANullTextForAFileThatItCannotRead()
    {
        const QString path = pathOf(QStringLiteral("pump.js"));
        QVERIFY(m_cache->readContentOfFile(path).isNull());
        QVERIFY(m_cache->readContentOfFile(path).isNull());
        EXPECT_MESSAGES({cannotOpen(path), cannotOpen(path)});
    }

    void keepsLineEnds()
    {
        m_project->writeScript(QStringLiteral("pump.js"), "a\r\nb\nc\r");
        QCOMPARE(m_cache->getJavaScriptContent(QStringLiteral("pump.js")),
                 QStringLiteral("a\r\nb\nc\r"));
    }

    void decodesWithTheCodecOfTheLocale()
    {
        m_project->writeScript(QStringLiteral("pump.js"), "gr\xc3\xbc\xc3\x9f");
        const QString path = pathOf(QStringLiteral("pump.js"));
        {
            const LocaleCodec codec("ISO 8859-1");
            QCOMPARE(m_cache->readContentOfFile(path), QString::fromLatin1("gr\xc3\xbc\xc3\x9f"));
        }
        const LocaleCodec codec("UTF-8");
        QCOMPARE(m_cache->readContentOfFile(path), QString::fromUtf8("gr\xc3\xbc\xc3\x9f"));
    }

private:
    QString pathOf(const QString &fileName) const
    {
        return PropertyManagerConst::getDependencyFolderPath(m_project->path()) + QLatin1Char('/')
            + fileName;
    }

    QScopedPointer<TestProject> m_project;
    QScopedPointer<JavaScriptDependencyFileCache> m_cache;
};

TEST_CLASS(JavaScriptDependencyFileCacheTest)

#include "JavaScriptDependencyFileCacheTest.moc"
