// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_NAMEBOOK_H
#define KIVCTL_TRACE_NAMEBOOK_H

#include <QHash>
#include <QString>
#include <QStringList>

namespace Kivctl {

/** Who has which well-known bus name, as far as a trace has seen. */
class NameBook
{
public:
    /** @param owner unique name; empty when nobody has @p name any more. */
    void SetOwner(const QString& name, const QString& owner);

    /** The unique name of a well-known name's owner, empty when not known; a unique name itself. */
    QString UniqueNameOf(const QString& name) const;

    /** The well-known names of a connection, sorted. */
    QStringList NamesOf(const QString& uniqueName) const;

private:
    QHash<QString, QString> m_Owners;
    QHash<QString, QStringList> m_Names;
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_NAMEBOOK_H
