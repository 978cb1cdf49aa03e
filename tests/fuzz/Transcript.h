// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_TRANSCRIPT_H
#define KIV_TESTS_TRANSCRIPT_H

#include <QString>
#include <QStringList>

namespace KivFuzz {

/** What a client did and said, one line each, in order: requests, signals, results. */
using Transcript = QStringList;

inline QString Shown(const QString& text)
{
    return text;
}

inline QString Shown(const QStringList& texts)
{
    return '(' + texts.join('|') + ')';
}

inline QString Shown(bool flag)
{
    return flag ? QStringLiteral("true") : QStringLiteral("false");
}

inline QString Shown(quint32 number)
{
    return QString::number(number);
}

/** A line: a name and values, with a '~' before each. */
template <typename... Values>
QString Line(const char* name, const Values&... values)
{
    QString line = QString::fromLatin1(name);
    (line.append('~').append(Shown(values)), ...);
    return line;
}

} // namespace KivFuzz

#endif // KIV_TESTS_TRANSCRIPT_H
