// The floor of "configscript resolve": what somebody would write with nothing but Qt.
// PlainResolve PROJECT
//
// Each listed instance's script is evaluated anew in one engine, and its onSave called with an
// object that has the methods that the generated scripts use. Any script may read and write any
// tree, so trees stay in memory until all scripts have run; then those that changed are replaced by
// QSaveFile, which syncs each file and does not sync the folder.

#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QJSEngine>
#include <QJSValue>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlEngine>
#include <QSaveFile>
#include <QStringList>
#include <QTextStream>

#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void fail(const QString &reason)
{
    QTextStream(stderr) << reason << Qt::endl;
    std::exit(EXIT_FAILURE);
}

QByteArray read(const QString &filePath)
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly)) {
        fail(filePath + QStringLiteral(": ") + file.errorString());
    }
    return file.readAll();
}

QJsonDocument readJson(const QString &filePath)
{
    QJsonParseError error;
    const auto document = QJsonDocument::fromJson(read(filePath), &error);
    if (error.error != QJsonParseError::NoError) {
        fail(filePath + QStringLiteral(": ") + error.errorString());
    }
    return document;
}

void write(const QString &filePath, const QByteArray &text)
{
    QSaveFile file(filePath);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit()) {
        fail(filePath + QStringLiteral(": ") + file.errorString());
    }
}

} // namespace

class Api : public QObject
{
    Q_OBJECT

public:
    Api(const QString &projectPath, const QString &urlPath)
        : m_projectPath(projectPath)
        , m_urlPath(urlPath)
    {
    }

    /// Relative URLs are those of @p instanceUrl from now on.
    void setInstance(const QString &instanceUrl) { m_instanceUrl = instanceUrl; }

    QString scriptFile()
    {
        return properties(tree(m_instanceUrl).root)
            .value(QStringLiteral("dependencyFileExtern"))
            .toString();
    }

    int save() const
    {
        int count = 0;
        for (const Tree &tree : m_trees) {
            if (tree.isChanged) {
                write(tree.filePath, QJsonDocument(tree.root).toJson());
                ++count;
            }
        }
        return count;
    }

    Q_INVOKABLE QJsonValue getProperty(const QString &relUrl, const QString &key)
    {
        return property(tree(m_instanceUrl), relUrl, key);
    }

    Q_INVOKABLE QJsonValue getPropertyExtern(const QString &absUrl, const QString &key)
    {
        const int hash = absUrl.indexOf(QLatin1Char('#'));
        return property(tree(absUrl.left(hash)), hash < 0 ? QString() : absUrl.mid(hash + 1), key);
    }

    Q_INVOKABLE void setPropertyExtern(const QString &absUrl, const QString &key,
                                       const QJsonValue &value)
    {
        const int hash = absUrl.indexOf(QLatin1Char('#'));
        Tree &changed = tree(absUrl.left(hash));
        const QString relUrl = hash < 0 ? QString() : absUrl.mid(hash + 1);
        if (property(changed, relUrl, key) != value) {
            const QStringList names =
                relUrl.isEmpty() ? QStringList() : relUrl.split(QLatin1Char('/'));
            changed.root = withProperty(changed.root, names, 0, key, value);
            changed.isChanged = true;
        }
    }

private:
    struct Tree
    {
        QString filePath;
        QJsonObject root;
        bool isChanged = false;
    };

    static QJsonObject properties(const QJsonObject &node)
    {
        return node.value(QStringLiteral("properties")).toObject();
    }

    static QJsonValue property(const Tree &tree, const QString &relUrl, const QString &key)
    {
        QJsonObject node = tree.root;
        const auto names = relUrl.splitRef(QLatin1Char('/'), Qt::SkipEmptyParts);
        for (const QStringRef &name : names) {
            node = node.value(QLatin1String("children")).toObject().value(name).toObject();
        }
        return properties(node).value(key);
    }

    /// @return @p node with the property set on the descendant that @p names leads to
    static QJsonObject withProperty(QJsonObject node, const QStringList &names, int depth,
                                    const QString &key, const QJsonValue &value)
    {
        const bool isThere = depth == names.size();
        const QString member = isThere ? QStringLiteral("properties") : QStringLiteral("children");
        QJsonObject object = node.value(member).toObject();
        if (isThere) {
            object.insert(key, value);
        } else {
            const QString &name = names.at(depth);
            object.insert(
                name, withProperty(object.value(name).toObject(), names, depth + 1, key, value));
        }
        node.insert(member, object);
        return node;
    }

    /// The tree that a URL without a path names; read when it is asked for first.
    Tree &tree(const QString &instanceUrl)
    {
        const auto known = m_trees.find(instanceUrl);
        if (known != m_trees.end()) {
            return *known;
        }
        const QString config = QStringLiteral("config://") + m_urlPath;
        const QString process = QStringLiteral("process://") + m_urlPath;
        QString filePath;
        if (instanceUrl.startsWith(config)) {
            filePath = QStringLiteral("/configuration/") + instanceUrl.mid(config.size());
        } else if (instanceUrl.startsWith(process)) {
            filePath = QStringLiteral("/process/") + instanceUrl.mid(process.size());
        } else {
            fail(QStringLiteral("no such tree: ") + instanceUrl);
        }
        filePath = m_projectPath + filePath + QStringLiteral(".json");
        return *m_trees.insert(instanceUrl, {filePath, readJson(filePath).object()});
    }

    QString m_projectPath;
    QString m_urlPath; ///< "<module>/<object>/"
    QString m_instanceUrl;
    QHash<QString, Tree> m_trees; ///< by URL
};

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() != 2) {
        fail(QStringLiteral("Usage: PlainResolve PROJECT"));
    }
    const QString projectPath = arguments.at(1);
    const QJsonObject project = readJson(projectPath + QStringLiteral("/project.json")).object();
    const QString urlPath = project.value(QStringLiteral("moduleName")).toString()
        + QLatin1Char('/') + project.value(QStringLiteral("objectName")).toString()
        + QLatin1Char('/');

    Api api(projectPath, urlPath);
    QJSEngine engine;
    engine.installExtensions(QJSEngine::ConsoleExtension);
    QQmlEngine::setObjectOwnership(&api, QQmlEngine::CppOwnership);
    const QJSValue wrappedApi = engine.newQObject(&api);

    QHash<QString, QString> scripts;
    const QJsonArray manifest =
        readJson(projectPath + QStringLiteral("/configuration/manifest.json")).array();
    const QJsonArray entries =
        manifest.first().toObject().value(QStringLiteral("dependencyFileExtern")).toArray();
    for (const QJsonValue &entry : entries) {
        const QString url = QStringLiteral("config://") + urlPath
            + entry.toObject().value(QStringLiteral("instanceName")).toString();
        api.setInstance(url);
        QString &script = scripts[api.scriptFile()];
        if (script.isNull()) {
            script = QString::fromUtf8(
                read(projectPath + QStringLiteral("/dependency/") + api.scriptFile()));
        }
        QJSValue result = engine.evaluate(script);
        if (!result.isError()) {
            QJSValue onSave = engine.globalObject().property(QStringLiteral("onSave"));
            result = onSave.call({wrappedApi, url});
        }
        if (result.isError()) {
            fail(url + QStringLiteral(": ") + result.toString());
        }
    }
    const int saved = api.save();
    QTextStream(stdout) << entries.size() << " scripts run, " << saved << " files changed"
                        << Qt::endl;
    return EXIT_SUCCESS;
}

#include "PlainResolve.moc"
