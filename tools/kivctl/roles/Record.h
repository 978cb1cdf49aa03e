// SPDX-License-Identifier: MIT
#ifndef KIVCTL_ROLES_RECORD_H
#define KIVCTL_ROLES_RECORD_H

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace Kivctl {

/** A record of standard output; schemas/kivctl-output.schema.json defines each kind. */
inline QJsonObject Record(const char* event, QJsonObject members)
{
    members.insert(QStringLiteral("event"), QString::fromLatin1(event));
    return members;
}

inline QJsonObject ModeListRecord(const QStringList& modes)
{
    return Record("modeList", {{QStringLiteral("modes"), QJsonArray::fromStringList(modes)}});
}

inline QJsonObject ModeRecord(const QString& mode)
{
    return Record("mode", {{QStringLiteral("mode"), mode}});
}

} // namespace Kivctl

#endif // KIVCTL_ROLES_RECORD_H
