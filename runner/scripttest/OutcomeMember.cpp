#include "OutcomeMember.h"

#include <algorithm>

const QVector<OutcomeMember> &OutcomeMember::all()
{
    const QVariant object = QVariantMap();
    const QVariant list = QVariantList();
    static const QVector<OutcomeMember> members{
        // id, name, default, of events, of resolves, optional
        {Id::Result, QStringLiteral("result"), true, true, true, false},
        {Id::Writes, QStringLiteral("writes"), object, true, true, false},
        {Id::Unsaved, QStringLiteral("unsaved"), object, false, true, false},
        {Id::Errors, QStringLiteral("errors"), list, true, true, false},
        {Id::Announced, QStringLiteral("announced"), list, false, true, false},
        {Id::Exceptions, QStringLiteral("exceptions"), list, true, true, false},
        {Id::Warnings, QStringLiteral("warnings"), list, true, true, false},
        {Id::Problems, QStringLiteral("problems"), list, true, true, false},
        {Id::Console, QStringLiteral("console"), list, true, true, true},
        {Id::Reads, QStringLiteral("reads"), object, true, false, true},
    };
    return members;
}

const OutcomeMember *OutcomeMember::find(const QString &name)
{
    const QVector<OutcomeMember> &members = all();
    const auto found =
        std::find_if(members.cbegin(), members.cend(),
                     [&name](const OutcomeMember &member) { return member.name == name; });
    return found == members.cend() ? nullptr : &*found;
}
