#include "IniFile.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QUrl>

namespace {

QByteArray encoded(const QString &name)
{
    return QUrl::toPercentEncoding(name);
}

QString decoded(const QByteArray &name)
{
    return QUrl::fromPercentEncoding(name);
}

QSharedPointer<IniNode> makeNode(QSharedPointer<IniNode> node, const QByteArray &path)
{
    const QList<QByteArray> names = path.split('/');
    for (const QByteArray &name : names) {
        node = node->makeChild(decoded(name));
    }
    return node;
}

bool readProperty(IniNode &node, const QByteArray &line)
{
    const int equals = line.indexOf('=');
    const QJsonDocument value = QJsonDocument::fromJson('[' + line.mid(equals + 1) + ']');
    if (equals < 0 || value.array().size() != 1) {
        return false;
    }
    QByteArray key = line.left(equals).trimmed();
    if (key.startsWith('!')) {
        key.remove(0, 1);
        node.setReadOnly(decoded(key));
    }
    node.addProperty(decoded(key), value.array().first().toVariant());
    return true;
}

void appendNode(QByteArray &text, const IniNode &node, const QByteArray &path)
{
    if (!path.isEmpty()) {
        text += "\n[" + path + "]\n";
    }
    const auto &properties = node.properties();
    for (auto property = properties.cbegin(); property != properties.cend(); ++property) {
        const QByteArray value =
            QJsonDocument(QJsonArray{property.value()}).toJson(QJsonDocument::Compact);
        text += (node.isReadOnly(property.key()) ? "!" : "") + encoded(property.key()) + " = "
            + value.mid(1, value.size() - 2) + '\n';
    }
    const auto &children = node.children();
    for (auto child = children.cbegin(); child != children.cend(); ++child) {
        const QByteArray name = encoded(child.key());
        appendNode(text, *child.value(), path.isEmpty() ? name : path + '/' + name);
    }
}

} // namespace

QSharedPointer<IniNode> IniFile::read(const QString &filePath)
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const auto root = QSharedPointer<IniNode>::create();
    auto node = root;
    for (int lineNumber = 1; !file.atEnd(); ++lineNumber) {
        const QByteArray line = file.readLine().trimmed();
        if (line.startsWith('[') && line.endsWith(']')) {
            node = makeNode(root, line.mid(1, line.size() - 2));
        } else if (!line.isEmpty() && !readProperty(*node, line)) {
            qWarning() << "Malformed line" << lineNumber << "in" << filePath;
            return {};
        }
    }
    return root;
}

bool IniFile::write(const QString &filePath, const IniNode &root)
{
    QByteArray text;
    appendNode(text, root, QByteArray());
    QSaveFile file(filePath);
    if (!QDir().mkpath(QFileInfo(filePath).path()) || !file.open(QIODevice::WriteOnly)
        || file.write(text) != text.size() || !file.commit()) {
        qWarning() << "Can not write" << filePath << file.errorString();
        return false;
    }
    return true;
}
