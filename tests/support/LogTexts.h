// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_LOGTEXTS_H
#define KIV_TESTS_LOGTEXTS_H

#include "LogCapture.h"

#include <QByteArray>
#include <QDebug>
#include <QRegularExpression>
#include <QString>
#include <QVector>

#include <memory>

namespace KivTest {

/** The text of a record that streams these items. */
template <typename... Items>
QString Streamed(const Items&... items)
{
    QString text;
    {
        QDebug stream(&text);
        (stream << ... << items);
    }
    return text.trimmed();
}

/** Records with "mm:ss.zzz" in place of every such time. */
inline QVector<LogRecord> Timeless(QVector<LogRecord> records)
{
    static const QRegularExpression time(QStringLiteral("\\b\\d\\d:\\d\\d\\.\\d\\d\\d\\b"));
    for (LogRecord& record : records) {
        record.text.replace(time, QStringLiteral("mm:ss.zzz"));
    }
    return records;
}

/** For failure messages of QCOMPARE: one record per line. */
inline char* toString(const QVector<LogRecord>& records)
{
    QByteArray lines;
    for (const LogRecord& record : records) {
        const std::unique_ptr<char[]> line(::toString(record));
        lines.append("\n      ").append(line.get());
    }
    return qstrdup(lines.constData());
}

} // namespace KivTest

#endif // KIV_TESTS_LOGTEXTS_H
